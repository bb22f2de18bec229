#include "tools/FontDocument.h"

#include "base/Text.h"
#include "model/Utf8.h"
#include "tools/ArtworkText.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace pivex {

namespace {

std::string glyphLabel(std::int32_t glyph) {
    if (glyph == 0) {
        return "Space";
    }
    if (glyph < printableGlyphs) {
        return std::string(1, static_cast<char>(glyph + firstGlyphCode));
    }
    return "Glyph " + std::to_string(glyph);
}

void appendColumn(std::string& text, unsigned column, std::int32_t height) {
    text += "0b";
    for (std::int32_t bit = height - 1; bit >= 0; --bit) {
        text += bit < maxFontHeight && (column >> bit & 1U) != 0 ? '1' : '0';
    }
}

void appendGlyph(std::string& text, const FontDocument& font, std::int32_t glyph) {
    text.append("\n# Glyph ").append(std::to_string(glyph));
    text.append(" - ").append(glyphLabel(glyph)).append("\n");
    const auto width = static_cast<std::size_t>(font.width);
    const std::size_t first = static_cast<std::size_t>(glyph) * width;
    for (std::size_t at = first; at < first + width; ++at) {
        text += at == first ? "" : ", ";
        appendColumn(text, font.columns[at], font.height);
    }
    text += '\n';
}

/// What has been read of a font file so far.
struct FontFile {
    FontDocument font;
    std::int32_t declaredSize = 0;
    bool isInData = false;
};

/// The number that `key` sets, or null for other keys.
std::int32_t* numberOf(FontFile& file, std::string_view key) {
    if (key == "width") {
        return &file.font.width;
    }
    if (key == "height") {
        return &file.font.height;
    }
    return key == "size" ? &file.declaredSize : nullptr;
}

void readKey(FontFile& file, std::string_view line) {
    const std::optional<KeyLine> split = keyLine(line);
    if (!split) {
        return;
    }
    if (split->key == "name") {
        file.font.name = split->value;
    } else if (std::int32_t* number = numberOf(file, split->key)) {
        *number = parseInt32(split->value, "-").value_or(0);
        if (*number < 1) {
            throw std::runtime_error("Invalid font " + split->key + ".");
        }
    }
}

std::uint8_t columnByte(std::string_view token, std::int32_t height) {
    const bool isBinary = token.starts_with("0b") || token.starts_with("0B");
    const std::string_view digits = token.substr(std::min<std::size_t>(2, token.size()));
    const auto value = parseDigits(digits, 2, 0xFF);
    if (!isBinary || !std::cmp_equal(digits.size(), height) || !value) {
        throw std::runtime_error("Invalid binary column or column height: " + std::string(token));
    }
    return static_cast<std::uint8_t>(*value);
}

void readColumns(FontDocument& font, std::string_view line) {
    std::string uncommented(line.substr(0, line.find('#')));
    std::ranges::replace(uncommented, ',', ' ');
    std::string_view rest = uncommented;
    for (auto token = takeToken(rest); !token.empty(); token = takeToken(rest)) {
        font.columns.push_back(columnByte(token, font.height));
        if (font.columns.size() > maxFontColumns) {
            throw std::runtime_error("Font exceeds 65535 columns.");
        }
    }
}

void readLine(FontFile& file, std::string_view line) {
    if (line.empty() || line.front() == '#') {
        return;
    }
    if (file.isInData) {
        readColumns(file.font, line);
    } else if (asciiLower(line) == "[data]") {
        if (file.font.height < 1 || file.font.height > maxFontHeight) {
            throw std::runtime_error("Font height must be 1 through 8.");
        }
        file.isInData = true;
    } else {
        readKey(file, line);
    }
}

void checkWhole(const FontFile& file) {
    const FontDocument& font = file.font;
    const bool isNamed = !font.name.empty() && font.name.find('\0') == std::string::npos;
    if (!isNamed || font.width < 1 || file.declaredSize < 1 || !file.isInData ||
        font.columns.empty()) {
        throw std::runtime_error("Missing font name, width, height, size, or [data].");
    }
    if (!std::cmp_equal(file.declaredSize, font.columns.size())) {
        throw std::runtime_error("Declared font size does not match the column count.");
    }
    if (font.columns.size() % static_cast<std::size_t>(font.width) != 0) {
        throw std::runtime_error("Font contains an incomplete glyph.");
    }
}

} // namespace

std::int32_t FontDocument::glyphCount() const {
    return width < 1 ? 0 : static_cast<std::int32_t>(columns.size()) / width;
}

std::string FontDocument::text() const {
    constexpr std::size_t keyBytes = 80;
    constexpr std::size_t columnBytes = sizeof "0b11111111,";
    constexpr std::size_t glyphBytes = sizeof "\n# Glyph 65535 - Glyph 65535\n";
    const std::int32_t glyphs = glyphCount();
    std::string text;
    text.reserve(keyBytes + name.size() + columns.size() * columnBytes +
                 static_cast<std::size_t>(glyphs) * glyphBytes);
    text.append("name=").append(name);
    text.append("\nwidth=").append(std::to_string(width));
    text.append("\nheight=").append(std::to_string(height));
    text.append("\nsize=").append(std::to_string(columns.size()));
    text.append("\n\n[data]\n");
    for (std::int32_t glyph = 0; glyph < glyphs; ++glyph) {
        appendGlyph(text, *this, glyph);
    }
    return text;
}

FontDocument parseFont(std::string_view text) {
    FontFile file;
    std::string_view rest = withoutByteOrderMark(text);
    while (!rest.empty()) {
        readLine(file, trimmed(takeLine(rest), artworkBlanks));
    }
    checkWhole(file);
    return std::move(file.font);
}

std::string fontTrim(std::string_view text) {
    return std::string(trimmed(text, artworkBlanks));
}

} // namespace pivex
