#include "simulator/UploadStaging.h"

#include "device/DeviceRecords.h"

#include <algorithm>
#include <span>
#include <string>

namespace pivex {

namespace {

constexpr std::size_t nameOffset = 2;
constexpr std::size_t nameSize = 32;
constexpr std::size_t stringCell = 64;
constexpr std::size_t stringBytes = 512;
constexpr std::size_t artworkMetadataBytes = 128;
constexpr std::size_t largestImage = 4096;

/// The text in `field` up to its first 0x00.
std::string textIn(std::span<const std::uint8_t> field) {
    return {field.begin(), std::ranges::find(field, std::uint8_t{0})};
}

std::string nameIn(std::span<const std::uint8_t> metadata) {
    return textIn(metadata.subspan(nameOffset, nameSize));
}

bool isBetween(std::size_t value, std::size_t smallest, std::size_t largest) {
    return value >= smallest && value <= largest;
}

/// Whether the block begins with two zeros and has a name that is not empty and ends in its field.
bool isNamed(std::span<const std::uint8_t> metadata) {
    return u16At(metadata, 0) == 0 && metadata[nameOffset] != 0 &&
           metadata[nameOffset + nameSize - 1] == 0;
}

bool isImageMetadata(std::span<const std::uint8_t> metadata) {
    return isNamed(metadata) && isBetween(metadata[34], 1, 160) &&
           isBetween(metadata[35], 1, 128) && isBetween(u32At(metadata, 36), 3, largestImage) &&
           u32At(metadata, 36) % 3 == 0;
}

bool isFontMetadata(std::span<const std::uint8_t> metadata) {
    return isNamed(metadata) && metadata[34] >= 1 && isBetween(metadata[35], 1, 8) &&
           metadata[36] == metadata[34] && metadata[37] >= 1 &&
           u32At(metadata, 40) == std::uint32_t{metadata[34]} * metadata[37];
}

/// Whether the runs fill exactly `pixels`.
bool isRunLengths(const Bytes& rle, std::size_t pixels) {
    std::size_t total = 0;
    for (std::size_t i = 0; i < rle.size(); i += 3) {
        if (rle[i] == 0) {
            return false;
        }
        total += rle[i];
    }
    return total == pixels;
}

bool isImageCommand(Command command) {
    return command <= Command::ImageDataCommit || command == Command::ImageSelectSlot;
}

} // namespace

bool PieceBuffer::add(const Bytes& piece) {
    if (piece.size() > size - content.size()) {
        return false;
    }
    content.insert(content.end(), piece.begin(), piece.end());
    return true;
}

bool ChipStaging::take(Command command, const Bytes& payload) {
    switch (command) {
    case Command::UploadMetadata:
        return begin(payload);
    case Command::UploadStringsStart:
        return advance(Step::Metadata, Step::Strings);
    case Command::UploadStringChunk:
        return step == Step::Strings && strings.add(payload);
    case Command::UploadStringsDone:
        return advance(Step::Strings, Step::StringsDone) && areStringsGood();
    case Command::UploadCodeLength:
        return advance(Step::StringsDone, Step::Code) && beginCode(u16At(payload, 0));
    case Command::UploadCodeChunk:
        return step == Step::Code && code.add(payload);
    default:
        return false;
    }
}

bool ChipStaging::begin(const Bytes& block) {
    *this = ChipStaging();
    metadata = block;
    strings = PieceBuffer(stringBytes);
    step = Step::Metadata;
    return block[0] == 0x5A && block[1] == 0xA5;
}

bool ChipStaging::areStringsGood() const {
    if (!strings.isComplete()) {
        return false;
    }
    std::size_t filled = 0;
    for (std::size_t cell = 0; cell < stringBytes; cell += stringCell) {
        if (strings.bytes()[cell + stringCell - 1] != 0) {
            return false;
        }
        filled += strings.bytes()[cell] != 0 ? 1 : 0;
    }
    return filled == metadata[40];
}

bool ChipStaging::beginCode(std::size_t length) {
    code = PieceBuffer(length);
    return length == u16At(metadata, 38);
}

bool ChipStaging::advance(Step from, Step to) {
    const bool isInOrder = step == from;
    step = to;
    return isInOrder;
}

StoredChip ChipStaging::chip() const {
    StoredChip chip{.name = nameIn(metadata),
                    .type = u16At(metadata, 34),
                    .pins = metadata[36],
                    .imageIndex = metadata[37],
                    .code = code.bytes()};
    const std::span<const std::uint8_t> block = strings.bytes();
    for (std::size_t i = 0; i < chip.strings.size(); ++i) {
        chip.strings[i] = textIn(block.subspan(i * stringCell, stringCell));
    }
    return chip;
}

bool ArtworkStaging::take(Command command, const Bytes& payload) {
    if (isImageCommand(command) != (kind == Kind::Image)) {
        return false;
    }
    switch (command) {
    case Command::ImageBegin:
    case Command::FontBegin:
        return begin(payload);
    case Command::ImageSelectSlot:
        return selectSlot(u16At(payload, 0), 1, imageSlotCount);
    case Command::ImageMetadataChunk:
    case Command::FontMetadataChunk:
        return step == Step::Metadata && metadata.add(payload);
    case Command::ImageMetadataCommit:
    case Command::FontMetadataCommit:
        return advance(Step::Metadata, Step::Committed) && isMetadataGood();
    case Command::ImageDataSize:
    case Command::FontDataSize:
        return advance(Step::Committed, Step::Data) && beginData(u16At(payload, 0));
    case Command::ImageDataChunk:
    case Command::FontDataChunk:
        return step == Step::Data && data.add(payload);
    case Command::ImageDataCommit:
    case Command::FontDataCommit:
        return advance(Step::Data, Step::Finished) && isDataGood();
    default:
        return false;
    }
}

bool ArtworkStaging::begin(const Bytes& payload) {
    *this = ArtworkStaging(kind);
    metadata = PieceBuffer(artworkMetadataBytes);
    step = Step::Begun;
    return u16At(payload, 0) == artworkMetadataBytes &&
           (kind == Kind::Image || selectSlot(payload[2], 0, fontSlotCount - 1));
}

bool ArtworkStaging::selectSlot(int number, int first, int last) {
    targetSlot = number;
    return number >= first && number <= last && advance(Step::Begun, Step::Metadata);
}

bool ArtworkStaging::isMetadataGood() const {
    return metadata.isComplete() && (kind == Kind::Image ? isImageMetadata(metadata.bytes())
                                                         : isFontMetadata(metadata.bytes()));
}

bool ArtworkStaging::beginData(std::size_t length) {
    data = PieceBuffer(length);
    return length == u32At(metadata.bytes(), kind == Kind::Image ? 36 : 40);
}

bool ArtworkStaging::isDataGood() const {
    const Bytes& block = metadata.bytes();
    if (!data.isComplete()) {
        return false;
    }
    if (kind == Kind::Image) {
        return isRunLengths(data.bytes(), std::size_t{block[34]} * block[35]);
    }
    return std::ranges::all_of(data.bytes(),
                               [&](std::uint8_t column) { return column >> block[35] == 0; });
}

bool ArtworkStaging::advance(Step from, Step to) {
    const bool isInOrder = step == from;
    step = to;
    return isInOrder;
}

StoredImage ArtworkStaging::image() const {
    const Bytes& block = metadata.bytes();
    return {.name = nameIn(block), .width = block[34], .height = block[35], .rle = data.bytes()};
}

StoredFont ArtworkStaging::font() const {
    const Bytes& block = metadata.bytes();
    return {.name = nameIn(block),
            .width = block[34],
            .height = block[35],
            .glyphs = block[37],
            .columns = data.bytes()};
}

} // namespace pivex
