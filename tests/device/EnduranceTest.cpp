#include "device/SerialConnection.h"
#include "simulator/BoardServer.h"
#include "support/Sweep.h"

#include <QtTest/QtTest>

#include <climits>
#include <fstream>
#include <iostream>
#include <map>
#include <numeric>
#include <optional>
#include <random>

#include <malloc.h>
#include <unistd.h>

using namespace pivex;
using namespace pivex::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

using Kind = SerialEvent::Kind;
using Counts = std::map<Kind, int>;

/// Nothing gets lost here, so no answer is ever waited for this long, not even in a sanitizer.
constexpr ConnectionTimings waits{.settle = 0ms, .answer = 30'000ms};

/// Desks that are busy at the same time.
constexpr std::size_t deskCount = 8;

ChipDocument sentChip() {
    return {.name = "T", .code = "GOSTRT\nDELMS 10\nENDTEST\n", .strings = {"a", "b"}};
}

/// Something to ask for and all events that have to come of it.
struct Task {
    void (*ask)(SerialConnection&);
    Counts reports;
};

const Task sending{[](SerialConnection& board) { board.upload(prepareUpload(sentChip())); },
                   {{Kind::Status, 15}, {Kind::UploadDone, 1}}};

const Counts connecting{{Kind::Status, 1},
                        {Kind::Connected, 1},
                        {Kind::ChipListStarted, 1},
                        {Kind::ChipListed, 1},
                        {Kind::ChipListDone, 1}};

const std::vector<Task> tasks{
    sending,
    {[](auto& board) { board.loadChip(0); }, {{Kind::Status, 1}, {Kind::ChipLoaded, 1}}},
    {[](auto& board) { board.loadImage(20); }, {{Kind::Status, 1}, {Kind::ImageLoaded, 1}}},
    {[](auto& board) { board.refreshFonts(); },
     {{Kind::FontSlotLoaded, 6}, {Kind::FontSlotsDone, 1}}},
    {[](auto& board) { board.settingsRequest({0}); },
     {{Kind::Status, 1}, {Kind::FontSlotLoaded, 6}, {Kind::SettingsLoaded, 1}}},
    {[](auto& board) { board.batch({prepareUpload(sentChip())}); },
     {{Kind::Status, 3},
      {Kind::BatchDone, 1},
      {Kind::ChipListStarted, 1},
      {Kind::ChipListed, 2},
      {Kind::ChipListDone, 1}}},
};

BoardModel deskBoard() {
    BoardModel board;
    board.storage.chips = {{.name = "T", .code = Bytes(16)}};
    board.storage.images[20] = {.name = "I", .rle = {1, 2, 3}};
    return board;
}

int totalOf(const Counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), 0,
                           [](int sum, const auto& entry) { return sum + entry.second; });
}

/// A board and a connection that serve one round after the other.
class Desk {
public:
    Desk() { board.recordRequests(false); }

    bool isResting() const { return expected.empty(); }

    bool isConnected() const { return linked; }

    void connect() {
        const std::string& path = board.path();
        connection.connect({path.begin(), path.end()});
        linked = true;
        expected = connecting;
        quiet.start();
    }

    void ask(const Task& task) {
        quiet.start();
        task.ask(connection);
        for (const auto& [kind, count] : task.reports) {
            expected[kind] += count;
        }
    }

    /// Disconnects, after `events` more at the latest.
    void leaveAfter(int events) { patience = events; }

    /// Takes what has been reported; false when that is not what was asked for.
    bool advance() {
        std::vector<SerialEvent> events = connection.poll();
        for (const SerialEvent& event : events) {
            ++seen[event.kind];
            quiet.start();
        }
        const bool isDone = seen == expected;
        if (linked && patience && (isDone || totalOf(seen) >= *patience)) {
            return leave();
        }
        if (isDone) {
            rest();
        }
        return totalOf(seen) <= totalOf(expected) && !seen.contains(Kind::Failed) &&
               (isResting() || !quiet.hasExpired(waits.answer.count()));
    }

    /// Disconnects; false when something is still to be reported.
    bool leave() {
        connection.disconnect();
        const bool isQuiet = connection.poll().empty() && !seen.contains(Kind::Failed);
        linked = false;
        patience.reset();
        rest();
        return isQuiet;
    }

