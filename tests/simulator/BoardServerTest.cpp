#include "simulator/BoardServer.h"

#include "device/SerialProtocol.h"
#include "simulator/SampleStorage.h"

#include <QtTest/QtTest>

#include <algorithm>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patience = 5000;

/// A program at the far end of the line.
class Client {
public:
    explicit Client(const std::string& path) : line(::open(path.c_str(), O_RDWR | O_NOCTTY)) {}

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    ~Client() { ::close(line); }

    bool isOpen() const { return line >= 0; }

    void write(const Bytes& bytes) const {
        QCOMPARE(::write(line, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }

    void request(Command command, const Bytes& payload = {}, std::uint8_t sequence = 0) const {
        write(encodePacket(static_cast<std::uint8_t>(command), sequence, payload));
    }

    /// The next `size` bytes, or fewer if the line goes quiet or is hung up.
    Bytes read(std::size_t size) const {
        Bytes bytes(size);
        std::size_t count = 0;
        pollfd polled{line, POLLIN, 0};
        while (count<size&& ::poll(&polled, 1, patience)> 0) {
            const ssize_t more = ::read(line, bytes.data() + count, size - count);
            if (more <= 0) {
                break;
            }
            count += std::size_t(more);
        }
        bytes.resize(count);
        return bytes;
    }

    /// Whether the answer to one more request is the very next that comes.
    bool isServedNext() const {
        request(Command::Identify, {}, 99);
        const Bytes expected = encodePacket(0xE0, 99, {'b', 'o', 'a', 'r', 'd'});
        return read(expected.size()) == expected;
    }

    bool isHungUp() const {
        pollfd polled{line, 0, 0};
        return ::poll(&polled, 1, patience) == 1 && (polled.revents & POLLHUP) != 0;
    }

private:
    int line;
};

BoardModel oneChip() {
    BoardModel board;
    board.identity = "board";
    board.storage.chips = {{.name = "chip", .code = Bytes(16)}};
    board.storage.images[20] = {.name = "dot", .rle = {1, 0xFF, 0xFF}};
    return board;
}

QString programPath() {
    return QCoreApplication::applicationDirPath() + u"/../../src/simulator/pivex-board"_s;
}

/// A running pivex-board; its first line of output is `path`.
class Program {
public:
    explicit Program(const QStringList& arguments) {
        process.start(programPath(), arguments);
        if (process.waitForReadyRead(patience)) {
            path = process.readLine().trimmed().toStdString();
        }
    }

    int end() {
        process.terminate();
        return process.waitForFinished(patience) ? process.exitCode() : -1;
    }

    std::string path;

private:
    QProcess process;
};

} // namespace

class BoardServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void answersOverAnyNumberOfConnects() {
        BoardServer board(oneChip());
        QVERIFY(board.path().starts_with("/dev/pts/"));
        for (int round = 0; round < 100; ++round) {
            const Client client(board.path());
            QVERIFY(client.isServedNext());
        }
        QCOMPARE(board.requests().size(), std::size_t{100});
        board.clearRequests();
        const Client client(board.path());
        client.request(Command::ChipName, {0, 0}, 7);
        QCOMPARE(client.read(9), encodePacket(0xBA, 7, {'c', 'h', 'i', 'p'}));
        client.request(Command{0xA6});
        QVERIFY(client.isServedNext());
        const std::vector<BoardRequest> expected{
            {Command::ChipName, {0, 0}, 7}, {Command{0xA6}, {}, 0}, {Command::Identify, {}, 99}};
        QVERIFY(board.requests() == expected);
    }

    void misbehavesOnOrder_data() {
        QTest::addColumn<FaultKind>("kind");
        QTest::addColumn<Command>("command");
        QTest::addColumn<Bytes>("payload");
        QTest::addColumn<Bytes>("expected");
        QTest::addColumn<std::size_t>("chipsLeft");
        const auto row = [](const char* name, FaultKind kind, Command command, const Bytes& payload,
                            const Bytes& expected, std::size_t chipsLeft) {
            QTest::newRow(name) << kind << command << payload << expected << chipsLeft;
        };
        const auto erase = [&](const char* name, FaultKind kind, const Bytes& expected,
                               std::size_t chipsLeft = 0) {
            row(name, kind, Command::DeleteAllChips, {}, expected, chipsLeft);
        };
        const Bytes proper = encodePacket(0xB2, 5, {});
        Bytes stale = encodePacket(0xB2, 4, {});
        stale.insert(stale.end(), proper.begin(), proper.end());
        Bytes corrupt = proper;
        ++corrupt[corrupt.size() - 2];
        Bytes oversized(5000, 0xFE);
        oversized.push_back(0);
        Bytes glued(15, 0xFE);
        glued.push_back(0);
        glued.insert(glued.end(), proper.begin(), proper.end());
        glued.insert(glued.end(), 7, 0xFE);
        glued.push_back(0);
        erase("busy", FaultKind::Busy, encodePacket(0xB1, 5, {}), 1);
        erase("refuse", FaultKind::Refuse, encodePacket(0xB4, 5, {}), 1);
        erase("silent", FaultKind::Silent, {});
        erase("late", FaultKind::Late, proper);
        erase("stale", FaultKind::Stale, stale);
        erase("corrupt", FaultKind::Corrupt, corrupt);
        erase("split", FaultKind::Split, proper);
        erase("glued", FaultKind::Glued, glued);
        erase("oversized", FaultKind::Oversized, oversized);
        erase("too long", FaultKind::TooLong, encodePacket(0xB2, 5, Bytes(70, 'x')));
        erase("replaced", FaultKind::Replace, encodePacket(0x77, 5, {1, 0}));
        row("short", FaultKind::Short, Command::ChipCount, {}, encodePacket(0xB9, 5, {}), 1);
        row("wrong offset", FaultKind::WrongEcho, Command::ImageChunk, {20, 0, 0, 0},
            encodePacket(0xEA, 5, {1, 0, 1, 0xFF, 0xFF}), 1);
        row("wrong slot", FaultKind::WrongEcho, Command::FontSlotRead, {2},
            encodePacket(0xE1, 5, {3}), 1);
        row("wrong setting", FaultKind::WrongEcho, Command::Settings, {1, 7, 4},
            encodePacket(0xE5, 5, {1, 3, 0, 0, 1, 0, 0, 0, 0, 5, 14, 0, 0, 1}), 1);
    }

