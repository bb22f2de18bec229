#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pivex {

/// A fault in a program text, thrown by everything that reads one.
struct Error {
    std::int32_t line = 0; ///< 1-based source line; 0 when no line is at fault
    std::string message;   ///< the sentence that the user reads
};

/// Throws the `Error` for `line`.
[[noreturn]] void fail(std::uint32_t line, std::string_view message);

/// One source line that has words: its 1-based number and its words in upper case. The first is
/// the instruction, the others are its arguments.
struct Line {
    std::uint32_t line = 0;
    std::span<const std::string_view> tokens;
};

/// The lines of a text that have words, in their order. Owns what the words refer to, so it moves
/// but does not copy.
class LineList {
public:
    /// The lines refer to the words and the words to the characters. `lineCount` counts all
    /// source lines, with words or without.
    LineList(std::vector<Line> lineTable, std::vector<std::string_view> wordTable,
             std::unique_ptr<char[]> wordCharacters, std::size_t lineCount);
    ~LineList() = default;
    LineList(LineList&&) = default;
    LineList& operator=(LineList&&) = default;
    LineList(const LineList&) = delete;
    LineList& operator=(const LineList&) = delete;

    std::size_t size() const { return lines.size(); }

    const Line& operator[](std::size_t index) const { return lines[index]; }

    std::vector<Line>::const_iterator begin() const { return lines.begin(); }

    std::vector<Line>::const_iterator end() const { return lines.end(); }

    /// The number of source lines of the text, the same as `sourceLineCount` gives.
    std::size_t sourceLineCount() const { return sourceLines; }

private:
    std::vector<Line> lines;
    std::vector<std::string_view> words;
    std::unique_ptr<char[]> characters;
    std::size_t sourceLines;
};

/// Cuts `text` into lines of upper-case words, without comments. A comment leaves no space behind:
/// what stands before and after a block comment on the same line is one word. Throws `Error` at
/// the line where a block comment begins that never ends.
LineList tokenize(std::string_view text);

/// The number of source lines of `text`, its line breaks (LF, CR or CR LF) plus one.
std::size_t sourceLineCount(std::string_view text);

} // namespace pivex
