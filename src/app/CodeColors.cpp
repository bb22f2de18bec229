#include "app/CodeColors.h"

#include "base/Text.h"
#include "language/InstructionSet.h"

#include <algorithm>
#include <cwctype>
#include <string>
#include <utility>

namespace pivex {

namespace {

enum Kind : std::uint32_t { opcode, reference, comment, error };

bool isBlank(char32_t c) {
    return std::iswspace(static_cast<std::wint_t>(c)) != 0;
}

/// `word` with ASCII letters in upper case; what is not ASCII becomes a byte that fits no word.
std::string upperWord(std::u32string_view word) {
    std::string upper(word.size(), '\0');
    std::ranges::transform(word, upper.begin(),
                           [](char32_t c) { return c < 0x80 ? static_cast<char>(c) : '\x7F'; });
    return asciiUpper(upper);
}

bool isFirstWord(std::string_view word) {
    return word == "DIM" || definitionNamed(word) != nullptr || rawOpcode(word);
}

/// Walks one line from left to right and collects what is coloured.
class Scanner {
public:
    explicit Scanner(std::u32string_view text) : line(text) {}

    std::vector<ColorSpan> scan() {
        while (at < line.size()) {
            if (isBlank(line[at])) {
                skipBlank();
            } else if (startsHere(U"//")) {
                takeComment(std::min(line.find_first_of(U"\r\n", at), line.size()));
            } else if (startsHere(U"/*")) {
                const std::size_t close = line.find(U"*/", at + 2);
                takeComment(close == std::u32string_view::npos ? line.size() : close + 2);
            } else {
                takeWord();
            }
        }
        return std::move(spans);
    }

private:
    std::u32string_view line;
    std::size_t at = 0;
    bool isLineStart = true;
    std::vector<ColorSpan> spans;

    bool startsHere(std::u32string_view mark) const { return line.substr(at, 2) == mark; }

    void skipBlank() {
        isLineStart = isLineStart || line[at] == U'\r' || line[at] == U'\n';
        ++at;
    }

    void takeComment(std::size_t end) {
        const std::u32string_view text = line.substr(at, end - at);
        isLineStart = isLineStart || text.find_first_of(U"\r\n") != std::u32string_view::npos;
        spans.push_back({at, text.size(), comment});
        at = end;
    }

    void takeWord() {
        const std::size_t start = at;
        while (at < line.size() && !isBlank(line[at]) && !startsHere(U"//") && !startsHere(U"/*")) {
            ++at;
        }
        const std::string word = upperWord(line.substr(start, at - start));
        if (isLineStart) {
            spans.push_back({start, word.size(), isFirstWord(word) ? opcode : error});
        } else if (word.starts_with("#R")) {
            const bool isRegister =
                parseDigits(std::string_view(word).substr(2), 10, 31).has_value();
            spans.push_back({start, word.size(), isRegister ? reference : error});
        }
        isLineStart = false;
    }
};

} // namespace

std::vector<ColorSpan> codeColors(std::u32string_view line) {
    return Scanner(line).scan();
}

} // namespace pivex
