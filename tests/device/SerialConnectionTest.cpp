#include "device/SerialConnection.h"

#include "device/BoardQuery.h"
#include "simulator/BoardServer.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <ctime>

#include <termios.h>
#include <unistd.h>

using namespace pivex;
using namespace std::chrono_literals;

namespace {

std::wstring wide(const std::string& path) {
    return {path.begin(), path.end()};
}

/// A port whose other end is in the test's hand.
struct Wire {
    explicit Wire(std::chrono::milliseconds answer = 200ms) : query(port, answer, {}) {}

    /// The failure of a request.
    QByteArray ask(Command command = Command::Identify, Response expected = Response::Any) {
        return thrownText([&] { query(command, expected, {}); });
    }

    PtyLink line;
    PortLink port{wide(line.path())};
    BoardQuery query;
};

/// A descriptor of this process for the terminal `path`, which nobody can open a second time.
int fileOf(const std::string& path) {
    constexpr int mostFiles = 1000;
    int file = 0;
    for (const char* name = nullptr; file < mostFiles && (name == nullptr || path != name);) {
        name = ttyname(++file);
    }
    return file;
}

} // namespace

class SerialConnectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void portsAreChosenByName() {
        std::vector<PortEntry> entries;
        for (const wchar_t* name :
             {L"ttyUSB0", L"ttyACM1", L"ttyS0", L"ttyACM0", L"TTYACM2", L"xttyUSB1"}) {
            entries.push_back({name, std::wstring(L"/dev/") + name});
        }
        const std::vector<std::wstring> chosen{L"/dev/ttyACM0", L"/dev/ttyACM1", L"/dev/ttyUSB0"};
        QCOMPARE(boardPorts(entries), chosen);
    }

    void refusesWhatIsNoPort() {
        const QTemporaryDir folder;
        const PtyLink line;
        const auto failure = [](const QString& path) {
            return thrownText([&] { const PortLink port(path.toStdWString()); });
        };
        QVERIFY(failure(folder.path())
                    .startsWith("Cannot open serial port (check USB passthrough and dialout "
                                "permissions): "));
        // Under another name a pseudo-terminal counts as a real port, whose modem lines it lacks.
        const QString link = folder.filePath(QLatin1String("ttyACM0"));
        QVERIFY(QFile::link(QString::fromStdString(line.path()), link));
        QVERIFY(failure(link).startsWith("Cannot enable DTR: "));
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
            QVERIFY(timer.elapsed() < 2000);
            QVERIFY(connection.poll().empty());
            // Nothing is pending: the next connection sends only what it asks for itself.
            board.clearRequests();
            connection.connect(wide(board.path()));
            QTRY_COMPARE_WITH_TIMEOUT(board.requests().size(), settling ? 1U : 2U, 9000);
            QCOMPARE(connection.poll().at(0).text,
                     "Port open at 115200 8N1. Waiting for Pivex identity...");
        }
    }

    void hangUpIsNoticedWhileIdle() {
        Wire wire;
        wire.port.idle();
        wire.line.write(Bytes{7});
        wire.port.idle();
        QVERIFY(wire.port.hasByte());
        QElapsedTimer timer;
        timer.start();
        wire.port.idle();
        QVERIFY(timer.elapsed() >= 40);
        Wire quiet;
        for (Wire* each : {&wire, &quiet}) {
            each->line.hangUp();
            QCOMPARE(thrownText([&] { each->port.idle(); }),
                     "Serial connection failed: Input/output error");
        }
    }

    /// What is no command is not even numbered; answers that come early wait for their request.
    void requestsAndAnswersMatch() {
        Wire wire;
        for (const int code : {0x00, 0xA6, 0xAE, 0xC9, 0xD5, 0xDB, 0xE5, 0xFF}) {
            QCOMPARE(wire.ask(static_cast<Command>(code)), "Unsupported device command blocked.");
        }
        for (const std::uint8_t sequence : Bytes{0, 1, 2}) {
            wire.line.write(encodePacket(0xB9, sequence, {sequence}));
        }
        QCOMPARE(wire.query(Command::ChipCount, Response::ChipCount, {}), (Bytes{0xB9, 0, 0}));
        QCOMPARE(wire.query(Command::ChipCount, Response::Any, {}), (Bytes{0xB9, 1, 1}));
        QCOMPARE(wire.ask(Command::ChipCount, Response::ChipName), "Unexpected PCB response: 185");
    }

    void otherFramesDoNotExtendTheDeadline() {
        Wire wire;
        std::jthread noise([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                wire.line.write(encodePacket(0xE0, 99, {}));
                wire.line.pause(5ms);
            }
        });
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(wire.ask(), "PCB query timed out. Check USB connection and device mode.");
        QVERIFY(timer.elapsed() >= 200);
        QVERIFY(timer.elapsed() < 30'000);
    }

    void stoppedLineTimesOut() {
        Wire wire(120ms);
        QCOMPARE(tcflow(fileOf(wire.line.path()), TCOOFF), 0);
        const std::clock_t before = std::clock();
        QCOMPARE(wire.ask(), "Serial write timed out.");
        QVERIFY(std::clock() - before < CLOCKS_PER_SEC * 6 / 100);
        QElapsedTimer timer;
        timer.start();
        std::stop_source stop;
        BoardQuery patient(wire.port, 60s, stop.get_token());
        const std::jthread stopping([&] {
            wire.line.pause(50ms);
            stop.request_stop();
        });
        QVERIFY(!thrownText([&] { patient(Command::Identify, {}, {}); }).isEmpty());
        QVERIFY(timer.elapsed() < 30'000);
        QCOMPARE(thrownText([&] { patient(Command::Identify, {}, {}); }), "Disconnected.");
    }
};

QTEST_GUILESS_MAIN(SerialConnectionTest)
#include "SerialConnectionTest.moc"
