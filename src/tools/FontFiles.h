#pragma once

#include "tools/FontDocument.h"

#include <QString>

namespace pivex {

/// The font in the file at `path`. Throws std::runtime_error with the sentence to show; checked in
/// this order: the file can be opened, its size, it can be read, it is UTF-8, its contents.
FontDocument readFontFile(const QString& path);

/// Writes `font` to `path`, once its text has been read back. Throws std::runtime_error with the
/// sentence to show; a file that stood there is then untouched.
void writeFontFile(const QString& path, const FontDocument& font);

} // namespace pivex
