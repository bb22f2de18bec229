#include "tools/FontUploadPlan.h"

#include "device/DeviceRecords.h"
#include "tools/BoardUpload.h"

#include <algorithm>
#include <stdexcept>

namespace pivex {

namespace {

constexpr std::size_t maxBoardGlyphs = 255;
constexpr std::int32_t maxBoardWidth = 255;

bool fitsBoard(const FontDocument& font, std::int32_t slot) {
    if (slot < 0 || slot >= fontSlotCount || font.width < 1 || font.width > maxBoardWidth ||
        font.height < 1 || font.height > maxFontHeight) {
        return false;
    }
    const std::size_t count = font.columns.size();
    const auto width = static_cast<std::size_t>(font.width);
    return count > 0 && count % width == 0 && count / width <= maxBoardGlyphs;
}

void checkUpload(const FontDocument& font, std::int32_t slot) {
    if (!fitsBoard(font, slot)) {
        throw std::runtime_error("Font dimensions or slot exceed PCB limits.");
    }
    if (fontTrim(font.name).empty() || !fitsBoardName(font.name)) {
        throw std::runtime_error("PCB font name must be 1 through 31 UTF-8 bytes, on one line.");
    }
    if (std::ranges::any_of(font.columns,
                            [&](unsigned column) { return column >> font.height != 0; })) {
        throw std::runtime_error("Font column exceeds its height.");
    }
}

Bytes fontMetadata(const FontDocument& font) {
    Bytes metadata = boardMetadata(font.name);
    metadata[34] = static_cast<std::uint8_t>(font.width);
    metadata[35] = static_cast<std::uint8_t>(font.height);
    metadata[36] = static_cast<std::uint8_t>(font.width);
    metadata[37] = static_cast<std::uint8_t>(font.glyphCount());
    putU32(metadata, 40, static_cast<std::uint32_t>(font.columns.size()));
    return metadata;
}

} // namespace

std::vector<FontPacket> fontUploadPlan(const FontDocument& font, std::int32_t slot) {
    checkUpload(font, slot);
    Bytes begin = u16Bytes(boardMetadataBytes);
    begin.push_back(static_cast<std::uint8_t>(slot));
    std::vector<FontPacket> plan{{Command::FontBegin, std::move(begin), false}};
    appendChunks(plan, Command::FontMetadataChunk, fontMetadata(font));
    plan.push_back({Command::FontMetadataCommit, {}, true});
    const auto size = static_cast<std::uint32_t>(font.columns.size());
    plan.push_back({Command::FontDataSize, u16Bytes(size), false});
    appendChunks(plan, Command::FontDataChunk, font.columns);
    plan.push_back({Command::FontDataCommit, {}, true});
    return plan;
}

std::vector<FontPacket> fontDeletionPlan(std::int32_t slot) {
    return {{Command::FontDelete, {static_cast<std::uint8_t>(slot)}, true}};
}

} // namespace pivex
