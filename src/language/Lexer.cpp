#include "language/Lexer.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace pivex {

namespace {

/// What a byte outside comments means for the words of a line.
enum class ByteKind : std::uint8_t { word, blank, lineBreak, slash };

/// The kind of a byte and how a word holds it.
struct ByteMeaning {
    ByteKind kind = ByteKind::word;
    char upper = '\0';
};

constexpr auto byteMeanings = [] {
    std::array<ByteMeaning, 256> meanings{};
    for (std::size_t byte = 0; byte < meanings.size(); ++byte) {
        meanings[byte].upper = asciiUpper(static_cast<char>(byte));
    }
    for (const char blank : {' ', '\t', '\v', '\f'}) {
        meanings[static_cast<unsigned char>(blank)].kind = ByteKind::blank;
    }
    meanings['\n'].kind = meanings['\r'].kind = ByteKind::lineBreak;
    meanings['/'].kind = ByteKind::slash;
    return meanings;
}();

ByteMeaning meaningOf(char c) {
    return byteMeanings[static_cast<unsigned char>(c)];
}

bool isBreak(char c) {
    return c == '\n' || c == '\r';
}

/// One pass over a copy of a text. Its words become upper case and stay where they stand, so that
/// none needs its own memory; only a word that a block comment parts is moved together.
class Tokenizer {
public:
    explicit Tokenizer(std::string_view text)
        : characters(std::make_unique_for_overwrite<char[]>(text.size() + 1)),
          wordStart(characters.get()),
          at(wordStart),
          end(std::ranges::copy(text, at).out) {
        // A word or a run of blanks ends here at the latest, so their loops need not look for it.
        *end = '\n';
        // The lines refer to the words while more of them come, so these must not move.
        words.reserve(text.size() / 2 + 1);
        lines.reserve(text.size() / 16);
    }

    LineList run() {
        for (takeWordBytes(); at != end; takeWordBytes()) {
            takeOther();
        }
        endLine();
        return {std::move(lines), std::move(words), std::move(characters), line};
    }

private:
    void takeOther() {
        switch (meaningOf(*at).kind) {
        case ByteKind::word:
            return;
        case ByteKind::blank:
            endWord();
            skipBlanks();
            return;
        case ByteKind::lineBreak:
            endLine();
            skipTo(at + (*at == '\r' && nextIs('\n') ? 2 : 1));
            ++line;
            return;
        case ByteKind::slash:
            takeSlash();
            return;
        }
    }

    void takeWordBytes() {
        // A local, because a store through a char pointer makes the compiler reload every member.
        char* to = at;
        for (ByteMeaning byte = meaningOf(*to); byte.kind == ByteKind::word;
             byte = meaningOf(*++to)) {
            *to = byte.upper;
        }
        at = to;
    }

    void skipBlanks() {
        char* to = at;
        do {
            ++to;
        } while (meaningOf(*to).kind == ByteKind::blank);
        skipTo(to);
    }

    void takeSlash() {
        if (nextIs('*')) {
            skipBlockComment();
        } else if (nextIs('/')) {
            endWord();
            skipTo(std::find_if(at, end, isBreak));
        } else {
            ++at;
        }
    }

    bool nextIs(char c) const { return end - at > 1 && at[1] == c; }

    void skipTo(char* place) { wordStart = at = place; }

    void skipBlockComment() {
        const std::string_view rest(at, end);
        const std::size_t close = rest.find("*/", 2);
        if (close == std::string_view::npos) {
            fail(line, "Unterminated block comment.");
        }
        const std::string_view comment = rest.substr(0, close + 2);
        if (const std::size_t breaks = sourceLineCount(comment) - 1; breaks > 0) {
            endLine();
            line += static_cast<std::uint32_t>(breaks);
        }
        wordStart = std::copy_backward(wordStart, at, at + comment.size());
        at += comment.size();
    }

    void endWord() {
        if (wordStart != at) {
            words.emplace_back(wordStart, at);
            wordStart = at;
        }
    }

    void endLine() {
        endWord();
        if (words.size() > wordsBefore) {
            Line& added = lines.emplace_back();
            added.line = line;
            added.tokens = std::span(words).subspan(wordsBefore);
            wordsBefore = words.size();
        }
    }

    std::unique_ptr<char[]> characters;
    char* wordStart; ///< the current word reaches from here to `at`
    char* at;
    char* end;
    std::uint32_t line = 1;
    std::vector<std::string_view> words;
    std::size_t wordsBefore = 0; ///< number of words on the lines before the current one
    std::vector<Line> lines;
};

} // namespace

void fail(std::uint32_t line, std::string_view message) {
    throw Error{static_cast<std::int32_t>(line), std::string(message)};
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
