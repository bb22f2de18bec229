#include "tools/TextPane.h"

#include <QFontDatabase>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextLayout>

#include <algorithm>

namespace pivex {

namespace {

/// The part of two texts that differs: all before `first` and the last `tail` characters agree.
struct Difference {
    qsizetype first;
    qsizetype tail;
};

Difference difference(QStringView before, QStringView after) {
    const auto [oldStop, newStop] = std::ranges::mismatch(before, after);
    const qsizetype first = oldStop - before.begin();
    const qsizetype limit = std::min(before.size(), after.size()) - first;
    qsizetype tail = 0;
    while (tail < limit && before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
        ++tail;
    }
    return {first, tail};
}

/// A line of so many characters takes longer to shape than to paint.
constexpr int longLine = 10'000;

} // namespace

TextPane::TextPane(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setLineWrapMode(NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    // Every amendment would otherwise be kept for an undo that nobody can ask for.
    setUndoRedoEnabled(false);
}

void TextPane::replaceText(const QString& text) {
    shown = text;
    setPlainText(text);
    // Otherwise its glyphs are made anew for every move of a cursor and for every repaint.
    for (QTextBlock line = document()->begin(); line.isValid(); line = line.next()) {
        if (line.length() >= longLine) {
            line.layout()->setCacheEnabled(true);
        }
    }
}

void TextPane::amendText(const QString& text) {
    if (text == shown) {
        return;
    }
    const auto [first, tail] = difference(shown, text);
    QTextCursor cursor(document());
    cursor.setPosition(static_cast<int>(first));
    cursor.setPosition(static_cast<int>(shown.size() - tail), QTextCursor::KeepAnchor);
    cursor.insertText(text.sliced(first, text.size() - tail - first));
    shown = text;
}

} // namespace pivex
