#include "tools/FontWindowPrivate.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <vector>

#include <benchmark/benchmark.h>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

FontDocument checkered(int width, int glyphs) {
    FontDocument font{.name = "Checkered", .width = width, .height = 8, .columns = {}};
    for (int at = 0; at < width * glyphs; ++at) {
        font.columns.push_back(at % 2 == 0 ? 0xAA : 0x55);
    }
    return font;
}

/// Counts the repaints of a canvas.
class PaintCounter : public QObject {
public:
    int paints = 0;

    bool eventFilter(QObject*, QEvent* event) override {
        paints += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

void press(QWidget& canvas, QPointF place) {
    QMouseEvent event(QEvent::MouseButtonPress, place, canvas.mapToGlobal(place), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&canvas, &event);
}

/// Clicks on one pixel of a font `width` columns wide, each from its event to the finished repaint
/// of editor, preview and text.
void click(benchmark::State& state) {
    FontWindow window(nullptr, {});
    window.adopt(checkered(static_cast<int>(state.range(0)), static_cast<int>(state.range(1))), {},
                 false);
    window.show();
    auto& editor = *window.findChild<QWidget*>(u"glyphEditor"_s);
    // The line that changes stands in the middle of the view.
    window.findChild<QPlainTextEdit*>(u"textPane"_s)->verticalScrollBar()->setValue(5);
    QApplication::processEvents();
    PaintCounter counter;
    editor.installEventFilter(&counter);
    std::vector<double> times;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        press(editor, QRectF(editor.rect()).center());
        QApplication::processEvents();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::ranges::sort(times);
    state.counters["median_ms"] = times[times.size() / 2];
    state.counters["max_ms"] = times.back();
    state.counters["paints"] =
        static_cast<double>(counter.paints) / static_cast<double>(times.size());
}

/// What the main window does ten times a second while nothing happens.
void push(benchmark::State& state) {
    FontWindow window(nullptr, {});
    window.adopt(checkered(8, 224), {}, false);
    window.show();
    for (auto _ : state) {
        window.state({}, {});
        QApplication::processEvents();
    }
}

} // namespace

BENCHMARK(click)
    ->ArgNames({"width", "glyphs"})
    ->Args({8, 224})
    ->Args({1, 65535})
    ->Args({255, 257})
    ->Args({65535, 1})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(push)->Unit(benchmark::kMicrosecond);
