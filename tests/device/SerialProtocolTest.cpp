#include "device/SerialProtocol.h"

#include "device/DeviceCommands.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

using namespace pivex;
using namespace pivex::testing;

namespace {

/// A payload of `size` bytes; every `zeroEvery`-th is 0x00 (none for 0).
Bytes patterned(std::size_t size, std::size_t zeroEvery) {
    Bytes payload(size);
    for (std::size_t i = 0; i < size; ++i) {
        const bool isZero = zeroEvery != 0 && i % zeroEvery == zeroEvery - 1;
        payload[i] = isZero ? std::uint8_t{0} : static_cast<std::uint8_t>(i % 255 + 1);
    }
    return payload;
}

/// A frame without its delimiter.
Bytes frameOf(std::uint8_t sequence, const Bytes& payload) {
    Bytes frame = encodePacket(0xCB, sequence, payload);
    frame.pop_back();
    return frame;
}

} // namespace

class SerialProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void knownFrames() {
        QCOMPARE(toHex(encodePacket(0xDC, 0, {})), "02dc024600");
        QCOMPARE(toHex(encodePacket(0xDA, 1, {3, 0})), "04da0103020500");
        // CRC-8/SMBUS of the digits 1 to 9 is 0xF4.
        QCOMPARE(toHex(encodePacket(0x31, 0x32, fromHex("33343536373839"))),
                 "0b313233343536373839f400");
    }

    void everyLengthComesBack() {
        for (std::size_t size = 0; size <= 520; ++size) {
            for (const std::size_t zeroEvery : {0U, 1U, 2U, 254U, 255U}) {
                const auto sequence = static_cast<std::uint8_t>(size);
                Bytes packet{1, 2, 3};
                const Bytes frame = frameOf(sequence, patterned(size, zeroEvery));
                QCOMPARE(std::ranges::count(frame, 0), 0);
                QVERIFY(decodePacket(frame, packet));
                QCOMPARE(packet[1], sequence);
                QCOMPARE(Bytes(packet.begin() + 2, packet.end()), patterned(size, zeroEvery));
            }
        }
    }

    void lastGroupOf254EndsInAnExtraCode() {
        Bytes frame = frameOf(9, Bytes(251, 7));
        QCOMPARE(frame.size(), std::size_t{256});
        QCOMPARE(frame.back(), 1);
        frame.pop_back(); // as other encoders leave it out
        Bytes packet;
        QVERIFY(decodePacket(frame, packet));
        QCOMPARE(packet.size(), std::size_t{253});
    }

    void everyChangedByteIsRejected() {
        for (const std::size_t size : {0U, 5U, 63U}) {
            const Bytes frame = frameOf(3, patterned(size, 4));
            for (std::size_t at = 0; at < frame.size(); ++at) {
                for (unsigned flip = 1; flip < 256; ++flip) {
                    Bytes changed = frame;
                    changed[at] = static_cast<std::uint8_t>(changed[at] ^ flip);
                    Bytes packet{1};
                    QVERIFY2(!decodePacket(changed, packet), toHex(changed).constData());
                    QVERIFY(packet.empty());
                }
            }
        }
    }

    void brokenFramesAreRejected() {
        for (const char* frame : {"", "00dc0246", "05dc0246", "03dc1a", "05da0003a1"}) {
            Bytes packet{1, 2};
            QVERIFY2(!decodePacket(fromHex(frame), packet), frame);
            QVERIFY(packet.empty());
        }
    }

    void receiverSkipsWhatIsNotTheAnswer() {
        FrameReceiver receiver;
        const Bytes answer = encodePacket(0xE0, 1, {0x41});
        const auto answers = [&](const Bytes& bytes, std::uint8_t sequence) {
            return std::ranges::count_if(bytes, [&](std::uint8_t byte) {
                return receiver.take(byte, sequence).has_value();
            });
        };
        QCOMPARE(answers({7, 0, 0}, 1), 0);
        QCOMPARE(answers(answer, 2), 0);
        QCOMPARE(answers(answer, 1), 1);
        for (int i = 0; i < 4096; ++i) {
            QVERIFY(!receiver.take(0xFF, 1));
        }
        QCOMPARE(thrownText([&] { receiver.take(0xFF, 1); }), "Oversized serial frame.");
    }

    void everyCodeIsJudged() {
        using enum Acknowledgement;
        const Bytes commands = fromHex("a0a1a2a3a4a5acadafc0c1c2c3c4c5c6c7c8cacbcdcfd3d4"
                                       "d6d7d8d9dadcdee4e6e7e8ebec");
        for (unsigned code = 0; code < 256; ++code) {
            const auto byte = static_cast<std::uint8_t>(code);
            const Response response{byte};
            const Acknowledgement other = code == 0xB1 ? Busy : Refused;
            const bool isTool = code == 0xB0 || code == 0xB2;
            QCOMPARE(isCommand(byte), std::ranges::find(commands, byte) != commands.end());
            QCOMPARE(uploadAcknowledgement(response), code == 0xB2 ? Accepted : other);
            QCOMPARE(toolAcknowledgement(response), isTool ? Accepted : other);
            QCOMPARE(isDone(response), code == 0xB2);
        }
    }
};

QTEST_APPLESS_MAIN(SerialProtocolTest)
#include "SerialProtocolTest.moc"
