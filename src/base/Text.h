#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pivex {

/// `text` without leading and trailing bytes that occur in `blanks`.
std::string_view trimmed(std::string_view text, std::string_view blanks);

/// `c` in upper case if it is an ASCII letter; any other byte unchanged.
constexpr char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// `text` with the ASCII letters A to Z in lower case; other bytes unchanged.
std::string asciiLower(std::string_view text);

/// `text` with the ASCII letters a to z in upper case; other bytes unchanged.
std::string asciiUpper(std::string_view text);

/// The value of `digits`, which must be one or more digits of `base` (2, 10 or 16; hexadecimal
/// in either case) and nothing else, and at most `limit`; empty otherwise, however many digits.
std::optional<std::uint64_t> parseDigits(std::string_view digits, unsigned base,
                                         std::uint64_t limit);

/// The value of `text`, decimal digits with an optional single sign out of `signs` in front, if it
/// fits a signed 32-bit integer; empty otherwise.
std::optional<std::int32_t> parseInt32(std::string_view text, std::string_view signs);

/// `value` in upper-case hexadecimal without prefix or leading zeros; 0 gives "0".
std::string upperHex(std::uint32_t value);

} // namespace pivex
