#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace pivex {

namespace {

char lowerLetter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The value of one digit, or something above every base for any other byte.
unsigned digitValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char letter = asciiUpper(c);
    return letter >= 'A' && letter <= 'F' ? static_cast<unsigned>(letter - 'A') + 10 : 255;
}

} // namespace

std::string_view trimmed(std::string_view text, std::string_view blanks) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string asciiLower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), lowerLetter);
    return lower;
}

std::string asciiUpper(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(), [](char c) { return asciiUpper(c); });
    return upper;
}

std::optional<std::uint64_t> parseDigits(std::string_view digits, unsigned base,
                                         std::uint64_t limit) {
    if (digits.empty()) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (const char c : digits) {
        const unsigned digit = digitValue(c);
        if (digit >= base || __builtin_mul_overflow(value, base, &value) || value > limit ||
            digit > limit - value) {
            return std::nullopt;
        }
        value += digit;
    }
    return value;
}

std::optional<std::int32_t> parseInt32(std::string_view text, std::string_view signs) {
    const bool isSigned = !text.empty() && signs.find(text.front()) != std::string_view::npos;
    const bool isNegative = isSigned && text.front() == '-';
    constexpr std::uint64_t largest = std::numeric_limits<std::int32_t>::max();
    const auto magnitude =
        parseDigits(text.substr(isSigned ? 1 : 0), 10, isNegative ? largest + 1 : largest);
    if (!magnitude) {
        return std::nullopt;
    }
    const auto value = static_cast<std::int64_t>(*magnitude);
    return static_cast<std::int32_t>(isNegative ? -value : value);
}

std::string upperHex(std::uint32_t value) {
    std::array<char, 8> digits{};
    std::size_t first = digits.size();
    do {
        digits[--first] = "0123456789ABCDEF"[value % 16];
        value /= 16;
    } while (value != 0);
    return {digits.begin() + first, digits.end()};
}

} // namespace pivex
