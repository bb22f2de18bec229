#include "language/Lexer.h"

#include "base/Text.h"

#include <utility>

namespace pivex {

namespace {

bool isBreak(char c) {
    return c == '\n' || c == '\r';
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

/// One pass over a text. The characters of the words are collected side by side in one buffer as
/// large as the text, so that pieces around a block comment join and no word needs its own memory.
class Tokenizer {
public:
    explicit Tokenizer(std::string_view source)
        : text(source),
          characters(source.size()),
          wordStart(characters.data()),
          wordEnd(wordStart) {}

    LineList run() {
        while (at < text.size()) {
            step(text[at]);
        }
        endLine();
        return {lineTable(), std::move(words), std::move(characters)};
    }

private:
    struct LineExtent {
        std::uint32_t line;
        std::size_t wordCount;
    };

    void step(char c) {
        if (isBreak(c)) {
            takeBreak();
        } else if (isBlank(c)) {
            endWord();
            ++at;
        } else if (c == '/' && nextIs('*')) {
            skipBlockComment();
        } else if (c == '/' && nextIs('/')) {
            skipLineComment();
        } else {
            *wordEnd++ = asciiUpper(c);
            ++at;
        }
    }

    bool nextIs(char c) const { return at + 1 < text.size() && text[at + 1] == c; }

    void takeBreak() {
        at += text[at] == '\r' && nextIs('\n') ? 2 : 1;
        endLine();
        ++line;
    }

    void skipLineComment() {
        while (at < text.size() && !isBreak(text[at])) {
            ++at;
        }
    }

    void skipBlockComment() {
        const std::uint32_t firstLine = line;
        at += 2;
        while (at < text.size()) {
            if (text[at] == '*' && nextIs('/')) {
                at += 2;
                return;
            }
            if (isBreak(text[at])) {
                takeBreak();
            } else {
                ++at;
            }
        }
        fail(firstLine, "Unterminated block comment.");
    }

    void endWord() {
        if (wordEnd != wordStart) {
            words.emplace_back(wordStart, static_cast<std::size_t>(wordEnd - wordStart));
            wordStart = wordEnd;
        }
    }

    void endLine() {
        endWord();
        if (words.size() > wordsBefore) {
            extents.push_back({line, words.size() - wordsBefore});
            wordsBefore = words.size();
        }
    }

    /// Made last, when the words have stopped moving in memory.
    std::vector<Line> lineTable() const {
        std::vector<Line> lines;
        lines.reserve(extents.size());
        std::span<const std::string_view> rest = words;
        for (const LineExtent& extent : extents) {
            lines.push_back({extent.line, rest.first(extent.wordCount)});
            rest = rest.subspan(extent.wordCount);
        }
        return lines;
    }

    std::string_view text;
    std::size_t at = 0;
    std::uint32_t line = 1;
    std::vector<char> characters;
    char* wordStart;
    char* wordEnd;
    std::vector<std::string_view> words;
    std::size_t wordsBefore = 0; ///< number of words on the lines before the current one
    std::vector<LineExtent> extents;
};

} // namespace

void fail(std::uint32_t line, std::string message) {
    throw Error{static_cast<std::int32_t>(line), std::move(message)};
}

LineList::LineList(std::vector<Line> lineTable, std::vector<std::string_view> wordTable,
                   std::vector<char> wordCharacters)
    : lines(std::move(lineTable)),
      words(std::move(wordTable)),
      characters(std::move(wordCharacters)) {
}

LineList tokenize(std::string_view text) {
    return Tokenizer(text).run();
}

std::size_t sourceLineCount(std::string_view text) {
    std::size_t count = 1;
    char previous = '\0';
    for (const char c : text) {
        count += c == '\r' || (c == '\n' && previous != '\r') ? 1 : 0;
        previous = c;
    }
    return count;
}

} // namespace pivex
