// The whole desk: the longest pause of the GUI thread while the board is busy, and what the idle
// program costs with all four windows open.

#include "app/ChipWindow.h"
#include "app/Look.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"
#include "simulator/BoardServer.h"
#include "simulator/SampleStorage.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QListWidget>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace {

using namespace pivex;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;
using Clock = std::chrono::steady_clock;

constexpr int batchFiles = 100;
constexpr std::size_t storedTests = 1000;
constexpr int largestProgram = 4095; ///< instructions that the board's length field can hold

/// An hour of polls, ten a second.
constexpr int hourOfPolls = 36000;

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// Processor time of the whole process in seconds.
double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Resident memory of the process in kilobytes.
long residentKilobytes() {
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read the memory figures");
    }
    return file.readAll().split(' ').value(1).toLong() * sysconf(_SC_PAGESIZE) / 1024;
}

std::string program(int instructions) {
    std::string code;
    for (int i = 0; i < instructions; ++i) {
        code += "DELMS " + std::to_string(i) + "\n";
    }
    return code;
}

BoardModel fullBoard() {
    BoardModel model;
    model.storage = sampleStorage();
    addGeneratedChips(model.storage, storedTests);
    StoredChip& largest = model.storage.chips.front();
    ChipDocument source;
    source.code = program(largestProgram);
    largest.code = compileChip(source).bytes;
    return model;
}

/// The main window beside a board, and a clock that ticks in every turn of its event loop.
class Desk {
public:
    Desk() : board(fullBoard()) {
        board.recordRequests(false);
        window.show();
        ticker.setInterval(0);
        QObject::connect(&ticker, &QTimer::timeout, &window, [this] { tick(); });
    }

    /// Starts an operation, answers its question with Yes, waits for its end and prints the
    /// longest time between two turns.
    void measure(const char* what, const std::function<void()>& start) {
        longest = {};
        last = Clock::now();
        ticker.start();
        start();
        while (!part<QWidget>("sendButton").isEnabled()) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        ticker.stop();
        std::printf("%-34s longest pause of the window %6.1f ms\n", what, milliseconds(longest));
    }

    template<typename Widget>
    Widget& part(const char* name) {
        auto* widget = window.findChild<Widget*>(QLatin1StringView(name));
        if (widget == nullptr) {
            throw std::runtime_error(std::string("there is no ") + name);
        }
        return *widget;
    }

    void click(const char* button) { part<QAbstractButton>(button).click(); }

    BoardServer board;
    ChipWindow window;

private:
    void tick() {
        const auto now = Clock::now();
        longest = std::max(longest, now - last);
        last = now;
        if (const auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            box->button(QMessageBox::Yes)->click();
        }
    }

    QTimer ticker;
    Clock::time_point last;
    Clock::duration longest{};
};

QStringList writeBatch(const QTemporaryDir& folder) {
    QStringList paths;
    for (int i = 0; i < batchFiles; ++i) {
        ChipDocument chip;
        chip.name = "Batch " + std::to_string(i);
        chip.code = program(100);
        const std::string bytes = encodeChip(chip);
        QFile file(folder.filePath(u"%1.chip"_s.arg(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes.c_str()) < 0) {
            throw std::runtime_error("cannot write the files of the batch");
        }
        paths << file.fileName();
    }
    return paths;
}

void measurePauses(Desk& desk) {
    desk.measure("connect and list 1,000 tests",
                 [&] { desk.window.connectTo(QString::fromStdString(desk.board.path())); });
    const QTemporaryDir folder;
    desk.window.addPaths(writeBatch(folder));
    desk.measure("batch of 100 files", [&] { desk.click("batchSaveButton"); });
    desk.measure("read the largest program", [&] {
        desk.part<QListWidget>("storedChipList").setCurrentRow(0);
        desk.click("loadSelectedButton");
    });
}

/// Runs the event loop. Quitting would ask the windows first, and they would ask the user.
void runFor(std::chrono::seconds time) {
    QTimer::singleShot(time, [] { QCoreApplication::exit(); });
    QApplication::exec();
}

void measureIdle(Desk& desk) {
    desk.measure("open and read all tool windows", [&] {
        desk.window.openFonts();
        desk.window.openImages();
        desk.window.openSettings();
    });
    constexpr auto watched = 10s;
    runFor(5s); // the automatic reads end
    const double before = processorSeconds();
    runFor(watched);
    const double share = (processorSeconds() - before) / static_cast<double>(watched.count());
    std::printf("%-34s %.2f %% of a core\n", "idle, four windows, connected", share * 100);
}

void measurePolls(Desk& desk) {
    auto& timer = desk.part<QTimer>("pollTimer");
    int polls = 0;
    QObject::connect(&timer, &QTimer::timeout, qApp, [&polls] {
        if (++polls % hourOfPolls == 0) {
            QCoreApplication::exit();
        }
    });
    timer.setInterval(0);
    QApplication::exec(); // the first hour fills every cache
    const long before = residentKilobytes();
    QApplication::exec();
    std::printf("%-34s %ld KB\n", "growth over 36,000 polls", residentKilobytes() - before);
}

} // namespace

int main(int argc, char* argv[]) {
    const QApplication application(argc, argv);
    applyLook();
    try {
        Desk desk;
        measurePauses(desk);
        measureIdle(desk);
        measurePolls(desk);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
