#include "device/SerialProtocol.h"

#include "device/DeviceCommands.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

using namespace pivex;

namespace {

Bytes fromHex(const char* hex) {
    const QByteArray bytes = QByteArray::fromHex(hex);
    return Bytes(bytes.begin(), bytes.end());
}

/// `frame` without its delimiter.
Bytes body(Bytes frame) {
    frame.pop_back();
    return frame;
}

/// A payload of `size` bytes; every `zeroEvery`-th is 0x00 (none for 0).
Bytes patterned(std::size_t size, std::size_t zeroEvery) {
    Bytes payload(size);
    for (std::size_t i = 0; i < size; ++i) {
        const bool isZero = zeroEvery != 0 && i % zeroEvery == zeroEvery - 1;
        payload[i] = isZero ? std::uint8_t{0} : static_cast<std::uint8_t>(i % 255 + 1);
    }
    return payload;
}

} // namespace

class SerialProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void knownFrames_data() {
        QTest::addColumn<int>("command");
        QTest::addColumn<int>("sequence");
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("identity") << 0xDC << 0 << QByteArray() << QByteArray("02dc024600");
        QTest::newRow("delete 3") << 0xDA << 1 << QByteArray("0300")
                                  << QByteArray("04da01030205"
                                                "00");
        // The check value over "123456789" is 0xF4.
        QTest::newRow("check value") << 0x31 << 0x32 << QByteArray("33343536373839")
                                     << QByteArray("0b313233343536373839f400");
    }

    void knownFrames() {
        QFETCH(int, command);
        QFETCH(int, sequence);
        QFETCH(QByteArray, payload);
        QFETCH(QByteArray, frame);
        const Bytes encoded = encodePacket(static_cast<std::uint8_t>(command),
                                           static_cast<std::uint8_t>(sequence), fromHex(payload));
        QCOMPARE(encoded, fromHex(frame));
    }

    void everyLengthComesBack() {
        for (std::size_t size = 0; size <= 520; ++size) {
            for (const std::size_t zeroEvery : {0U, 1U, 2U, 254U, 255U}) {
                const Bytes payload = patterned(size, zeroEvery);
                const Bytes frame = encodePacket(0xCB, static_cast<std::uint8_t>(size), payload);
                QCOMPARE(std::ranges::count(frame, 0), 1);
                Bytes packet{1, 2, 3};
                QVERIFY(decodePacket(body(frame), packet));
                QCOMPARE(packet.size(), size + 2);
                QVERIFY(std::equal(payload.begin(), payload.end(), packet.begin() + 2));
                QCOMPARE(packet[1], static_cast<std::uint8_t>(size));
            }
        }
    }

    void lastGroupOf254EndsInAnExtraCode() {
        // Command, sequence and check byte fill up the 251 bytes of payload; a trailing 0x01 may
        // also be missing, as other encoders leave it out.
        Bytes payload(251, 7);
        Bytes frame = body(encodePacket(0xCB, 9, payload));
        QCOMPARE(frame.front(), 0xFF);
        QCOMPARE(frame.back(), 0x01);
        QCOMPARE(frame.size(), std::size_t{256});
        Bytes packet;
        QVERIFY(decodePacket(frame, packet));
        QVERIFY(decodePacket(body(frame), packet));
        QCOMPARE(packet.size(), std::size_t{253});
    }

    void everyChangedByteIsRejected() {
        for (const std::size_t size : {0U, 5U, 63U}) {
            const Bytes frame = body(encodePacket(0xCB, 3, patterned(size, 4)));
            for (std::size_t at = 0; at < frame.size(); ++at) {
                for (unsigned flip = 1; flip < 256; ++flip) {
                    Bytes changed = frame;
                    changed[at] = static_cast<std::uint8_t>(changed[at] ^ flip);
                    Bytes packet{1};
                    QVERIFY2(!decodePacket(changed, packet), qPrintable(QString::number(at)));
                    QVERIFY(packet.empty());
                }
            }
        }
    }

    void brokenFrames_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("zero code") << QByteArray("00dc0246");
        QTest::newRow("code beyond the end") << QByteArray("05dc0246");
        QTest::newRow("two bytes only") << QByteArray("03dcbe");
        QTest::newRow("zero inside a group") << QByteArray("04da000302"
                                                           "05");
        QTest::newRow("wrong check byte") << QByteArray("02dc0247");
    }

    void brokenFrames() {
        QFETCH(QByteArray, frame);
        Bytes packet{1, 2};
        QVERIFY(!decodePacket(fromHex(frame), packet));
        QVERIFY(packet.empty());
    }

    void receiverSkipsWhatIsNotTheAnswer() {
        FrameReceiver receiver;
        Bytes line = encodePacket(0xE0, 1, {0x41});
        for (const Bytes& next : {Bytes{7, 0, 0}, encodePacket(0xE0, 3, {}), Bytes{0}}) {
            line.insert(line.end(), next.begin(), next.end());
        }
        const auto answersAt = [&](std::uint8_t sequence) {
            QList<std::size_t> places;
            for (std::size_t i = 0; i < line.size(); ++i) {
                if (receiver.take(line[i], sequence)) {
                    places.append(i);
                }
            }
            return places;
        };
        QCOMPARE(answersAt(1), QList<std::size_t>{5});
        QCOMPARE(answersAt(3), QList<std::size_t>{line.size() - 2});
        QCOMPARE(answersAt(2), QList<std::size_t>{});
    }

    void receiverHolds4096Bytes() {
        FrameReceiver receiver;
        for (int i = 0; i < 4096; ++i) {
            QVERIFY(!receiver.take(0xFF, 0));
        }
        QCOMPARE(thrownText([&] { receiver.take(0xFF, 0); }), "Oversized serial frame.");
    }

    void everyByteIsACommandOrNot() {
        const Bytes codes = fromHex("a0a1a2a3a4a5acadafc0c1c2c3c4c5c6c7c8cacbcdcfd3d4"
                                    "d6d7d8d9dadcdee4e6e7e8ebec");
        for (unsigned code = 0; code < 256; ++code) {
            const auto byte = static_cast<std::uint8_t>(code);
            QCOMPARE(isCommand(byte), std::ranges::find(codes, byte) != codes.end());
        }
    }

    void everyByteIsJudged() {
        using enum Acknowledgement;
        for (unsigned code = 0; code < 256; ++code) {
            const auto response = static_cast<Response>(code);
            const Acknowledgement other = code == 0xB1 ? Busy : Refused;
            QCOMPARE(uploadAcknowledgement(response), code == 0xB2 ? Accepted : other);
            QCOMPARE(toolAcknowledgement(response),
                     code == 0xB0 || code == 0xB2 ? Accepted : other);
            QCOMPARE(isDone(response), code == 0xB2);
        }
    }
};

QTEST_APPLESS_MAIN(SerialProtocolTest)
#include "SerialProtocolTest.moc"
