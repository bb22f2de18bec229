#pragma once

#include "model/ChipDocument.h"

#include <string>
#include <string_view>

namespace pivex {

/// The text of a `.chip` file that holds `document`, UTF-8 with line feeds. Never fails.
std::string encodeChip(const ChipDocument& document);

/// The document in the bytes of a `.chip` file. Tolerant of layout, strict about UTF-8 and
/// integers. Throws std::runtime_error with the sentence to show; checked in this order: UTF-8,
/// emptiness, integers line by line, file type, [chips], [meta], name.
ChipDocument decodeChip(std::string_view bytes);

} // namespace pivex
