#pragma once

#include "model/ChipDocument.h"

#include <string>
#include <string_view>

namespace pivex {

/// The largest chip file that is read, some 4,000 bytes for each instruction that a board takes,
/// and the sentence about a larger one. The codec itself knows no limit.
inline constexpr std::size_t maxChipFileBytes = 16'000'000;
inline constexpr const char* chipFileTooLarge = "Chip file exceeds 16 MB.";

/// The text of a `.chip` file that holds `document`, UTF-8 with line feeds. Never fails.
std::string encodeChip(const ChipDocument& document);

/// The document in the bytes of a `.chip` file. Tolerant of layout, strict about UTF-8 and
/// integers. Throws std::runtime_error with the sentence to show; checked in this order: UTF-8,
/// emptiness, integers line by line, file type, [chips], [meta], name.
ChipDocument decodeChip(std::string_view bytes);

} // namespace pivex
