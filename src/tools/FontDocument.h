#pragma once

#include "base/Bytes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace pivex {

/// Glyph g stands for the character with code g + 32.
inline constexpr int firstGlyphCode = 32;

/// Glyphs 0 to 94 stand for the printable ASCII characters, the space first.
inline constexpr int printableGlyphs = 95;

/// Most pixel rows of a glyph; a column is one byte.
inline constexpr int maxFontHeight = 8;

/// Largest font file that is read, in bytes.
inline constexpr std::size_t maxFontFileBytes = 4'000'000;

/// Most columns that a font file may hold.
inline constexpr std::size_t maxFontColumns = 65535;

/// A bitmap font of glyphs of equal width.
struct FontDocument {
    std::string name; ///< UTF-8
    std::int32_t width = 0;
    std::int32_t height = 0;
    Bytes columns; ///< glyph after glyph, left to right; bit height - 1 is the top pixel

    /// Number of whole glyphs; 0 when the width is not positive.
    std::int32_t glyphCount() const;

    /// The font file's text: name, width, height, size and one line per glyph.
    std::string text() const;

    bool operator==(const FontDocument&) const = default;
};

/// The font in a font file's text. Throws std::runtime_error with the sentence to show.
FontDocument parseFont(std::string_view text);

/// `text` without surrounding spaces, tabs, line feeds and carriage returns.
std::string fontTrim(std::string_view text);

} // namespace pivex
