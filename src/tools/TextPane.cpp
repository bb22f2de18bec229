#include "tools/TextPane.h"

#include <QFontDatabase>
#include <QGlyphRun>
#include <QPaintEvent>
#include <QPainter>
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

/// A line of so many characters takes longer to shape and to paint than all that is seen of it.
constexpr int longLine = 10'000;

/// Lets the line change quickly.
void makeCheap(const QTextBlock& line) {
    // Otherwise its glyphs are made anew for every move of a cursor and for every repaint.
    line.layout()->setCacheEnabled(true);
    // Columns of digits look the same either way.
    QTextCharFormat unshaped;
    unshaped.setFontStyleStrategy(QFont::PreferNoShaping);
    QTextCursor cursor(line);
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    cursor.mergeCharFormat(unshaped);
}

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
    // The toolkit gives the text the format at the cursor.
    moveCursor(QTextCursor::Start);
    setCurrentCharFormat({});
    setPlainText(text);
    hasLongLines = false;
    for (QTextBlock line = document()->begin(); line.isValid(); line = line.next()) {
        if (line.length() >= longLine) {
            hasLongLines = true;
            makeCheap(line);
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

void TextPane::paintEvent(QPaintEvent* event) {
    if (!hasLongLines) {
        QPlainTextEdit::paintEvent(event);
        return;
    }
    QPainter painter(viewport());
    QPointF place = contentOffset();
    for (QTextBlock block = firstVisibleBlock();
         block.isValid() && place.y() <= event->rect().bottom(); block = block.next()) {
        const qreal height = blockBoundingRect(block).height(); // lays it out
        if (block.length() < longLine) {
            painter.setPen(palette().color(QPalette::Text));
            block.layout()->draw(&painter, place, selectionsIn(block), event->rect());
        } else {
            paintPart(painter, block, place, event->rect());
        }
        place.ry() += height;
    }
}

QList<QTextLayout::FormatRange> TextPane::selectionsIn(const QTextBlock& block) const {
    QTextLayout::FormatRange selection;
    selection.start = textCursor().selectionStart() - block.position();
    selection.length = textCursor().selectionEnd() - textCursor().selectionStart();
    if (selection.start >= block.length() || selection.start + selection.length <= 0) {
        return {};
    }
    selection.format.setBackground(palette().highlight());
    selection.format.setForeground(palette().highlightedText());
    return {selection};
}

void TextPane::paintPart(QPainter& painter, const QTextBlock& block, QPointF place,
                         const QRect& part) const {
    const QTextLine line = block.layout()->lineAt(0);
    const auto [left, right] = std::minmax(
        {line.xToCursor(part.left() - place.x()), line.xToCursor(part.right() - place.x())});
    const int first = std::max(left - 1, 0);
    const int last = std::min(right + 1, line.textLength());
    const int start = std::clamp(textCursor().selectionStart() - block.position(), first, last);
    const int end = std::clamp(textCursor().selectionEnd() - block.position(), first, last);
    const auto draw = [&](int from, int to, QPalette::ColorRole color) {
        if (from < to) {
            painter.setPen(palette().color(color));
            for (const QGlyphRun& run : line.glyphRuns(from, to - from)) {
                painter.drawGlyphRun(place, run);
            }
        }
    };
    if (start < end) {
        const qreal x = line.cursorToX(start);
        const QRectF selected(x, 0, line.cursorToX(end) - x, line.height());
        painter.fillRect(selected.translated(place).toAlignedRect(), palette().highlight());
    }
    draw(first, start, QPalette::Text);
    draw(start, end, QPalette::HighlightedText);
    draw(end, last, QPalette::Text);
}

} // namespace pivex
