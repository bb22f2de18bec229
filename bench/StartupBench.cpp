// From the start of a process to its first painted window: the program's beside a bare one of the
// same size, one with a line of text, which needs the system's fonts, and one with as many controls
// of the same kinds as the program's, in the toolkit's own look. Processes of their own, started in
// turn; the processor's time and the peak memory are those of the whole process.

#include "app/ChipWindow.h"
#include "app/Look.h"

#include <QApplication>
#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

/// Starts of each kind, of which the median counts.
constexpr std::size_t rounds = 41;

/// Where a started process tells that its window is painted.
constexpr int reportChannel = 3;

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
    const int code = QApplication::exec();
    return write(reportChannel, "", 1) == 1 ? code : 1;
}

int runBare(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1180, 820);
    return paintOnce(window);
}

int runText(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1180, 820);
    window.setCentralWidget(new QLabel(QStringLiteral("Pivex"), &window));
    return paintOnce(window);
}

template<typename Widget, typename... Arguments>
void add(QBoxLayout* column, int count, const Arguments&... arguments) {
    for (int i = 0; i < count; ++i) {
        column->addWidget(new Widget(arguments..., column->parentWidget()));
    }
}

int runControls(int argc, char** argv) {
    const QApplication application(argc, argv);
    const QString text = QStringLiteral("Pivex");
    QMainWindow window;
    window.resize(1180, 820);
    auto* pane = new QWidget(&window);
    auto* columns = new QHBoxLayout(pane);
    const auto column = [&] {
        auto* made = new QVBoxLayout;
        columns->addLayout(made);
        return made;
    };
    add<QPushButton>(column(), 25, text);
    add<QLabel>(column(), 17, text);
    auto* fields = column();
    add<QLineEdit>(fields, 10);
    add<QComboBox>(fields, 4);
    add<QListWidget>(fields, 2);
    add<QPlainTextEdit>(fields, 2);
    window.setCentralWidget(pane);
    for (int i = 0; i < 4; ++i) {
        window.menuBar()->addMenu(text)->addAction(text);
    }
    return paintOnce(window);
}

int runProgram(int argc, char** argv) {
    const std::future<void> fonts = pivex::findFonts();
    const QApplication application(argc, argv);
    pivex::applyLook();
    fonts.wait();
    pivex::ChipWindow window;
    return paintOnce(window);
}

struct Kind {
    std::string_view name;
    int (*run)(int, char**);
};

constexpr std::array<Kind, 4> kinds{{
    {"bare", runBare},
    {"text", runText},
    {"controls", runControls},
    {"program", runProgram},
}};

struct Start {
    double paintedTime;   ///< milliseconds
    double processorTime; ///< milliseconds
    double memory;        ///< megabytes
};

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

class Channel {
public:
    Channel() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("cannot make a pipe");
        }
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], reportChannel);
    }

    ~Channel() {
        posix_spawn_file_actions_destroy(&actions);
        close(ends[0]);
        closeOther();
    }

    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    const posix_spawn_file_actions_t* toChild() const { return &actions; }

    void await() {
        // The child has the only other end, so that its death ends the wait as well.
        closeOther();
        char byte = 0;
        if (read(ends[0], &byte, 1) != 1) {
            throw std::runtime_error("a started window was not painted");
        }
    }

private:
    void closeOther() {
        if (ends[1] >= 0) {
            close(ends[1]);
            ends[1] = -1;
        }
    }

    std::array<int, 2> ends{};
    posix_spawn_file_actions_t actions{};
};

Start startOnce(char* program, std::string kind) {
    const std::array<char*, 3> arguments{program, kind.data(), nullptr};
    Channel channel;
    pid_t child = 0;
    const auto begin = Clock::now();
    if (posix_spawn(&child, program, channel.toChild(), nullptr, arguments.data(), environ) != 0) {
        throw std::runtime_error("cannot start a process");
    }
    channel.await();
    const std::chrono::duration<double, std::milli> time = Clock::now() - begin;
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0) {
        throw std::runtime_error("a started window ended with a fault");
    }
    return {time.count(), milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

double median(std::vector<Start> starts, double Start::*figure) {
    std::ranges::sort(starts, {}, figure);
    return starts[starts.size() / 2].*figure;
}

int compare(char* program) {
    std::array<std::vector<Start>, kinds.size()> starts;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
            starts[kind].push_back(startOnce(program, std::string(kinds[kind].name)));
        }
    }
    const auto print = [&](const char* what, double Start::*figure) {
        const double ours = median(starts.back(), figure);
        std::printf("%-18s program %6.1f", what, ours);
        for (std::size_t kind = 0; kind + 1 < kinds.size(); ++kind) {
            const double floor = median(starts[kind], figure);
            std::printf("   %s %5.1f, ratio %.2f", kinds[kind].name.data(), floor, ours / floor);
        }
        std::printf("\n");
    };
    print("first painted, ms", &Start::paintedTime);
    print("processor, ms", &Start::processorTime);
    print("peak memory, MB", &Start::memory);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        const auto* kind = std::ranges::find(kinds, std::string_view(argv[1]), &Kind::name);
        return kind == kinds.end() ? 1 : kind->run(argc, argv);
    }
    // The platform without a display warns of every window.
    setenv("QT_LOGGING_RULES", "default.warning=false", 0);
    try {
        return compare(argv[0]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
