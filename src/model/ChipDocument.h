#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace pivex {

/// One entry of a metadata combo box: the number stored in the document and what the user reads.
struct MetadataOption {
    std::int32_t value;
    std::string_view label;
};

/// The chip types that the board knows.
inline constexpr std::array<MetadataOption, 7> chipTypes{{
    {0, "Unknown"},
    {1, "DRAM"},
    {2, "SRAM"},
    {3, "CPU"},
    {4, "7400 Series"},
    {5, "I/O"},
    {6, "Other"},
}};

/// The pin counts that fit the board's socket.
inline constexpr std::array<MetadataOption, 20> pinOptions{{
    {2, "2"},   {4, "4"},   {6, "6"},   {8, "8"},   {10, "10"}, {12, "12"}, {14, "14"},
    {16, "16"}, {18, "18"}, {20, "20"}, {22, "22"}, {24, "24"}, {26, "26"}, {28, "28"},
    {30, "30"}, {32, "32"}, {34, "34"}, {36, "36"}, {38, "38"}, {40, "40"},
}};

/// The package pictures that the board stores; DIP20W stands before DIP20.
inline constexpr std::array<MetadataOption, 9> imageOptions{{
    {0, "DIP6"},
    {1, "DIP14"},
    {2, "DIP16"},
    {3, "DIP20W"},
    {4, "DIP20"},
    {5, "DIP24"},
    {6, "DIP28"},
    {7, "DIP32"},
    {8, "DIP40"},
}};

/// One chip test with its metadata, as it is edited, stored and sent. A plain value: it checks
/// nothing; every text is UTF-8 and every length counts bytes.
struct ChipDocument {
    std::string name;
    std::int32_t pins = 14;
    std::int32_t type = 0;       ///< a value of `chipTypes`; others are kept as they are
    std::int32_t imageIndex = 0; ///< a value of `imageOptions`; others are kept as they are
    std::string code;            ///< source text of the test program
    std::array<std::string, 8> strings;

    bool operator==(const ChipDocument&) const = default;
};

} // namespace pivex
