#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace pivex {

/// Image slots are numbered 1 to 239; element i of an `ImageSlots` describes slot i + 1.
inline constexpr int imageSlotCount = 239;

/// Image slots below this one are protected: the board never empties them on request.
inline constexpr int firstDeletableImageSlot = 15;

/// Font slots are numbered 0 to 5.
inline constexpr int fontSlotCount = 6;

/// What is known of one image slot.
struct ImageSlot {
    bool read = false; ///< read since the connection began
    std::string name;  ///< empty means that the slot is empty

    bool operator==(const ImageSlot&) const = default;
};

using ImageSlots = std::array<ImageSlot, imageSlotCount>;

/// What is known of one font slot.
struct FontSlot {
    bool read = false;
    std::string name;                         ///< empty means that the slot is empty
    std::array<std::int32_t, 3> properties{}; ///< three attribute bytes, passed on as they are

    bool operator==(const FontSlot&) const = default;
};

using FontSlots = std::array<FontSlot, fontSlotCount>;

/// The board's settings record, byte for byte as the board last confirmed it.
struct DeviceSettings {
    std::array<std::uint8_t, 14> bytes{};

    bool operator==(const DeviceSettings&) const = default;
};

/// One setting that the program can change.
struct SettingRule {
    std::uint8_t setting;   ///< number in the write request
    std::uint8_t largest;   ///< values 0 to this one are allowed
    std::size_t recordByte; ///< byte of the record that shows the value afterwards
};

/// The board's settings table: logo hidden, logo speed, LEDs off, AUX on, default font slot.
inline constexpr std::array<SettingRule, 5> settingRules{{
    {2, 1, 3},
    {3, 2, 4},
    {5, 1, 7},
    {6, 1, 8},
    {7, 5, 9},
}};

} // namespace pivex
