#include "tools/ImageUploadPlan.h"

#include "device/DeviceRecords.h"
#include "tools/BoardUpload.h"

#include <stdexcept>

namespace pivex {

namespace {

void checkUpload(const ImageDocument& image, std::int32_t slot) {
    if (slot < 1 || slot > imageSlotCount) {
        throw std::runtime_error("Image slot must be 1-239. Slot zero is reserved.");
    }
    checkImageSize(image.width, image.height);
    if (imageTrim(image.name).empty() || !fitsBoardName(image.name)) {
        throw std::runtime_error("PCB image name must be 1-31 UTF-8 bytes on one line.");
    }
    if (image.rle.size() > maxBoardImageBytes) {
        throw std::runtime_error(
            "Compressed image exceeds 4096 bytes. Simplify the artwork before uploading.");
    }
    if (decompressImage(image.rle, image.width, image.height) != image.pixels) {
        throw std::runtime_error("Image pixels and compressed data do not agree.");
    }
}

Bytes imageMetadata(const ImageDocument& image) {
    Bytes metadata = boardMetadata(image.name);
    metadata[34] = static_cast<std::uint8_t>(image.width);
    metadata[35] = static_cast<std::uint8_t>(image.height);
    putU32(metadata, 36, static_cast<std::uint32_t>(image.rle.size()));
    return metadata;
}

} // namespace

std::vector<ImagePacket> imageUploadPlan(const ImageDocument& image, std::int32_t slot) {
    checkUpload(image, slot);
    std::vector<ImagePacket> plan{
        {Command::ImageBegin, u16Bytes(boardMetadataBytes), false},
        {Command::ImageSelectSlot, u16Bytes(static_cast<std::uint32_t>(slot)), false},
    };
    appendChunks(plan, Command::ImageMetadataChunk, imageMetadata(image));
    plan.push_back({Command::ImageMetadataCommit, {}, true});
    const auto size = static_cast<std::uint32_t>(image.rle.size());
    plan.push_back({Command::ImageDataSize, u16Bytes(size), false});
    appendChunks(plan, Command::ImageDataChunk, image.rle);
    plan.push_back({Command::ImageDataCommit, {}, true});
    return plan;
}

} // namespace pivex
