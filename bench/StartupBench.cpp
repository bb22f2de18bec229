// Start-up to the first painted window, the program's beside a bare one of the same size: wall time
// and peak memory of processes of their own, started in turn.

#include "app/ChipWindow.h"
#include "app/Look.h"

#include <QApplication>
#include <QMainWindow>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

/// Starts of each kind, of which the median counts.
constexpr std::size_t rounds = 21;

/// Ends the program as soon as the watched window has been painted.
class FirstPaint : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }
};

int paintOnce(QWidget& window) {
    FirstPaint firstPaint;
    window.installEventFilter(&firstPaint);
    window.show();
    return QApplication::exec();
}

int runBare(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1180, 820);
    return paintOnce(window);
}

int runProgram(int argc, char** argv) {
    const QApplication application(argc, argv);
    pivex::applyLook();
    pivex::ChipWindow window;
    return paintOnce(window);
}

struct Start {
    double milliseconds;
    double megabytes;
};

Start startOnce(char* program, const char* kind) {
    std::array<char*, 3> arguments{program, const_cast<char*>(kind), nullptr};
    pid_t child = 0;
    const auto begin = Clock::now();
    if (posix_spawn(&child, program, nullptr, nullptr, arguments.data(), environ) != 0) {
        throw std::runtime_error("cannot start a process");
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0) {
        throw std::runtime_error("a started window ended with a fault");
    }
    const std::chrono::duration<double, std::milli> time = Clock::now() - begin;
    return {time.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

double median(std::vector<Start> starts, double Start::*figure) {
    std::ranges::sort(starts, {}, figure);
    return starts[starts.size() / 2].*figure;
}

int compare(char* program) {
    std::vector<Start> bare;
    std::vector<Start> whole;
    for (std::size_t round = 0; round < rounds; ++round) {
        bare.push_back(startOnce(program, "bare"));
        whole.push_back(startOnce(program, "program"));
    }
    const auto print = [&](const char* what, double Start::*figure) {
        const double floor = median(bare, figure);
        const double ours = median(whole, figure);
        std::printf("%-16s bare %7.1f   program %7.1f   ratio %.2f\n", what, floor, ours,
                    ours / floor);
    };
    print("start-up, ms", &Start::milliseconds);
    print("peak memory, MB", &Start::megabytes);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        return std::strcmp(argv[1], "bare") == 0 ? runBare(argc, argv) : runProgram(argc, argv);
    }
    try {
        return compare(argv[0]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
