#pragma once

#include "base/Bytes.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pivex {

/// Pixels as RGB565: red in bits 15 to 11, green in 10 to 5, blue in 4 to 0.
using Pixels = std::vector<std::uint16_t>;

/// Size of the board's display.
inline constexpr int maxImageWidth = 160;
inline constexpr int maxImageHeight = 128;

/// Largest run-length form that one image slot of the board takes, in bytes.
inline constexpr std::size_t maxBoardImageBytes = 4096;

/// Largest image file that is read, in bytes.
inline constexpr std::size_t maxImageFileBytes = 1'000'000;

/// One image: its pixels and the run lengths that stand for exactly those pixels.
struct ImageDocument {
    std::string name; ///< UTF-8
    std::int32_t width = maxImageWidth;
    std::int32_t height = maxImageHeight;
    Pixels pixels; ///< width x height, row by row from the top left
    Bytes rle;     ///< runs of three bytes: count 1 to 255, value high byte, value low byte

    /// Encodes `pixels` into `rle`, with the longest runs. Throws std::runtime_error when the size
    /// is out of range or does not fit the number of pixels.
    void rebuild();

    /// The image file's text: name, width, height, size and one line per run.
    std::string text() const;

    bool operator==(const ImageDocument&) const = default;
};

/// Throws std::runtime_error with the sentence to show unless the size is 1-160 by 1-128.
void checkImageSize(std::int32_t width, std::int32_t height);

/// The pixels that `rle` stands for. Throws std::runtime_error for a size outside 1-160 by 1-128,
/// incomplete or empty runs, and too many or too few pixels.
Pixels decompressImage(std::span<const std::uint8_t> rle, std::int32_t width, std::int32_t height);

/// A black image. The name is trimmed first and must then be 1 to 31 bytes on one line; throws
/// std::runtime_error for a bad name or size.
ImageDocument newImage(const std::string& name, std::int32_t width, std::int32_t height);

/// The image in an image file's text. Throws std::runtime_error with the sentence to show.
ImageDocument parseImage(std::string text);

/// `text` without surrounding spaces, tabs, line feeds and carriage returns.
std::string imageTrim(std::string_view text);

/// The integer that `text` consists of: an optional "-" and digits, within 32 bits. Throws
/// std::runtime_error that names the text.
std::int32_t imageNumber(std::string_view text);

} // namespace pivex
