#include "device/SerialProtocol.h"

#include "device/DeviceCommands.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

using namespace pivex;
using namespace pivex::testing;

class SerialProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void knownFrames() {
        QCOMPARE(toHex(encodePacket(0xDA, 1, {3, 0})), "04da0103020500");
        // CRC-8/SMBUS of the digits 1 to 9 is 0xF4.
        QCOMPARE(toHex(encodePacket(0x31, 0x32, fromHex("33343536373839"))),
                 "0b313233343536373839f400");
        // A last group of 254 bytes ends in an extra code, which other encoders leave out.
        Bytes frame = encodePacket(0xCB, 9, Bytes(251, 7));
        QCOMPARE(toHex({frame.end() - 2, frame.end()}), "0100");
        frame.resize(255);
        Bytes packet;
        QVERIFY(decodePacket(frame, packet) && packet.size() == 253);
        for (const char* bad : {"", "00dc0246", "05dc0246", "03dc1a", "05da0003a1", "05da030097"}) {
            packet = {1, 2};
            QVERIFY2(!decodePacket(fromHex(bad), packet) && packet.empty(), bad);
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
