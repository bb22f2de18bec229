#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace pivex {

/// One coloured stretch of a line, in code points.
struct ColorSpan {
    std::size_t start = 0;
    std::size_t length = 0;
    std::uint32_t kind = 0; ///< 0 opcode, 1 register reference, 2 comment, 3 error

    bool operator==(const ColorSpan&) const = default;
};

/// The coloured stretches of `line`, from left to right: comments; the first word, as an opcode or
/// as an error; later words that begin with "#R", as a register or as an error. Case does not
/// matter. White space is what the C library's locale says it is.
std::vector<ColorSpan> codeColors(std::u32string_view line);

} // namespace pivex