    void misbehavesOnOrder() {
        QFETCH(const FaultKind, kind);
        QFETCH(const Command, command);
        QFETCH(const Bytes, payload);
        QFETCH(const Bytes, expected);
        QFETCH(const std::size_t, chipsLeft);
        BoardServer board(oneChip());
        board.withModel([&](BoardModel& model) {
            const Response code = kind == FaultKind::Replace ? Response{0x77} : refusedResponse;
            model.addFault({.command = command,
                            .kind = kind,
                            .code = code,
                            .payload = {1, 0},
                            .delay = std::chrono::milliseconds(30)});
        });
        const Client client(board.path());
        const QElapsedTimer time = [] {
            QElapsedTimer t;
            t.start();
            return t;
        }();
        client.request(command, payload, 5);
        QCOMPARE(client.read(expected.size()), expected);
        QVERIFY(kind != FaultKind::Late || time.elapsed() >= 30);
        QVERIFY(client.isServedNext());
        board.withModel(
            [&](BoardModel& model) { QCOMPARE(model.storage.chips.size(), chipsLeft); });
    }

    void hangsUpAfterTheDeed() {
        BoardServer board(oneChip());
        board.withModel([](BoardModel& model) { model.addFault({.kind = FaultKind::HangUp}); });
        const Client client(board.path());
        client.request(Command::DeleteAllChips);
        QVERIFY(client.isHungUp());
        QVERIFY(!Client(board.path()).isOpen());
        board.withModel([](BoardModel& model) { QVERIFY(model.storage.chips.empty()); });
    }

    void stopsInTheMiddleOfALateAnswer() {
        BoardServer board(oneChip());
        board.withModel([](BoardModel& model) {
            model.addFault({.kind = FaultKind::Late, .delay = std::chrono::hours(1)});
        });
        const Client client(board.path());
        client.request(Command::Identify);
        QTRY_COMPARE(board.requests().size(), std::size_t{1});
    }

