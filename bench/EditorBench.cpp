// Prints how long the code editor takes from a key to the finished repaint and for loading a
// program, beside a bare editor with the same text, font and size. Runs on any Qt platform.
//
// Both editors repaint only the line that a key changes. So a key is measured twice: with all
// visible lines repainted by both, as after a Return, and with that line alone. The processor time
// beside the elapsed time is that of the program's main thread alone.

#include "app/CodeEditor.h"
#include "app/Highlighter.h"

#include <QApplication>
#include <QFontDatabase>
#include <QKeyEvent>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <memory>
#include <utility>
#include <vector>

#include <malloc.h>

namespace {

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

constexpr int keystrokes = 1000;
constexpr int loads = 15;

/// An editor that counts how often it maps its text.
class CountingEditor : public CodeEditor {
public:
    mutable int mapped = 0;

protected:
    std::vector<GutterLine> mapLines() const override {
        ++mapped;
        return CodeEditor::mapLines();
    }
};

/// A program with a named constant, nested blocks, registers and comments; each of its `blocks`
/// has 12 lines and 10 instructions.
QString program(int blocks) {
    const QString block = u"// next step of the counter\n"
                          "LOOP 16\n"
                          "     SETPIN CLK 1 // rising edge\n"
                          "     REGLOD 3 0x1F\n"
                          "     IF EQ #R3 #R4\n"
                          "          ADD #R3 1 5 /* sum */\n"
                          "          DELMS 10\n"
                          "     ENDIF\n"
                          "\n"
                          "     MULTIHI 1 2 3\n"
                          "     SHOSTR 0 10 20\n"
                          "ENDLOOP\n"_s;
    return u"DIM CLK 3\n"_s + block.repeated(blocks);
}

/// Elapsed and processor time in milliseconds.
struct Time {
    double elapsed;
    double processor;
};

double milliseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

template<typename Work>
Time timeOf(const Work& work) {
    const double start = milliseconds(CLOCK_MONOTONIC);
    const double processorStart = milliseconds(CLOCK_THREAD_CPUTIME_ID);
    work();
    return {milliseconds(CLOCK_MONOTONIC) - start,
            milliseconds(CLOCK_THREAD_CPUTIME_ID) - processorStart};
}

/// The value below which this share of all times lies.
double quantile(std::vector<Time> times, double share, double Time::*which) {
    const auto index = static_cast<std::size_t>(share * static_cast<double>(times.size() - 1));
    std::ranges::nth_element(times, times.begin() + static_cast<std::ptrdiff_t>(index), {}, which);
    return times[index].*which;
}

void prepare(QPlainTextEdit& editor) {
    editor.setLineWrapMode(QPlainTextEdit::NoWrap);
    editor.setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    editor.resize(800, 600);
    editor.show();
    QApplication::processEvents();
}

/// The editor as the main window sets it up, with the window's answer to a change.
std::unique_ptr<CountingEditor> makeCodeEditor() {
    auto editor = std::make_unique<CountingEditor>();
    new Highlighter(editor->document());
    QObject::connect(editor.get(), &QPlainTextEdit::textChanged, editor.get(),
                     [code = editor.get()] { code->setPinCount(14); });
    prepare(*editor);
    return editor;
}

std::unique_ptr<QPlainTextEdit> makeBareEditor() {
    auto editor = std::make_unique<QPlainTextEdit>();
    prepare(*editor);
    return editor;
}

void putCursorInTheMiddle(QPlainTextEdit& editor) {
    QTextCursor cursor(editor.document()->findBlockByNumber(editor.blockCount() / 2));
    cursor.movePosition(QTextCursor::EndOfBlock);
    editor.setTextCursor(cursor);
    editor.centerCursor();
    QApplication::processEvents();
}

/// What is painted after a key: what the editor finds changed, or all of its text.
enum class Repaint { changed, whole };

/// Presses a key and works off everything that follows, painting included.
Time press(QPlainTextEdit& editor, Repaint repaint, Qt::Key key, const QString& text) {
    return timeOf([&] {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
        QApplication::sendEvent(&editor, &event);
        if (repaint == Repaint::whole) {
            editor.viewport()->update();
        }
        QApplication::processEvents();
    });
}

/// Types words and takes them back, so that the text keeps its size.
std::vector<Time> type(QPlainTextEdit& editor, Repaint repaint) {
    std::vector<Time> times;
    for (int i = 0; i < keystrokes; ++i) {
        const bool writes = i % 20 < 10;
        times.push_back(writes ? press(editor, repaint, Qt::Key_1, u"1"_s)
                               : press(editor, repaint, Qt::Key_Backspace, u"\b"_s));
    }
    return times;
}

std::vector<Time> load(QPlainTextEdit& editor, const QString& text) {
    std::vector<Time> times;
    times.reserve(loads);
    for (int i = 0; i < loads; ++i) {
        times.push_back(timeOf([&] {
            editor.setPlainText(text);
            QApplication::processEvents();
        }));
    }
    return times;
}

void compare(const char* what, const std::vector<Time>& code, const std::vector<Time>& bare) {
    std::printf("%s\n", what);
    for (const auto& [clock, which] :
         {std::pair("elapsed", &Time::elapsed), std::pair("processor", &Time::processor)}) {
        const double median = quantile(code, 0.5, which);
        const double bareMedian = quantile(bare, 0.5, which);
        std::printf("    %-10s median %8.3f ms   99 %% %8.3f ms   bare median %8.3f ms   "
                    "ratio %6.2f\n",
                    clock, median, quantile(code, 0.99, which), bareMedian, median / bareMedian);
    }
}

void compareTyping(const char* what, const QString& text) {
    const auto code = makeCodeEditor();
    const auto bare = makeBareEditor();
    for (QPlainTextEdit* editor : {static_cast<QPlainTextEdit*>(code.get()), bare.get()}) {
        editor->setPlainText(text);
        putCursorInTheMiddle(*editor);
        type(*editor, Repaint::changed);
    }
    code->mapped = 0;
    const std::vector<Time> times = type(*code, Repaint::changed);
    const int mapped = code->mapped;
    std::printf("%s\n", what);
    compare("  all visible lines repainted by both", type(*code, Repaint::whole),
            type(*bare, Repaint::whole));
    compare("  the changed line repainted by both", times, type(*bare, Repaint::changed));
    code->mapped = 0;
    for (int i = 0; i < keystrokes; ++i) {
        press(*code, Repaint::changed, Qt::Key_Return, u"\r"_s);
    }
    std::printf("  mapped %.2f times a keystroke, %.2f times a Return\n",
                static_cast<double>(mapped) / keystrokes,
                static_cast<double>(code->mapped) / keystrokes);
}

void compareLoading(const char* what, const QString& text) {
    const auto code = makeCodeEditor();
    const auto bare = makeBareEditor();
    const std::vector<Time> times = load(*code, text);
    compare(what, times, load(*bare, text));
}

} // namespace

int main(int argc, char** argv) {
    // As the program itself does.
    mallopt(M_MMAP_THRESHOLD, 32 * 1024 * 1024);
    mallopt(M_TRIM_THRESHOLD, 64 * 1024 * 1024);
    const QApplication application(argc, argv);
    compareTyping("key in 4,095 instructions", program(409) + u"UDSCRN\n"_s.repeated(5));
    compareTyping("key in 20,000 lines", program(1666));
    compareLoading("loading 20,000 lines", program(1666));
    return 0;
}
