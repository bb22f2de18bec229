#include "app/CodeEditor.h"

#include <QCoreApplication>
#include <QGlyphRun>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QPlainTextDocumentLayout>
#include <QRawFont>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextLayout>
#include <QUrl>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

/// Texts up to this many lines keep the glyphs of each line that was in view, about 1 kB a line.
constexpr int mostShapedLines = 20'000;

constexpr QColor gutterBackground(0x18, 0x1E, 0x21);
constexpr QColor gutterBorder(0x3A, 0x44, 0x48);
constexpr QColor gutterDot(0xFF, 0x5C, 0x5C);
constexpr QColor gutterNumber(0x7E, 0x8B, 0x91);

/// Repaints only the lines that a change touches. The toolkit's own layout counts as many
/// characters behind the change as were removed, and a highlighter reports a changed line as
/// replaced by itself, so that every key would repaint all lines.
class CodeLayout : public QPlainTextDocumentLayout {
public:
    using QPlainTextDocumentLayout::QPlainTextDocumentLayout;

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override {
        constexpr int fewCharacters = 1000;
        const int count = document()->blockCount();
        if (std::exchange(lineCount, count) != count || charsAdded > fewCharacters) {
            QPlainTextDocumentLayout::documentChanged(from, charsRemoved, charsAdded);
            return;
        }
        const int end = from + std::max(charsAdded, 1);
        // A line that begins just behind the change is touched only when it is new.
        const auto isTouched = [end](const QTextBlock& block) {
            const int start = block.position();
            return start < end || (start == end && block.layout()->lineCount() == 0);
        };
        for (QTextBlock block = document()->findBlock(from); block.isValid() && isTouched(block);
             block = block.next()) {
            QPlainTextDocumentLayout::documentChanged(block.position(), 0, 1);
        }
    }

private:
    int lineCount = 1;
};

QTextDocument* makeDocument(QObject* parent) {
    auto* document = new QTextDocument(parent);
    document->setDocumentLayout(new CodeLayout(document));
    return document;
}

/// What `toPlainText` makes of a unit of a document's raw text.
QChar plainUnit(QChar raw) {
    switch (raw.unicode()) {
    case 0xFDD0:
    case 0xFDD1:
    case QChar::ParagraphSeparator:
    case QChar::LineSeparator:
        return u'\n';
    case QChar::Nbsp:
        return u' ';
    default:
        return raw;
    }
}

/// Numbers to be drawn in one font. Digits need no shaping to become glyphs, and one call draws
/// them all.
class NumberRun {
public:
    explicit NumberRun(const QFont& font)
        : rawFont(QRawFont::fromFont(font)),
          digitGlyphs(rawFont.glyphIndexesForString(u"0123456789"_s)),
          digitWidths(rawFont.advancesForGlyphIndexes(digitGlyphs)) {}

    /// Adds a number that ends at `right`.
    void add(std::string_view number, int right, int baseline) {
        qreal width = 0;
        for (const char digit : number) {
            width += digitWidths.value(digit - '0').x();
        }
        QPointF place(right - qRound(width), baseline);
        for (const char digit : number) {
            glyphs.append(digitGlyphs.value(digit - '0'));
            places.append(place);
            place.rx() += digitWidths.value(digit - '0').x();
        }
    }

    void draw(QPainter& painter) const {
        QGlyphRun run;
        run.setRawFont(rawFont);
        run.setGlyphIndexes(glyphs);
        run.setPositions(places);
        painter.drawGlyphRun({}, run);
    }

private:
    QRawFont rawFont;
    QList<quint32> digitGlyphs;
    QList<QPointF> digitWidths;
    QList<quint32> glyphs;
    QList<QPointF> places;
};

} // namespace

LineNumberArea::LineNumberArea(CodeEditor* owner) : QWidget(owner), editor(owner) {
}

QSize LineNumberArea::sizeHint() const {
    return {editor->numberAreaWidth(), 0};
}

void LineNumberArea::paintEvent(QPaintEvent* event) {
    editor->paintNumbers(event);
}

void LineNumberArea::wheelEvent(QWheelEvent* event) {
    QCoreApplication::sendEvent(editor->verticalScrollBar(), event);
}

CodeEditor::CodeEditor(QWidget* parent) : QPlainTextEdit(parent), gutter(new LineNumberArea(this)) {
    setDocument(makeDocument(this));
    // The document tells of a change before it lays it out, so no handler sees an old mapping.
    connect(document(), &QTextDocument::contentsChange, this, [this] { mapping.reset(); });
    connect(this, &QPlainTextEdit::blockCountChanged, this, &CodeEditor::applyGutterWidth);
    connect(this, &QPlainTextEdit::updateRequest, this, &CodeEditor::followUpdate);
    connect(this, &QPlainTextEdit::textChanged, this, &CodeEditor::applyGutterWidth);
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
    for (QChar& unit : text) {
        if (unit.unicode() >= 0x80) {
            unit = plainUnit(unit);
        }
    }
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
    const int ascent = painter.fontMetrics().ascent();
    NumberRun numbers(painter.font());
    painter.setPen(gutterDot);
    QTextBlock block = firstVisibleBlock();
    auto number = static_cast<std::size_t>(block.blockNumber());
    int top = qRound(blockBoundingGeometry(block).translated(contentOffset()).top());
    while (block.isValid() && top <= area.bottom()) {
        const int bottom = top + qRound(blockBoundingRect(block).height());
        if (block.isVisible() && bottom >= area.top() && number < lines.size()) {
            if (lines[number].hasError) {
                painter.drawText(3, top + ascent, u"\u2022"_s);
            }
            numbers.add(lines[number].text, gutter->width() - 7, top + ascent);
        }
        block = block.next();
        top = bottom;
        ++number;
    }
    painter.setPen(gutterNumber);
    numbers.draw(painter);
    mapping.reset();
}

void CodeEditor::paintEvent(QPaintEvent* event) {
    if (blockCount() <= mostShapedLines) {
        keepGlyphs(event->rect().bottom());
    }
    QPlainTextEdit::paintEvent(event);
}

void CodeEditor::keepGlyphs(int bottom) const {
    // Half of the time that a line takes to paint goes into making glyphs of its text.
    qreal top = contentOffset().y();
    for (QTextBlock block = firstVisibleBlock(); block.isValid() && top <= bottom;
         block = block.next()) {
        block.layout()->setCacheEnabled(true);
        top += blockBoundingRect(block).height();
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
        QTextCursor cursor = textCursor();
        cursor.insertBlock();
        setTextCursor(cursor);
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
}

bool CodeEditor::canInsertFromMimeData(const QMimeData* source) const {
    // Of a file only the name would come, as an address.
    return std::ranges::none_of(source->urls(), &QUrl::isLocalFile) &&
           QPlainTextEdit::canInsertFromMimeData(source);
}

void CodeEditor::insertFromMimeData(const QMimeData* source) {
    if (!canInsertFromMimeData(source)) {
        return;
    }
    QMimeData plain;
    plain.setText(source->text().replace(QChar::LineSeparator, u'\n'));
    QPlainTextEdit::insertFromMimeData(&plain);
}

} // namespace pivex
