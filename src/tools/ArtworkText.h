#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pivex {

/// What surrounds a line, a key or a value of an artwork file. Vertical tab and form feed are not
/// among these.
inline constexpr std::string_view artworkBlanks = " \t\n\r";

/// Takes the first line off `rest`, up to and with its line feed, and gives it without that.
std::string_view takeLine(std::string_view& rest);

/// Takes the first token off `rest`: the bytes up to the next white space, which is here all six
/// characters of the C locale. Empty when only white space is left.
std::string_view takeToken(std::string_view& rest);

/// A line of the form key=value.
struct KeyLine {
    std::string key; ///< in lower case
    std::string_view value;
};

/// `line` cut at its first "=", both sides trimmed; empty when there is none.
std::optional<KeyLine> keyLine(std::string_view line);

} // namespace pivex