    std::string log() const {
        std::string text;
        for (const auto& [kind, count] : seen) {
            text += std::to_string(static_cast<int>(kind)) + "x" + std::to_string(count) + " ";
        }
        return text;
    }

private:
    void rest() {
        seen.clear();
        expected.clear();
        board.withModel([](BoardModel& model) { model.storage = deskBoard().storage; });
    }

    BoardServer board{deskBoard()};
    SerialConnection connection{waits};
    Counts seen;
    Counts expected;
    QElapsedTimer quiet; ///< since something came or was asked for
    std::optional<int> patience;
    bool linked = false;
};

qsizetype entriesIn(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

/// What this process holds.
struct Holdings {
    qsizetype descriptors = entriesIn(u"/proc/self/fd"_s);
    qsizetype threads = entriesIn(u"/proc/self/task"_s);
    std::size_t heap = 0;     ///< bytes in use; 0 where a sanitizer brings its own heap
    std::size_t resident = 0; ///< bytes, with all free pages given back

    Holdings() {
        malloc_trim(0);
        const struct mallinfo2 info = mallinfo2();
        heap = info.uordblks + info.hblkhd;
        std::size_t total = 0;
        std::ifstream("/proc/self/statm") >> total >> resident;
        resident *= static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    }
};

} // namespace

class EnduranceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void sendsForLong() {
        hold(fullSweep() ? 10'000 : 400, [](Desk& desk, std::minstd_rand&) {
            if (desk.isConnected()) {
                desk.ask(sending);
                return true;
            }
            desk.connect();
            return false;
        });
    }

    void connectsForLong() {
        hold(fullSweep() ? 1'000 : 200, [](Desk& desk, std::minstd_rand& random) {
            if (!desk.isConnected()) {
                desk.connect();
                // Every third round ends while it connects or works.
                if (random() % 3 == 0) {
                    desk.leaveAfter(static_cast<int>(random() % 40));
                }
                return true;
            }
            for (const Task& task : tasks) {
                if (random() % 2 == 0) {
                    desk.ask(task);
                }
            }
            desk.leaveAfter(random() % 2 == 0 ? INT_MAX : static_cast<int>(random() % 60));
            return false;
        });
    }

private:
    /// Begins the next round of a desk that rests; true when that counts.
    using Begin = bool (*)(Desk&, std::minstd_rand&);

    static void run(std::vector<std::unique_ptr<Desk>>& desks, int rounds, Begin begin) {
        std::minstd_rand random;
        const auto isResting = [](const auto& desk) { return desk->isResting(); };
        while (rounds > 0 || !std::ranges::all_of(desks, isResting)) {
            for (const auto& desk : desks) {
                if (desk->isResting() && rounds > 0) {
                    rounds -= begin(*desk, random) ? 1 : 0;
                }
                if (!desk->advance()) {
                    qFatal("%s", desk->log().c_str());
                }
            }
            QTest::qSleep(1);
        }
        for (const auto& desk : desks) {
            if (desk->isConnected() && !desk->leave()) {
                qFatal("reports something after the end");
            }
        }
    }

    /// Runs `rounds` rounds, three quarters of them between two looks at what the process holds.
    static void hold(int rounds, Begin begin) {
        std::vector<std::unique_ptr<Desk>> desks(deskCount);
        std::ranges::generate(desks, [] { return std::make_unique<Desk>(); });
        run(desks, rounds / 4, begin);
        const Holdings before;
        QElapsedTimer timer;
        timer.start();
        run(desks, rounds - rounds / 4, begin);
        const Holdings after;
        std::cout << rounds << " rounds, the last three quarters in " << timer.elapsed() / 1000
                  << " s, heap " << static_cast<qint64>(after.heap - before.heap)
                  << " bytes, resident " << static_cast<qint64>(after.resident - before.resident)
                  << " bytes" << std::endl;
        QCOMPARE(after.descriptors, before.descriptors);
        QTRY_COMPARE(Holdings().threads, before.threads);
        QVERIFY(after.heap < before.heap + 1'000'000);
    }
};

QTEST_GUILESS_MAIN(EnduranceTest)
#include "EnduranceTest.moc"
