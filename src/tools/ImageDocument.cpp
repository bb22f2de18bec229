#include "tools/ImageDocument.h"

#include "base/Text.h"
#include "model/Utf8.h"
#include "tools/ArtworkText.h"
#include "tools/BoardUpload.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>

namespace pivex {

namespace {

constexpr std::size_t bytesPerRun = 3;
constexpr std::ptrdiff_t maxRunLength = 255;

/// Three bytes for every pixel of the largest image.
constexpr std::size_t maxFileRleBytes = bytesPerRun * maxImageWidth * maxImageHeight;

std::size_t pixelCount(std::int32_t width, std::int32_t height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

void appendRunLine(std::string& text, std::span<const std::uint8_t, bytesPerRun> run) {
    std::array<char, bytesPerRun * sizeof "255"> line{};
    char* end = line.data();
    for (const unsigned byte : run) {
        end = std::to_chars(end, line.data() + line.size(), byte).ptr;
        *end++ = ' ';
    }
    end[-1] = '\n';
    text.append(line.data(), end);
}

/// What has been read of an image file so far.
struct ImageFile {
    ImageDocument image{.name = {}, .width = 0, .height = 0, .pixels = {}, .rle = {}};
    std::optional<std::int32_t> declaredSize;
    bool isInData = false;
};

void readKey(ImageFile& file, std::string_view line) {
    const std::optional<KeyLine> split = keyLine(line);
    if (!split) {
        return;
    }
    const auto& [key, value] = *split;
    if (key == "name") {
        file.image.name = value;
    } else if (key == "width") {
        file.image.width = imageNumber(value);
    } else if (key == "height") {
        file.image.height = imageNumber(value);
    } else if (key == "size") {
        file.declaredSize = imageNumber(value);
        if (*file.declaredSize < 0) {
            throw std::runtime_error("Invalid image size.");
        }
    }
}

void readRun(Bytes& rle, std::string_view line) {
    std::string_view rest = line;
    std::size_t place = 0;
    for (auto token = takeToken(rest); !token.empty(); token = takeToken(rest), ++place) {
        const std::int32_t value = imageNumber(token);
        const std::int32_t least = place == 0 ? 1 : 0;
        if (place == bytesPerRun || value < least || value > 255) {
            throw std::runtime_error("Invalid image RLE line: " + std::string(line));
        }
        rle.push_back(static_cast<std::uint8_t>(value));
    }
    if (place < bytesPerRun || rle.size() > maxFileRleBytes) {
        throw std::runtime_error("Invalid or oversized image RLE data.");
    }
}

void readLine(ImageFile& file, std::string_view line) {
    if (line.empty()) {
        return;
    }
    if (asciiLower(line) == "[data]") {
        file.isInData = true;
    } else if (file.isInData) {
        readRun(file.image.rle, line);
    } else {
        readKey(file, line);
    }
}

void checkWhole(const ImageFile& file) {
    if (!file.isInData) {
        throw std::runtime_error("Missing image [data] section.");
    }
    if (file.image.name.find('\0') != std::string::npos) {
        throw std::runtime_error("Invalid image name.");
    }
    if (file.declaredSize && !std::cmp_equal(*file.declaredSize, file.image.rle.size())) {
        throw std::runtime_error("Declared compressed size does not match image data.");
    }
}

} // namespace

void checkImageSize(std::int32_t width, std::int32_t height) {
    if (width < 1 || width > maxImageWidth || height < 1 || height > maxImageHeight) {
        throw std::runtime_error("Image size must be 1-160 wide and 1-128 high.");
    }
}

void ImageDocument::rebuild() {
    checkImageSize(width, height);
    if (pixels.size() != pixelCount(width, height)) {
        throw std::runtime_error("Invalid image pixel buffer.");
    }
    rle.clear();
    for (auto run = pixels.cbegin(); run != pixels.cend();) {
        const std::uint16_t value = *run;
        const auto longest = run + std::min(maxRunLength, pixels.cend() - run);
        const auto end =
            std::find_if(run + 1, longest, [value](std::uint16_t next) { return next != value; });
        rle.insert(rle.end(),
                   {static_cast<std::uint8_t>(end - run), static_cast<std::uint8_t>(value >> 8),
                    static_cast<std::uint8_t>(value)});
        run = end;
    }
}

std::string ImageDocument::text() const {
    constexpr std::size_t keyBytes = 80;
    std::string text;
    text.reserve(keyBytes + name.size() + rle.size() * sizeof "255");
    text.append("name=").append(name);
    text.append("\n\nwidth=").append(std::to_string(width));
    text.append("\n\nheight=").append(std::to_string(height));
    text.append("\n\nsize=").append(std::to_string(rle.size()));
    text.append("\n\n[data]\n\n");
    for (std::size_t at = 0; at + bytesPerRun <= rle.size(); at += bytesPerRun) {
        appendRunLine(text, std::span(rle).subspan(at).first<bytesPerRun>());
    }
    return text;
}

Pixels decompressImage(std::span<const std::uint8_t> rle, std::int32_t width, std::int32_t height) {
    checkImageSize(width, height);
    if (rle.empty() || rle.size() % bytesPerRun != 0) {
        throw std::runtime_error("Image RLE must contain complete three-byte runs.");
    }
    Pixels pixels(pixelCount(width, height));
    auto next = pixels.begin();
    for (std::size_t at = 0; at < rle.size(); at += bytesPerRun) {
        const std::ptrdiff_t count = rle[at];
        if (count == 0 || count > pixels.end() - next) {
            throw std::runtime_error("Invalid image run length or expanded size.");
        }
        const auto value = static_cast<std::uint16_t>(rle[at + 1] << 8 | rle[at + 2]);
        next = std::fill_n(next, count, value);
    }
    if (next != pixels.end()) {
        throw std::runtime_error("Image pixel count does not match dimensions.");
    }
    return pixels;
}

ImageDocument newImage(const std::string& name, std::int32_t width, std::int32_t height) {
    ImageDocument image{imageTrim(name), width, height, {}, {}};
    if (image.name.empty() || !fitsBoardName(image.name)) {
        throw std::runtime_error("Image name must be 1-31 UTF-8 bytes on one line.");
    }
    checkImageSize(width, height);
    image.pixels.assign(pixelCount(width, height), 0);
    image.rebuild();
    return image;
}

ImageDocument parseImage(std::string text) {
    std::ranges::replace(text, '\r', '\n');
    ImageFile file;
    std::string_view rest = withoutByteOrderMark(text);
    while (!rest.empty()) {
        readLine(file, trimmed(takeLine(rest), artworkBlanks));
    }
    checkWhole(file);
    file.image.pixels = decompressImage(file.image.rle, file.image.width, file.image.height);
    return std::move(file.image);
}

std::string imageTrim(std::string_view text) {
    return std::string(trimmed(text, artworkBlanks));
}

std::int32_t imageNumber(std::string_view text) {
    const std::optional<std::int32_t> number = parseInt32(text, "-");
    if (!number) {
        throw std::runtime_error("Invalid image integer: " + std::string(text));
    }
    return *number;
}

} // namespace pivex
