// Start-up to the first painted window, the program's beside a bare one of the same size and beside
// one that shows a line of text, which loads the fonts: wall time and peak memory of processes of
// their own, started in turn.

#include "app/ChipWindow.h"
#include "app/Look.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
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

int runBare(int argc, char** argv, bool hasText) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1180, 820);
    if (hasText) {
        window.setCentralWidget(new QLabel(QStringLiteral("Pivex"), &window));
    }
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

Start startOnce(char* program, std::string kind) {
    const std::array<char*, 3> arguments{program, kind.data(), nullptr};
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
    constexpr std::array kinds{"bare", "text", "program"};
    std::array<std::vector<Start>, kinds.size()> starts;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
            starts[kind].push_back(startOnce(program, kinds[kind]));
        }
    }
    const auto print = [&](const char* what, double Start::*figure) {
        const double ours = median(starts.back(), figure);
        std::printf("%-16s program %6.1f", what, ours);
        for (std::size_t kind = 0; kind + 1 < kinds.size(); ++kind) {
            const double floor = median(starts[kind], figure);
            std::printf("   %s %6.1f, ratio %.2f", kinds[kind], floor, ours / floor);
        }
        std::printf("\n");
    };
    print("start-up, ms", &Start::milliseconds);
    print("peak memory, MB", &Start::megabytes);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        const std::string_view kind = argv[1];
        return kind == "program" ? runProgram(argc, argv) : runBare(argc, argv, kind == "text");
    }
    try {
        return compare(argv[0]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
