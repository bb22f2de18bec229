#include "app/CodeEditor.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QTextBlock>

#include <algorithm>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr QColor gutterBackground(0x18, 0x1E, 0x21);
constexpr QColor gutterBorder(0x3A, 0x44, 0x48);
constexpr QColor gutterDot(0xFF, 0x5C, 0x5C);
constexpr QColor gutterNumber(0x7E, 0x8B, 0x91);

} // namespace

LineNumberArea::LineNumberArea(CodeEditor* owner) : QWidget(owner), editor(owner) {
}

QSize LineNumberArea::sizeHint() const {
    return {editor->numberAreaWidth(), 0};
}

void LineNumberArea::paintEvent(QPaintEvent* event) {
    editor->paintNumbers(event);
}

CodeEditor::CodeEditor(QWidget* parent) : QPlainTextEdit(parent), gutter(new LineNumberArea(this)) {
    // The document tells of a change before it lays it out, so no handler sees an old mapping.
    connect(document(), &QTextDocument::contentsChange, this, [this] { mapping.reset(); });
    connect(this, &QPlainTextEdit::blockCountChanged, this, &CodeEditor::applyGutterWidth);
    connect(this, &QPlainTextEdit::updateRequest, this, &CodeEditor::followUpdate);
    connect(this, &QPlainTextEdit::textChanged, gutter, qOverload<>(&QWidget::update));
    applyGutterWidth();
}

void CodeEditor::setPinCount(int pins) {
    if (pins != pinCount) {
        pinCount = pins;
        mapping.reset();
    }
    gutter->update();
}

int CodeEditor::numberAreaWidth() const {
    std::size_t digits = 1;
    for (const GutterLine& line : gutterLines()) {
        digits = std::max(digits, line.text.size());
    }
    return 24 + static_cast<int>(digits) * fontMetrics().horizontalAdvance(u'9');
}

std::vector<GutterLine> CodeEditor::mapLines() const {
    // This gives what toPlainText() gives in a fraction of its time, and every keystroke needs it.
    QString text = document()->toRawText();
    for (const char16_t separator : {u'\x2029', u'\x2028', u'\xFDD0', u'\xFDD1'}) {
        text.replace(QChar(separator), u'\n');
    }
    text.replace(QChar::Nbsp, u' ');
    const QByteArray code = text.toUtf8();
    return instructionGutter({code.constData(), static_cast<std::size_t>(code.size())}, pinCount);
}

const std::vector<GutterLine>& CodeEditor::gutterLines() const {
    if (!mapping) {
        mapping = mapLines();
    }
    return *mapping;
}

void CodeEditor::applyGutterWidth() {
    setViewportMargins(numberAreaWidth(), 0, 0, 0);
    gutter->update();
}

void CodeEditor::followUpdate(const QRect& rect, int scroll) {
    if (scroll != 0) {
        gutter->scroll(0, scroll);
    } else {
        gutter->update(0, rect.y(), gutter->width(), rect.height());
    }
    if (rect.contains(viewport()->rect())) {
        applyGutterWidth();
    }
}

void CodeEditor::paintNumbers(const QPaintEvent* event) {
    const QRect area = event->rect();
    QPainter painter(gutter);
    painter.fillRect(area, gutterBackground);
    painter.setPen(gutterBorder);
    painter.drawLine(gutter->width() - 1, area.top(), gutter->width() - 1, area.bottom());

    const std::vector<GutterLine>& lines = gutterLines();
    QTextBlock block = firstVisibleBlock();
    auto number = static_cast<std::size_t>(block.blockNumber());
    int top = qRound(blockBoundingGeometry(block).translated(contentOffset()).top());
    while (block.isValid() && top <= area.bottom()) {
        const int bottom = top + qRound(blockBoundingRect(block).height());
        if (block.isVisible() && bottom >= area.top() && number < lines.size()) {
            paintLine(painter, lines[number], top);
        }
        block = block.next();
        top = bottom;
        ++number;
    }
    mapping.reset();
}

void CodeEditor::paintLine(QPainter& painter, const GutterLine& line, int top) const {
    const QFontMetrics metrics = painter.fontMetrics();
    const int baseline = top + metrics.ascent();
    if (line.hasError) {
        painter.setPen(gutterDot);
        painter.drawText(3, baseline, u"\u2022"_s);
    }
    if (!line.text.empty()) {
        const QString number = QString::fromStdString(line.text);
        painter.setPen(gutterNumber);
        painter.drawText(gutter->width() - 7 - metrics.horizontalAdvance(number), baseline, number);
    }
}

void CodeEditor::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    const QRect area = contentsRect();
    gutter->setGeometry(area.left(), area.top(), numberAreaWidth(), area.height());
}

void CodeEditor::keyPressEvent(QKeyEvent* event) {
    const bool isTab = event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab;
    if (isTab && event->modifiers().testFlag(Qt::ControlModifier)) {
        // Tab itself is typed, so this is the way out of the editor without a mouse. The text
        // editor's own version keeps the focus.
        // NOLINTNEXTLINE(bugprone-parent-virtual-call)
        QWidget::focusNextPrevChild(event->key() == Qt::Key_Tab);
    } else if (event->matches(QKeySequence::InsertParagraphSeparator) ||
               event->matches(QKeySequence::InsertLineSeparator)) {
        // A line separator would make two source lines of one block, and the toolkit would edit
        // the document once more to give the new block a format.
        textCursor().insertBlock();
        ensureCursorVisible();
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
}

void CodeEditor::insertFromMimeData(const QMimeData* source) {
    QMimeData plain;
    plain.setText(source->text().replace(QChar::LineSeparator, u'\n'));
    QPlainTextEdit::insertFromMimeData(&plain);
}

} // namespace pivex
