#pragma once

#include "base/Bytes.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace pivex {

/// One permanently saved chip test.
struct StoredChip {
    std::string name;
    std::uint16_t type = 0;
    std::uint8_t pins = 14;
    std::uint8_t imageIndex = 0;
    Bytes code{}; ///< the logical code; padding is added when it is read
    std::array<std::string, 8> strings{};

    bool operator==(const StoredChip&) const = default;
};

/// One stored image; the run lengths as they were sent.
struct StoredImage {
    std::string name;
    std::uint8_t width = 1;
    std::uint8_t height = 1;
    Bytes rle{}; ///< runs of count, colour high byte, colour low byte

    bool operator==(const StoredImage&) const = default;
};

/// One stored font.
struct StoredFont {
    std::string name;
    std::uint8_t width = 1;
    std::uint8_t height = 8;
    std::uint8_t glyphs = 1;
    Bytes columns{}; ///< width columns a glyph, bit height - 1 on top

    bool operator==(const StoredFont&) const = default;
};

/// Everything that the board keeps while it is switched off.
struct BoardStorage {
    std::vector<StoredChip> chips{};     ///< in the order of their positions
    std::map<int, StoredImage> images{}; ///< by slot, 1 to 239
    std::map<int, StoredFont> fonts{};   ///< by slot, 0 to 5
    std::array<std::uint8_t, 14> settings{1, 3, 0, 0, 1, 0, 0, 0, 0, 0, 14, 0, 0, 1};

    bool operator==(const BoardStorage&) const = default;
};

} // namespace pivex
