#include "app/Highlighter.h"

#include "app/CodeColors.h"

#include <QColor>

#include <array>

namespace pivex {

namespace {

constexpr int insideComment = 1; ///< state of a block that a block comment does not end in

constexpr std::uint32_t commentKind = 2;

/// By the kind of a span: opcode, register reference, comment, error.
constexpr std::array kindColors{QColor(0x69, 0xBA, 0xFF), QColor(0xF5, 0xCF, 0x79),
                                QColor(0x42, 0xD9, 0x6B), QColor(0xFF, 0x85, 0x85)};

/// The one format that all spans of a kind share, so that the toolkit need not compare their
/// contents for every character.
const QTextCharFormat& formatOf(std::uint32_t kind) {
    static const auto formats = [] {
        std::array<QTextCharFormat, kindColors.size()> made;
        for (std::size_t i = 0; i < made.size(); ++i) {
            made[i].setForeground(kindColors[i]);
        }
        return made;
    }();
    return formats.at(kind);
}

/// Turns growing code point positions of a text into its UTF-16 positions.
class Utf16Position {
public:
    explicit Utf16Position(const std::u32string& text) : points(text) {}

    int of(std::size_t point) {
        for (; passed < point; ++passed) {
            units += QChar::requiresSurrogates(points[passed]) ? 2 : 1;
        }
        return units;
    }

private:
    const std::u32string& points;
    std::size_t passed = 0;
    int units = 0;
};

} // namespace

void Highlighter::highlightBlock(const QString& text) {
    colorWords(text);
    setCurrentBlockState(0);
    colorBlockComments(text);
}

void Highlighter::colorWords(const QString& text) {
    const std::u32string points = text.toStdU32String();
    Utf16Position position(points);
    for (const ColorSpan& span : codeColors(points)) {
        const int start = position.of(span.start);
        setFormat(start, position.of(span.start + span.length) - start, formatOf(span.kind));
    }
}

void Highlighter::colorBlockComments(const QString& text) {
    bool isContinued = previousBlockState() == insideComment;
    qsizetype start = isContinued ? 0 : text.indexOf(u"/*");
    const qsizetype lineComment = text.indexOf(u"//");
    while (start >= 0) {
        if (!isContinued && lineComment >= 0 && lineComment < start) {
            return;
        }
        const qsizetype close = text.indexOf(u"*/", isContinued ? 0 : start + 2);
        const qsizetype end = close < 0 ? text.size() : close + 2;
        setFormat(static_cast<int>(start), static_cast<int>(end - start), formatOf(commentKind));
        if (close < 0) {
            setCurrentBlockState(insideComment);
            return;
        }
        isContinued = false;
        start = text.indexOf(u"/*", end);
    }
}

} // namespace pivex
