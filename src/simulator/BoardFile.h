#pragma once

#include "simulator/BoardStorage.h"

#include <optional>
#include <string>
#include <string_view>

namespace pivex {

/// `storage` as text: a version line, one line each for the settings and for every chip, string,
/// image and font (numbers in decimal, bytes in hexadecimal), and a check line.
std::string encodeStorage(const BoardStorage& storage);

/// The storage that `text` describes; throws std::runtime_error that names the bad line.
BoardStorage decodeStorage(std::string_view text);

/// The storage in the file `path`, or nothing if there is no such file. Throws std::runtime_error
/// if the file cannot be read or is damaged.
std::optional<BoardStorage> loadStorage(const std::string& path);

/// Writes `storage` to the file `path`, which holds either the old content or the new one at any
/// moment; a link is followed. Throws std::runtime_error, the old content kept.
void saveStorage(const std::string& path, const BoardStorage& storage);

} // namespace pivex