    void servesInAFlood() {
        BoardServer board(oneChip());
        board.withModel([](BoardModel& model) { model.addFault({.kind = FaultKind::Flood}); });
        const Client client(board.path());
        QVERIFY(client.isServedNext());
        const Bytes noise = client.read(20'000);
        QCOMPARE(noise.size(), std::size_t{20'000});
        QVERIFY(std::ranges::count(noise, std::uint8_t{0}) > 300);
        const Bytes answer = encodePacket(0xB9, 1, {1, 0});
        client.request(Command::ChipCount, {}, 1);
        Bytes seen;
        const auto isAnswered = [&] {
            return std::search(seen.begin(), seen.end(), answer.begin(), answer.end()) !=
                   seen.end();
        };
        for (int round = 0; round < 1000 && !isAnswered(); ++round) {
            const Bytes more = client.read(64);
            seen.insert(seen.end(), more.begin(), more.end());
        }
        QVERIFY(isAnswered());
    }

    void damagesOneByte_data() {
        using Kind = LineFault::Kind;
        using Direction = LineFault::Direction;
        QTest::addColumn<LineFault>("fault");
        QTest::addColumn<Bytes>("expected");
        const auto row = [](const char* name, const LineFault& fault, const Bytes& expected) {
            QTest::newRow(name) << fault << expected;
        };
        // Undamaged, the answer is 06 B9 05 01 .. with the check byte last.
        const Bytes answer = encodePacket(0xB9, 5, {1, 2});
        row("drop", {Kind::Drop, Direction::Answer, 3}, {6, 0xB9, 5, 2, answer[5], 0});
        row("flip", {Kind::Flip, Direction::Answer, 1, 7}, {6, 0x39, 5, 1, 2, answer[5], 0});
        row("double", {Kind::Duplicate, Direction::Answer, 2}, {6, 0xB9, 5, 5, 1, 2, answer[5], 0});
        row("insert", {Kind::Insert, Direction::Answer, 0, 0, 9},
            {9, 6, 0xB9, 5, 1, 2, answer[5], 0});
        row("behind the answer", {Kind::Drop, Direction::Answer, 7}, answer);
        row("drop of a request", {Kind::Drop, Direction::Request, 0}, {});
        row("flip of a request", {Kind::Flip, Direction::Request, 2, 3}, {});
        row("delimiter doubled", {Kind::Duplicate, Direction::Request, 4}, answer);
        row("delimiter lost", {Kind::Drop, Direction::Request, 4}, {});
    }

    void damagesOneByte() {
        QFETCH(const LineFault, fault);
        QFETCH(const Bytes, expected);
        BoardServer board(oneChip());
        board.withModel([](BoardModel& model) { model.storage.chips.resize(0x201); });
        const Client client(board.path());
        board.setLineFault(fault);
        client.request(Command::ChipCount, {}, 5);
        QCOMPARE(client.read(expected.size()), expected);
        QTRY_COMPARE(board.bytesPassed(LineFault::Direction::Request), std::size_t{5});
        board.setLineFault(std::nullopt);
        // What is left of a request is forgotten after a pause.
        QTest::qSleep(60);
        QVERIFY(client.isServedNext());
    }

    void cutsTheLineAtAByte() {
        for (const auto direction : {LineFault::Direction::Request, LineFault::Direction::Answer}) {
            BoardServer board(oneChip());
            board.setLineFault(LineFault{LineFault::Kind::Cut, direction, 3});
            const Client client(board.path());
            client.request(Command::DeleteAllChips);
            QVERIFY(client.isHungUp());
            const bool isDone = direction == LineFault::Direction::Answer;
            QCOMPARE(board.requests().size(), std::size_t{isDone});
        }
    }

    void refusesABadCommandLine_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::newRow("help") << QStringList{u"--help"_s} << 0 << u"Usage: pivex-board"_s;
        QTest::newRow("version") << QStringList{u"--version"_s} << 0 << u"pivex-board "_s;
        const auto bad = [](const QStringList& arguments, const QString& output) {
            QTest::newRow(qPrintable(arguments.join(u' '))) << arguments << 2 << output;
        };
        bad({u"--sample"_s}, u"Unknown option \"--sample\"."_s);
        bad({u"/dev/pts/1"_s}, u"Unknown option \"/dev/pts/1\"."_s);
        bad({u"--store"_s}, u"Option --store needs a value."_s);
        bad({u"--chips"_s, u"65536"_s}, u"\"65536\" is not a number up to 65535."_s);
        bad({u"--fault"_s, u"Identify:1"_s}, u"A fault is COMMAND:PACKET:KIND or"_s);
        bad({u"--fault"_s, u"Identify:0:Busy"_s}, u"\"0\" is not a count from 1."_s);
        bad({u"--fault"_s, u"Identify:1:busy"_s}, u"Unknown name \"busy\"."_s);
        bad({u"--fault"_s, u"Save:1:Busy:2"_s}, u"Unknown name \"Save\"."_s);
        QTest::newRow("store") << QStringList{u"--store"_s, u"/no/such/folder/x"_s} << 1
                               << u"Cannot write the storage file"_s;
        QTest::newRow("folder") << QStringList{u"--store"_s, u"/tmp"_s} << 1 << u"left as it is"_s;
    }

    void refusesABadCommandLine() {
        QFETCH(const QStringList, arguments);
        QFETCH(const int, exitCode);
        QFETCH(const QString, output);
        QProcess process;
        process.start(programPath(), arguments);
        QVERIFY(process.waitForFinished(patience));
        QCOMPARE(process.exitCode(), exitCode);
        const QByteArray seen =
            exitCode == 0 ? process.readAllStandardOutput() : process.readAllStandardError();
        QVERIFY2(seen.contains(output.toUtf8()), seen);
    }

    void keepsItsStoreOverRestarts() {
        const QTemporaryDir folder;
        const QString store = folder.filePath(u"board"_s);
        const auto isAnsweredBy = [](const Program& program, const Bytes& expected) {
            const Client client(program.path);
            client.request(Command::ChipCount, {}, 1);
            return client.read(expected.size()) == expected;
        };
        const Bytes afterDeletion = encodePacket(0xB9, 1, u16Bytes(257));
        Program first(
            {u"--store"_s, store, u"--chips"_s, u"258"_s, u"--fault"_s, u"ChipCount:1:Busy"_s});
        QVERIFY(isAnsweredBy(first, encodePacket(0xB1, 1, {})));
        Client(first.path).request(Command::DeleteSelectedChip, {0, 1});
        QVERIFY(Client(first.path).read(5) == encodePacket(0xB2, 0, {}));
        QVERIFY(isAnsweredBy(first, afterDeletion));
        QCOMPARE(first.end(), 0);
        Program second({u"--store"_s, store, u"--samples"_s});
        QVERIFY(isAnsweredBy(second, afterDeletion));
        QCOMPARE(second.end(), 0);
    }
};

QTEST_GUILESS_MAIN(BoardServerTest)
#include "BoardServerTest.moc"
