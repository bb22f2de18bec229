#include "tools/ImageWindow.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QMouseEvent>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <memory>

#include <benchmark/benchmark.h>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The largest image that can be edited, every pixel a run of its own.
ImageDocument worstImage() {
    ImageDocument image = newImage("Worst", maxImageWidth, maxImageHeight);
    for (std::size_t at = 0; at < image.pixels.size(); ++at) {
        image.pixels[at] = static_cast<std::uint16_t>(at + 1);
    }
    image.rebuild();
    return image;
}

/// The window on an idle board whose slots are all filled, with the worst image in it.
struct OpenWindow {
    ImageSlots known;
    std::unique_ptr<QWidget> window;

    OpenWindow() {
        known.fill({.read = true, .name = "Artwork"});
        LinuxImageHooks hooks{.ready = [] { return true; },
                              .refresh = {},
                              .load = [](int) {},
                              .save = {},
                              .remove = {}};
        window.reset(openLinuxImageWindow(nullptr, std::move(hooks), known));
        window->findChild<QAbstractButton*>(u"loadBoardButton"_s)->click();
        loadedLinuxImageWindow(window.get(), worstImage());
        QApplication::processEvents();
    }
};

void sendMouse(QWidget& canvas, QEvent::Type type, QPoint place) {
    QMouseEvent event(type, place, canvas.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(&canvas, &event);
}

/// A drag over the image, one move an iteration, each from its event to the finished repaint.
void drag(benchmark::State& state, const QString& tool) {
    constexpr int zoom = 6;
    OpenWindow open;
    open.window->findChild<QAbstractButton*>(tool)->click();
    auto& canvas = *open.window->findChild<QWidget*>(u"editCanvas"_s);
    // The view stands amid the lines that the drag changes.
    open.window->findChild<QAbstractScrollArea*>(u"codeView"_s)
        ->verticalScrollBar()
        ->setValue(9999);
    sendMouse(canvas, QEvent::MouseButtonPress, {480, 384});
    std::vector<double> times;
    int step = 0;
    for (auto _ : state) {
        // Two pixels to the right and one down, as a hand draws, with a leap at each edge.
        const QPoint place(2 * step % maxImageWidth * zoom, step % maxImageHeight * zoom);
        const auto start = std::chrono::steady_clock::now();
        sendMouse(canvas, QEvent::MouseMove, place);
        QApplication::processEvents();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
        ++step;
    }
    sendMouse(canvas, QEvent::MouseButtonRelease, {0, 0});
    std::ranges::sort(times);
    state.counters["median_ms"] = times[times.size() / 2];
    state.counters["max_ms"] = times.back();
}

/// What the main window does ten times a second while nothing happens.
void push(benchmark::State& state) {
    OpenWindow open;
    for (auto _ : state) {
        updateLinuxImageWindow(open.window.get(), open.known, {}, false);
        QApplication::processEvents();
    }
}

} // namespace

BENCHMARK_CAPTURE(drag, pencil, u"pencilButton"_s)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(drag, circle, u"circleButton"_s)->Unit(benchmark::kMillisecond);
BENCHMARK(push)->Unit(benchmark::kMicrosecond);
