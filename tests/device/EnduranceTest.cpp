#include "device/SerialConnection.h"
#include "simulator/BoardServer.h"
#include "support/Sweep.h"

#include <QtTest/QtTest>

#include <array>
#include <iostream>
#include <random>
#include <thread>

#include <malloc.h>

using namespace pivex;
using namespace pivex::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Nothing gets lost here, so no answer is ever waited for this long, not even in a sanitizer.
constexpr ConnectionTimings waits{.settle = 0ms, .answer = 30'000ms};

UploadPlan plan() {
    return prepareUpload(
        {.name = "T", .code = "GOSTRT\nDELMS 10\nENDTEST\n", .strings = {"a", "b"}});
}

/// Something to ask for and the number of events that have to come of it.
struct Task {
    void (*ask)(SerialConnection&);
    std::size_t reports;
};

constexpr Task sending{[](auto& board) { board.upload(plan()); }, 16};
constexpr std::size_t connecting = 5;

constexpr std::array tasks{sending, Task{[](auto& board) { board.loadChip(0); }, 2},
                           Task{[](auto& board) { board.loadImage(20); }, 2},
                           Task{[](auto& board) { board.settingsRequest({0}); }, 8},
                           Task{[](auto& board) { board.batch({plan()}); }, 8}};

/// A board and the connection to it.
class Desk {
public:
    Desk() {
        board.recordRequests(false);
        connect();
        await();
    }

    void connect() {
        board.withModel([](BoardModel& model) {
            model.storage.chips = {{.name = "T", .code = Bytes(16)}};
            model.storage.images[20] = {.name = "I", .rle = {1, 2, 3}};
        });
        connection.connect({board.path().begin(), board.path().end()});
        expected = connecting;
    }

    void ask(const Task& task) {
        task.ask(connection);
        expected += task.reports;
    }

    /// Waits for all that was asked for, or for so many tenths of it.
    void await(unsigned tenths = 10) {
        QElapsedTimer clock;
        clock.start();
        std::size_t seen = 0;
        for (bool isQuiet = false; seen < expected * tenths / 10 || !isQuiet; QTest::qSleep(1)) {
            const std::vector<SerialEvent> events = connection.poll();
            isQuiet = events.empty();
            seen += events.size();
            const auto failure =
                std::ranges::find(events, SerialEvent::Kind::Failed, &SerialEvent::kind);
            if (failure != events.end() || seen > expected ||
                clock.hasExpired(waits.answer.count())) {
                qFatal("%zu events instead of %zu", seen, expected);
            }
        }
        expected = 0;
    }

    void leave() {
        connection.disconnect();
        if (!connection.poll().empty()) {
            qFatal("reports something after the end");
        }
    }

    std::minstd_rand random{};

private:
    BoardServer board;
    SerialConnection connection{waits};
    std::size_t expected = 0; ///< events
};

/// What this process holds.
struct Holdings {
    static qsizetype entriesIn(const QString& folder) {
        return QDir(folder).entryList(QDir::AllEntries | QDir::System).size();
    }

    qsizetype descriptors = entriesIn(u"/proc/self/fd"_s);
    qsizetype threads = entriesIn(u"/proc/self/task"_s);
    /// Bytes in use; 0 where a sanitizer brings its own heap.
    std::size_t heap = mallinfo2().uordblks + mallinfo2().hblkhd;
};

/// Runs `rounds` rounds at eight desks at once, three quarters of them between two looks at what
/// the process holds.
void hold(int rounds, void (*round)(Desk&)) {
    std::array<Desk, 8> desks;
    const auto run = [&](int count) {
        std::vector<std::jthread> threads;
        threads.reserve(desks.size());
        for (Desk& desk : desks) {
            threads.emplace_back([&desk, round, count] {
                for (int done = 0; done < count; ++done) {
                    round(desk);
                }
            });
        }
    };
    run(rounds / 32);
    const Holdings before;
    run(rounds * 3 / 32);
    const Holdings after;
    std::cout << rounds << " rounds, the last three quarters took "
              << static_cast<qint64>(after.heap - before.heap) << " bytes" << std::endl;
    QCOMPARE(after.descriptors, before.descriptors);
    QTRY_COMPARE(Holdings().threads, before.threads);
    QVERIFY(after.heap < before.heap + 1'000'000);
}

} // namespace

class EnduranceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void sendsForLong() {
        hold(fullSweep() ? 10'000 : 400, [](Desk& desk) {
            desk.ask(sending);
            desk.await();
        });
    }

    void connectsForLong() {
        hold(fullSweep() ? 1'000 : 200, [](Desk& desk) {
            desk.connect();
            // Every third round ends before it works.
            if (desk.random() % 3 != 0) {
                desk.await();
                for (const Task& task : tasks) {
                    if (desk.random() % 2 == 0) {
                        desk.ask(task);
                    }
                }
            }
            desk.await(std::min(10U, static_cast<unsigned>(desk.random() % 20)));
            desk.leave();
        });
    }
};

QTEST_GUILESS_MAIN(EnduranceTest)
#include "EnduranceTest.moc"
