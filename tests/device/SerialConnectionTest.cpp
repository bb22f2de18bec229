#include "device/SerialConnection.h"

#include "device/BoardQuery.h"
#include "simulator/BoardServer.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <fstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <termios.h>

using namespace pivex;
using namespace std::chrono_literals;

namespace {

using Kind = SerialEvent::Kind;

constexpr ConnectionTimings shortWaits{.settle = 0ms, .answer = 150ms};

const QByteArray timedOut = "PCB query timed out. Check USB connection and device mode.";
const QByteArray lost = "Serial connection failed: Input/output error";

std::wstring wide(const std::string& path) {
    return {path.begin(), path.end()};
}

/// A connection and everything it has reported.
struct Client {
    explicit Client(ConnectionTimings waits = shortWaits) : connection(waits) {}

    bool has(Kind kind) {
        for (SerialEvent& event : connection.poll()) {
            events.push_back(std::move(event));
        }
        return std::ranges::find(events, kind, &SerialEvent::kind) != events.end();
    }

    /// Waits for `kind`, at most until the connection failed.
    bool waitsFor(Kind kind) {
        const auto ended = [&] { return has(kind) || has(Kind::Failed); };
        return QTest::qWaitFor(ended, 5000) && has(kind);
    }

    bool connects(const std::string& path) {
        events.clear();
        connection.connect(wide(path));
        return waitsFor(Kind::ChipListDone);
    }

    /// The texts of all events, and of the last.
    QByteArray log() const {
        std::string texts;
        for (const SerialEvent& event : events) {
            texts += event.text + "|";
        }
        return QByteArray::fromStdString(texts);
    }

    QByteArray lastText() const {
        return events.empty() ? QByteArray() : QByteArray::fromStdString(events.back().text);
    }

    SerialConnection connection;
    std::vector<SerialEvent> events;
};

/// Processor time that this process has used.
std::chrono::milliseconds processorTime() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)) +
           std::chrono::milliseconds((usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000);
}

/// Resident memory of this process in pages.
long residentPages() {
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident;
}

} // namespace

class SerialConnectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void portsAreChosenByName() {
        const std::vector<PortEntry> entries{
            {L"ttyUSB0", L"/dev/ttyUSB0"}, {L"ttyACM1", L"/dev/ttyACM1"},
            {L"ttyS0", L"/dev/ttyS0"},     {L"ttyACM0", L"/dev/ttyACM0"},
            {L"TTYACM2", L"/dev/TTYACM2"}, {L"xttyUSB1", L"/dev/xttyUSB1"},
        };
        const std::vector<std::wstring> chosen{L"/dev/ttyACM0", L"/dev/ttyACM1", L"/dev/ttyUSB0"};
        QCOMPARE(boardPorts(entries), chosen);
    }

    void connectionReportsIdentityAndList() {
        BoardModel model;
        model.storage.chips.push_back({.name = "A"});
        BoardServer board(model);
        Client client;
        QVERIFY(client.connects(board.path()));
        QCOMPARE(client.log(), "Port open at 115200 8N1. Waiting for Pivex identity...|"
                               "Pivex PCB simulator|Reading stored PCB tests...|A|"
                               "Loaded 1 stored tests from PCB.|");
        client.connection.disconnect();
        QVERIFY(client.connects(board.path()));
    }

    void portsThatCannotBeUsed() {
        QTemporaryDir folder;
        const auto failure = [](const std::string& path) {
            Client client;
            client.connection.connect(wide(path));
            client.waitsFor(Kind::Failed);
            return client.lastText();
        };
        const QByteArray open =
            "Cannot open serial port (check USB passthrough and dialout permissions): ";
        QCOMPARE(failure("/dev/pts/none"), open + "No such file or directory");
        QVERIFY(failure(folder.path().toStdString()).startsWith(open));
        // Under another name a pseudo-terminal counts as a real port, whose modem lines it lacks.
        BoardServer board;
        const QString link = folder.filePath(QLatin1String("ttyACM0"));
        QVERIFY(QFile::link(QString::fromStdString(board.path()), link));
        QVERIFY(failure(link.toStdString()).startsWith("Cannot enable DTR: "));
    }

    void everyOtherByteIsBlocked() {
        BoardServer board;
        for (const int code : {0x00, 0xA6, 0xAE, 0xC9, 0xD5, 0xDB, 0xE5, 0xFF}) {
            Client client;
            QVERIFY(client.connects(board.path()));
            board.clearRequests();
            client.connection.fontPackets({{static_cast<Command>(code), {}, false}});
            QVERIFY(client.waitsFor(Kind::Failed));
            QVERIFY(client.lastText().startsWith(
                "Font write stopped: Unsupported device command blocked. "));
            QVERIFY(board.requests().empty());
        }
    }

    void disconnectIsPromptAndLeavesNothing() {
        for (const bool settling : {true, false}) {
            BoardServer board;
            board.withModel([](BoardModel& model) { model.addFault({.kind = FaultKind::Silent}); });
            SerialConnection connection({.settle = settling ? 2000ms : 0ms, .answer = 5000ms});
            connection.connect(wide(board.path()));
            QTRY_VERIFY(settling || !board.requests().empty());
            connection.loadChip(0);
            connection.upload({});
            QElapsedTimer timer;
            timer.start();
            connection.disconnect();
            QVERIFY(timer.elapsed() < 1000);
            QVERIFY(connection.poll().empty());
            // Nothing is pending: the next connection sends only what it asks for itself.
            board.clearRequests();
            connection.connect(wide(board.path()));
            QTRY_COMPARE_WITH_TIMEOUT(board.requests().size(), settling ? 1U : 2U, 9000);
        }
    }

    void lostBoardIsToldOnceWhileIdle() {
        auto board = std::make_unique<BoardServer>();
        Client client;
        QVERIFY(client.connects(board->path()));
        board.reset();
        QVERIFY(client.waitsFor(Kind::Failed));
        QCOMPARE(client.lastText(), lost);
        const std::size_t told = client.events.size();
        const auto before = processorTime();
        QTest::qWait(300);
        client.has(Kind::Failed);
        QCOMPARE(client.events.size(), told);
        QVERIFY(processorTime() - before < 100ms);
    }

    void floodWhileIdleCostsNothing() {
        BoardServer board;
        board.withModel([](BoardModel& model) {
            model.addFault({.command = Command::ChipCount, .kind = FaultKind::Flood});
        });
        Client client;
        QVERIFY(client.connects(board.path()));
        QTest::qWait(300);
        const long pages = residentPages();
        const auto before = processorTime();
        QTest::qWait(1000);
        QVERIFY2(processorTime() - before < 250ms,
                 qPrintable(QString::number((processorTime() - before).count())));
        QVERIFY(residentPages() - pages < 256);
        client.events.clear();
        client.connection.refreshChips();
        QVERIFY(client.waitsFor(Kind::ChipListDone) || client.has(Kind::Failed));
    }

    void hangUpIsNoticedBehindUnreadBytes() {
        auto line = std::make_unique<PtyLink>();
        PortLink port(wide(line->path()));
        line->write(Bytes{7});
        port.idle();
        QVERIFY(port.hasByte());
        QElapsedTimer timer;
        timer.start();
        port.idle();
        QVERIFY(timer.elapsed() >= 40);
        line.reset();
        QCOMPARE(thrownText([&] { port.idle(); }), lost);
    }

    void answersBehindTheFirstWaitForTheirRequest() {
        PtyLink line;
        PortLink port(wide(line.path()));
        BoardQuery query(port, 200ms, {});
        for (const std::uint8_t sequence : Bytes{0, 1}) {
            line.write(encodePacket(0xB9, sequence, {sequence}));
        }
        QCOMPARE(query(Command::ChipCount, Response::ChipCount, {}), (Bytes{0xB9, 0, 0}));
        QCOMPARE(query(Command::ChipCount, Response::Any, {}), (Bytes{0xB9, 1, 1}));
    }

    void otherFramesDoNotExtendTheDeadline() {
        PtyLink line;
        PortLink port(wide(line.path()));
        BoardQuery query(port, 200ms, {});
        std::jthread noise([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                line.write(encodePacket(0xE0, 99, {}));
                line.pause(5ms);
            }
        });
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(thrownText([&] { query(Command::Identify, Response::Any, {}); }), timedOut);
        QVERIFY(timer.elapsed() >= 200);
        QVERIFY(timer.elapsed() < 1000);
    }

    void stoppedLineTimesOut() {
        PtyLink line;
        const int terminal = ::open(line.path().c_str(), O_RDWR | O_NOCTTY);
        PortLink port(wide(line.path()));
        QCOMPARE(tcflow(terminal, TCOOFF), 0);
        std::stop_source stop;
        BoardQuery query(port, 120ms, stop.get_token());
        const auto ask = [&] { return thrownText([&] { query(Command::Identify, {}, {}); }); };
        const auto before = processorTime();
        QCOMPARE(ask(), "Serial write timed out.");
        QVERIFY(processorTime() - before < 60ms);
        stop.request_stop();
        QCOMPARE(ask(), "Disconnected.");
        ::close(terminal);
    }
};

QTEST_GUILESS_MAIN(SerialConnectionTest)
#include "SerialConnectionTest.moc"
