#include "tools/ImageCodeView.h"

#include "tools/RunChanges.h"

#include <QFontDatabase>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

/// Beyond this many places, setting the whole text is faster than editing it place by place.
constexpr std::size_t maxPatches = 1000;

/// The offset at which each of the last `runs` lines of `text` begins, and that of the text's end.
std::vector<std::size_t> runLineStarts(std::string_view text, std::size_t runs) {
    std::vector<std::size_t> starts(runs + 1);
    std::size_t end = text.size();
    starts[runs] = end;
    for (std::size_t line = runs; line-- > 0;) {
        const std::size_t lineFeed = text.rfind('\n', end - 2);
        starts[line] = end = lineFeed + 1;
    }
    return starts;
}

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::size_t runCount(const Bytes& rle) {
    return rle.size() / 3;
}

} // namespace

ImageCodeView::ImageCodeView(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

void ImageCodeView::showImage(const ImageDocument* image) {
    const int scrolled = verticalScrollBar()->value();
    if (image == nullptr) {
        shown.reset();
        rewrite("No image loaded.");
    } else {
        const std::string text = image->text();
        const std::size_t headSize = runLineStarts(text, runCount(image->rle)).front();
        Shown next{text.substr(0, headSize), image->rle};
        if (shown) {
            patch(text, next);
        } else {
            rewrite(text);
        }
        shown = std::move(next);
    }
    verticalScrollBar()->setValue(scrolled);
}

void ImageCodeView::rewrite(const std::string& text) {
    const QString wanted = toQString(text);
    if (toPlainText() != wanted) {
        setPlainText(wanted);
    }
}

void ImageCodeView::patch(const std::string& text, const Shown& next) {
    std::vector<RunChange> changes = runChanges(shown->rle, next.rle);
    if (changes.size() > maxPatches) {
        rewrite(text);
        return;
    }
    const std::vector<std::size_t> starts = runLineStarts(text, runCount(next.rle));
    // A name may hold line breaks, so the lines of the head are counted from the end of the view.
    const int headLines = blockCount() - 1 - static_cast<int>(runCount(shown->rle));
    // From the last change to the first, so that the numbers of the lines above stay true.
    std::reverse(changes.begin(), changes.end());
    for (const RunChange& change : changes) {
        const std::size_t from = starts[change.newFirst];
        const std::size_t to = starts[change.newFirst + change.newCount];
        replaceLines(headLines + static_cast<int>(change.oldFirst),
                     static_cast<int>(change.oldCount),
                     std::string_view(text).substr(from, to - from));
    }
    if (shown->head != next.head) {
        replaceLines(0, headLines, next.head);
    }
}

void ImageCodeView::replaceLines(int first, int count, std::string_view text) {
    QTextCursor cursor(document());
    cursor.setPosition(document()->findBlockByNumber(first).position());
    cursor.setPosition(document()->findBlockByNumber(first + count).position(),
                       QTextCursor::KeepAnchor);
    cursor.insertText(toQString(text));
}

} // namespace pivex
