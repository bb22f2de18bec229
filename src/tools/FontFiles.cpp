#include "tools/FontFiles.h"

#include "model/Utf8.h"
#include "tools/FileAccess.h"

#include <stdexcept>
#include <string>

namespace pivex {

namespace {

constexpr FileLimit fontFileLimit{maxFontFileBytes, "Font file is too large (maximum 4 MB)."};

} // namespace

FontDocument readFontFile(const QString& path) {
    const std::string text = readFileBytes(path, fontFileLimit);
    if (!isUtf8(text)) {
        throw std::runtime_error("Font file is not valid UTF-8.");
    }
    return parseFont(text);
}

void writeFontFile(const QString& path, const FontDocument& font) {
    const std::string text = font.text();
    // A file that could not be opened again must never replace one that can.
    parseFont(text);
    writeFileAtomically(path, text, fontFileLimit);
}

} // namespace pivex
