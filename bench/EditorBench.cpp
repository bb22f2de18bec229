// Prints how long the code editor takes for a keystroke and for loading a program, beside a bare
// editor with the same text, font and size. Runs on any Qt platform.

#include "app/CodeEditor.h"
#include "app/Highlighter.h"

#include <QApplication>
#include <QFontDatabase>
#include <QKeyEvent>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

using namespace pivex;
using namespace Qt::Literals::StringLiterals;
using Clock = std::chrono::steady_clock;

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

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// Times in milliseconds, sorted.
struct Times {
    std::vector<double> sorted;

    explicit Times(std::vector<double> all) : sorted(std::move(all)) { std::ranges::sort(sorted); }

    double at(double share) const {
        return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
    }
};

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
double press(QPlainTextEdit& editor, Repaint repaint, Qt::Key key, const QString& text) {
    const auto start = Clock::now();
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&editor, &event);
    if (repaint == Repaint::whole) {
        editor.viewport()->update();
    }
    QApplication::processEvents();
    return milliseconds(Clock::now() - start);
}

/// Types words and takes them back, so that the text keeps its size.
Times type(QPlainTextEdit& editor, Repaint repaint) {
    std::vector<double> times;
    for (int i = 0; i < keystrokes; ++i) {
        const bool writes = i % 20 < 10;
        times.push_back(writes ? press(editor, repaint, Qt::Key_1, u"1"_s)
                               : press(editor, repaint, Qt::Key_Backspace, u"\b"_s));
    }
    return Times(std::move(times));
}

Times load(QPlainTextEdit& editor, const QString& text) {
    std::vector<double> times;
    for (int i = 0; i < loads; ++i) {
        const auto start = Clock::now();
        editor.setPlainText(text);
        QApplication::processEvents();
        times.push_back(milliseconds(Clock::now() - start));
    }
    return Times(std::move(times));
}

void compare(const char* what, const Times& code, const Times& bare) {
    std::printf("%-28s %8.3f ms  99 %% %8.3f ms   bare %8.3f ms   %5.2f times\n", what,
                code.at(0.5), code.at(0.99), bare.at(0.5), code.at(0.5) / bare.at(0.5));
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
    const Times times = type(*code, Repaint::changed);
    const int mapped = code->mapped;
    std::printf("%s\n", what);
    compare("  all text repainted", type(*code, Repaint::whole), type(*bare, Repaint::whole));
    compare("  changed text repainted", times, type(*bare, Repaint::changed));
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
    const Times times = load(*code, text);
    compare(what, times, load(*bare, text));
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    compareTyping("key in 4,095 instructions", program(409) + u"UDSCRN\n"_s.repeated(5));
    compareTyping("key in 20,000 lines", program(1666));
    compareLoading("loading 20,000 lines", program(1666));
    return 0;
}
