#pragma once

#include "app/OpcodeTools.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pivex {

/// The marking text of `pin` on a package of `pinCount` pins: the plain pin number when no
/// argument refers to it. Fields that are no literals are skipped.
std::string pinLabel(const OpcodeTool& tool, const std::vector<std::string>& texts, int pin,
                     int pinCount);

/// Changes `texts`, and the active field (-1: none), for a click on `pin`. Throws
/// std::runtime_error with the sentence to show and then changes nothing.
void clickPin(const OpcodeTool& tool, std::vector<std::string>& texts, int pin, int pinCount,
              int& activeField);

/// The number that `text` consists of: decimal, 0x or 0b, 32 bits unsigned. Throws
/// std::runtime_error for anything else.
std::uint32_t pinLiteral(std::string_view text);

/// "0x" and `value` in upper-case hexadecimal without leading zeros.
std::string pinHex(std::uint32_t value);

} // namespace pivex
