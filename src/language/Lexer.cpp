#include "language/Lexer.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace pivex {

namespace {

/// What a byte outside comments means for the words of a line.
enum class ByteKind : std::uint8_t { word, blank, lineBreak, slash };

constexpr auto byteKinds = [] {
    std::array<ByteKind, 256> kinds{};
    for (const char blank : {' ', '\t', '\v', '\f'}) {
        kinds[static_cast<unsigned char>(blank)] = ByteKind::blank;
    }
    kinds['\n'] = kinds['\r'] = ByteKind::lineBreak;
    kinds['/'] = ByteKind::slash;
    return kinds;
}();

ByteKind kindOf(char c) {
    return byteKinds[static_cast<unsigned char>(c)];
}

bool isBreak(char c) {
    return c == '\n' || c == '\r';
}

/// One pass over a text. The characters of the words are collected side by side in one buffer as
/// large as the text, so that pieces around a block comment join and no word needs its own memory.
class Tokenizer {
public:
    explicit Tokenizer(std::string_view text)
        : at(text.data()),
          end(at + text.size()),
          characters(std::make_unique_for_overwrite<char[]>(text.size())),
          wordStart(characters.get()),
          wordEnd(wordStart) {
        // The lines refer to the words while more of them come, so these must not move.
        words.reserve(text.size() / 2 + 1);
    }

    LineList run() {
        while (at != end) {
            step();
        }
        endLine();
        return {std::move(lines), std::move(words), std::move(characters), line};
    }

private:
    void step() {
        switch (kindOf(*at)) {
        case ByteKind::word:
            takeWordBytes();
            return;
        case ByteKind::blank:
            endWord();
            ++at;
            return;
        case ByteKind::lineBreak:
            takeBreak();
            return;
        case ByteKind::slash:
            takeSlash();
            return;
        }
    }

    void takeWordBytes() {
        // Locals, because a store through a char pointer makes the compiler reload every member.
        const char* from = at;
        char* to = wordEnd;
        do {
            *to++ = asciiUpper(*from++);
        } while (from != end && kindOf(*from) == ByteKind::word);
        at = from;
        wordEnd = to;
    }

    void takeSlash() {
        if (nextIs('*')) {
            skipBlockComment();
        } else if (nextIs('/')) {
            at = std::find_if(at, end, isBreak);
        } else {
            *wordEnd++ = *at++;
        }
    }

    bool nextIs(char c) const { return end - at > 1 && at[1] == c; }

    void takeBreak() {
        at += *at == '\r' && nextIs('\n') ? 2 : 1;
        endLine();
        ++line;
    }

    void skipBlockComment() {
        const std::uint32_t firstLine = line;
        at += 2;
        while (at != end) {
            if (*at == '*' && nextIs('/')) {
                at += 2;
                return;
            }
            if (isBreak(*at)) {
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
            lines.push_back({line, std::span(words).subspan(wordsBefore)});
            wordsBefore = words.size();
        }
    }

    const char* at;
    const char* end;
    std::uint32_t line = 1;
    std::unique_ptr<char[]> characters;
    char* wordStart;
    char* wordEnd;
    std::vector<std::string_view> words;
    std::size_t wordsBefore = 0; ///< number of words on the lines before the current one
    std::vector<Line> lines;
};

} // namespace

void fail(std::uint32_t line, std::string message) {
    throw Error{static_cast<std::int32_t>(line), std::move(message)};
}

LineList::LineList(std::vector<Line> lineTable, std::vector<std::string_view> wordTable,
                   std::unique_ptr<char[]> wordCharacters, std::size_t lineCount)
    : lines(std::move(lineTable)),
      words(std::move(wordTable)),
      characters(std::move(wordCharacters)),
      sourceLines(lineCount) {
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
