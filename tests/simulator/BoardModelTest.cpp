#include "simulator/BoardModel.h"

#include "simulator/BoardFile.h"
#include "simulator/SampleStorage.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <map>

using namespace pivex;
using namespace pivex::testing;

namespace {

/// What stores a chip test, an 8 by 2 image in slot 20 or a font of three glyphs in slot 4:
/// command, the most bytes that one packet takes, payload.
const std::map<QByteArray, QByteArray> plans{
    {"chip", "ca 41 5aa5 78 00x31 04010e01500002,ac 0,ad 63 61 00x319 62 00x191,d9 0,cd 2 5000,"
             "cb 63 07x80,c6 0"},
    {"image", "a0 2 8000,ec 2 1400,a1 48 0000 78 00x31 080230 00x91,a2 0,a3 2 3000,a4 30 01x48,"
              "a5 0"},
    {"font", "c0 3 800004,c1 48 0000 78 00x31 02070203000006 00x87,c2 0,c3 2 0600,c4 6 7fx6,c5 0"},
};

QByteArrayList packetsOf(const QByteArray& kind) {
    QByteArrayList packets;
    for (const QByteArray& row : plans.at(kind).split(',')) {
        const QByteArrayList words = row.split(' ');
        const qsizetype most = 2 * words[1].toLongLong();
        QByteArray payload = hexOf(words.mid(2).join(' '));
        do {
            packets.append(words[0] + payload.left(most));
            payload.remove(0, most);
        } while (!payload.isEmpty());
    }
    return packets;
}

/// The code and payload of every answer.
QByteArray answers(BoardModel& board, const QByteArrayList& requests) {
    QByteArrayList answers;
    for (const QByteArray& request : requests) {
        const Bytes packet = fromHex(request);
        const auto answer =
            board.answer(Command{packet.front()}, Bytes(packet.begin() + 1, packet.end())).value();
        answers.append(toHex({static_cast<std::uint8_t>(answer.code)}) + toHex(answer.payload));
    }
    return answers.join(' ');
}

/// The number of the first packet that the board refuses; -1 if none or if it stores anything.
qsizetype refusedPacket(const QByteArrayList& packets) {
    BoardModel board;
    const qsizetype refused = answers(board, packets).split(' ').indexOf("b4");
    return board.storage == BoardStorage() ? refused : -1;
}

} // namespace

class BoardModelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// Whoever loads what was stored looks at the rest of what a board tells.
    void tellsWhatItStored() {
        BoardModel board;
        answers(board, packetsOf("font"));
        QCOMPARE(answers(board, {"de04", "e604", "de04", "eb0f00", "d41400"}),
                 hexOf("e2040207030000000078 00x31") + " b0 e104 b0 b3");
        const QByteArrayList writes{"e4010201", "e4010302", "e4010501", "e4010601", "e4010705"};
        QCOMPARE(answers(board, writes).last(28), "010300010200000101050e000001");
        // Outside Upload Mode it takes no chip test, whatever it holds already.
        answers(board, packetsOf("chip").mid(0, 15));
        board.uploadMode = false;
        QCOMPARE(answers(board, {"af", "c6", "cf"}), "06 b4 b4");
        QVERIFY(!answers(board, packetsOf("chip")).contains("b2"));
    }

    void refusesWhatIsOutOfRange() {
        const QByteArray requests =
            "c70300 d6aaaa d60300 d7aaaa d70300 d8000008 d8030000 da0300 c6 d40000 "
            "d4f000 e71600 e80f003f00 e816000000 eb0e00 ebf000 de06 e606 e4010202 e4010303 "
            "e4010502 e4010602 e4010706 e4010100 e4010400 e401 e4000201";
        BoardModel board;
        board.storage = sampleStorage();
        for (const QByteArray& request : requests.split(' ')) {
            QVERIFY2(answers(board, {request}) == "b4", request);
        }
        for (const Command command : commandSet) {
            QCOMPARE(board.answer(command, Bytes(64)), BoardAnswer());
        }
        // Nor does it change what it cannot keep.
        board.keep = [](const BoardStorage&) { throw std::runtime_error("disk full"); };
        QCOMPARE(answers(board, {"da0000", "d3"}), "b4 b4");
        QVERIFY(board.storage == sampleStorage());
    }

    void refusesEveryDisorder() {
        for (const char* kind : {"chip", "image", "font"}) {
            const QByteArrayList good = packetsOf(kind);
            BoardModel board;
            QCOMPARE(answers(board, good + QByteArrayList{good.last()}).count("b4"), 1);
            for (qsizetype i = 1; i + 1 < good.size(); ++i) {
                QByteArrayList dropped = good;
                QByteArrayList twice = good;
                QByteArrayList swapped = good;
                dropped.removeAt(i);
                twice.insert(i, good[i]);
                swapped.swapItemsAt(i, i - 1);
                const bool isSame = good[i].first(2) == good[i - 1].first(2);
                QVERIFY2(refusedPacket(dropped) >= i && refusedPacket(twice) > i &&
                             (isSame || refusedPacket(swapped) >= i - 1),
                         good[i]);
            }
        }
    }

    /// Every fault is one place of an upload: packet, offset in its payload and bytes there; then
    /// the packet that the board refuses. Magic, lengths and counts of a chip test, slots, names,
    /// sizes and data of an image, the same of a font.
    void refusesWhatCannotBeStored() {
        const QByteArray faults =
            "chip 0 1 00 0, chip 0 38 60 12, chip 0 40 03 11, chip 3 0 78 11, image 0 0 7f 0, "
            "image 1 0 00 1, image 1 0 f0 1, image 2 2 00 5, image 2 33 78 5, image 2 34 00 5, "
            "image 2 34 a1 5, image 2 35 81 5, image 2 36 31 5, image 2 37 12 5, image 6 0 2d 6, "
            "image 7 0 00010102 9, image 8 0 02 9, font 0 2 06 0, font 1 35 09 4, font 1 36 03 4, "
            "font 1 37 04 4, font 6 5 80 7";
        for (const QByteArray& fault : faults.split(',')) {
            const QByteArrayList words = fault.trimmed().split(' ');
            QByteArrayList packets = packetsOf(words[0]);
            packets[words[1].toInt()].replace(2 + 2 * words[2].toInt(), words[3].size(), words[3]);
            QVERIFY2(refusedPacket(packets) == words[4].toInt(), fault);
        }
    }

    void keepsItsStorageAsText() {
        BoardStorage storage = sampleStorage();
        storage.chips[0].name = std::string("\0 \n\xFF", 4);
        QVERIFY(decodeStorage(encodeStorage(storage)) == storage);
        storage.images.clear();
        const std::string text = encodeStorage(storage);
        for (std::size_t i = 0; i < text.size(); ++i) {
            std::string damaged = text;
            damaged[i] = static_cast<char>(damaged[i] ^ 1);
            QVERIFY(!thrownText([&] { decodeStorage(damaged); }).isEmpty());
            QVERIFY(!thrownText([&] { decodeStorage(text.substr(0, i)); }).isEmpty());
        }
    }
};

QTEST_APPLESS_MAIN(BoardModelTest)
#include "BoardModelTest.moc"
