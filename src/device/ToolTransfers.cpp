#include "device/ToolTransfers.h"

#include "device/Failures.h"

#include <algorithm>
#include <stdexcept>

namespace pivex {

namespace {

/// How often one packet is sent before its busy answers count as a refusal.
constexpr int maxSends = 3;

/// Image metadata answer: code, sequence, name, width, height, compressed size (u32).
constexpr std::size_t imageMetadataBytes = 40;
constexpr std::size_t imageNameAt = 2;
constexpr std::size_t imageWidthAt = 34;
constexpr std::size_t imageHeightAt = 35;
constexpr std::size_t imageSizeAt = 36;

/// Image chunk answer: code, sequence, offset (u16), then data.
constexpr std::size_t chunkOffsetAt = 2;
constexpr std::size_t chunkDataAt = 4;

/// Font slot answer: code, sequence, slot, three properties, four bytes unused, name.
constexpr std::size_t fontSlotAt = 2;
constexpr std::size_t fontPropertiesAt = 3;
constexpr std::size_t fontNameAt = 10;
constexpr std::size_t fontMetadataBytes = 42;

/// Settings answer: code, sequence, record.
constexpr std::size_t settingsRecordAt = 2;
constexpr std::size_t settingsAnswerBytes = 16;

Response codeOf(const Bytes& answer) {
    return static_cast<Response>(answer[0]);
}

Bytes slotBytes(int slot) {
    return u16Bytes(static_cast<std::uint32_t>(slot));
}

ImageSlot readImageSlot(int slot, const Query& query) {
    const Bytes answer = query(Command::ImageName, Response::Any, slotBytes(slot));
    if (codeOf(answer) == Response::ImageSlotEmpty) {
        return {true, {}};
    }
    require(codeOf(answer) == Response::ImageName, "Unexpected image name response.");
    return {true, linux_read::text(answer)};
}

/// Checks the size fields of an image metadata answer and gives the compressed size.
std::size_t checkedImageSize(const Bytes& metadata, const ImageDocument& image) {
    require(image.width >= 1 && image.width <= maxImageWidth && image.height >= 1 &&
                image.height <= maxImageHeight,
            "Image size must be 1-160 wide and 1-128 high.");
    const std::size_t size = u32At(metadata, imageSizeAt);
    require(size >= 1 && size <= maxBoardImageBytes && size % 3 == 0,
            "Invalid PCB compressed image size.");
    return size;
}

Bytes readImageData(int slot, std::size_t size, const Query& query) {
    Bytes data;
    while (data.size() < size) {
        Bytes request(4);
        putU16(request, 0, static_cast<std::uint32_t>(slot));
        putU16(request, 2, static_cast<std::uint32_t>(data.size()));
        const Bytes answer = query(Command::ImageChunk, Response::Any, request);
        require(answer.size() > chunkDataAt && codeOf(answer) == Response::ImageChunk &&
                    u16At(answer, chunkOffsetAt) == data.size() &&
                    data.size() + answer.size() - chunkDataAt <= size,
                "Invalid image chunk offset or length.");
        data.insert(data.end(), answer.begin() + chunkDataAt, answer.end());
    }
    return data;
}

/// Sends `packet`, a busy one again unless it commits; throws `refusal` when it is not accepted.
template<typename Packet>
void sendToolPacket(const Packet& packet, const Send& send, const char* refusal) {
    const int sends = packet.commit ? 1 : maxSends;
    for (int i = 0; i < sends; ++i) {
        const Acknowledgement answer = toolAcknowledgement(send(packet.command, packet.payload));
        if (answer == Acknowledgement::Accepted) {
            return;
        }
        require(answer == Acknowledgement::Busy, refusal);
    }
    throw std::runtime_error(refusal);
}

bool isRead(const Bytes& request) {
    return request.size() == 1 && request[0] == 0;
}

/// The rule that a write request obeys, or none for a read. Throws for anything else.
const SettingRule* ruleOf(const Bytes& request) {
    if (isRead(request)) {
        return nullptr;
    }
    require(isSettingsWrite(request), "Invalid settings request.");
    const auto* rule = std::ranges::find(settingRules, request[1], &SettingRule::setting);
    require(rule != settingRules.end() && request[2] <= rule->largest,
            "Invalid setting or setting value.");
    return rule;
}

Bytes settingsAnswer(const Bytes& request, const Query& query) {
    Bytes answer;
    for (int sends = 0; sends < maxSends; ++sends) {
        answer = query(Command::Settings, Response::Any, request);
        if (codeOf(answer) != Response::Busy) {
            break;
        }
    }
    require(codeOf(answer) == Response::Settings && answer.size() >= settingsAnswerBytes,
            "Pivex returned an invalid settings response.");
    return answer;
}

} // namespace

ImageSlots readImageSlots(const Query& query) {
    ImageSlots slots;
    for (int slot = 1; slot <= imageSlotCount; ++slot) {
        slots[static_cast<std::size_t>(slot) - 1] = readImageSlot(slot, query);
    }
    return slots;
}

ImageDocument readImage(int slot, const Query& query) {
    require(slot >= 1 && slot <= imageSlotCount,
            "Image slot must be 1-239. Slot zero is reserved.");
    const Bytes metadata = query(Command::ImageMetadata, Response::Any, slotBytes(slot));
    require(metadata.size() >= imageMetadataBytes && codeOf(metadata) == Response::ImageMetadata,
            "Invalid image metadata response.");
    ImageDocument image;
    image.name = linux_read::text(metadata, imageNameAt, imageWidthAt);
    image.width = metadata[imageWidthAt];
    image.height = metadata[imageHeightAt];
    image.rle = readImageData(slot, checkedImageSize(metadata, image), query);
    image.pixels = decompressImage(image.rle, image.width, image.height);
    return image;
}

void sendImage(const std::vector<ImagePacket>& packets, const Send& send,
               const PacketProgress& progress) {
    const auto sendAll = [&] {
        std::uint64_t accepted = 0;
        for (const ImagePacket& packet : packets) {
            sendToolPacket(packet, send,
                           "Image command rejected; stopped without retrying a commit.");
            ++accepted;
            if (progress) {
                progress(accepted, packets.size());
            }
        }
    };
    explained("Image save stopped: ", sendAll,
              " The PCB may hold a partial image. Reconnect and inspect its image list before "
              "retrying; a commit may have completed.");
}

void deleteImage(int slot, const Send& send) {
    const auto empty = [&] {
        require(slot >= firstDeletableImageSlot && slot <= imageSlotCount,
                "Only image slots 15-239 may be deleted.");
        sendToolPacket(ImagePacket{Command::ImageDelete, slotBytes(slot), false}, send,
                       "PCB rejected image deletion. The selected slot was not cleared.");
    };
    explained("Image deletion stopped: ", empty, " Refresh the image list before retrying.");
}

void readFontSlots(const Query& query, const std::function<void(int, FontSlot)>& loaded) {
    for (int slot = 0; slot < fontSlotCount; ++slot) {
        const Bytes request{static_cast<std::uint8_t>(slot)};
        loaded(slot, parseFontSlot(query(Command::FontSlotRead, Response::Any, request), slot));
    }
}

FontSlot parseFontSlot(const Bytes& answer, int slot) {
    require(answer.size() > fontSlotAt && answer[fontSlotAt] == slot,
            "Invalid font slot response.");
    if (codeOf(answer) == Response::FontSlotEmpty) {
        return {true, {}, {}};
    }
    require(codeOf(answer) == Response::FontSlot && answer.size() >= fontMetadataBytes,
            "Invalid font metadata response.");
    FontSlot font{true, linux_read::text(answer, fontNameAt, fontMetadataBytes), {}};
    std::copy_n(answer.begin() + fontPropertiesAt, font.properties.size(), font.properties.begin());
    return font;
}

void sendFont(const std::vector<FontPacket>& packets, const Send& send) {
    const auto sendAll = [&] {
        for (const FontPacket& packet : packets) {
            sendToolPacket(
                packet, send,
                "Font command rejected; operation stopped. Inspect the slot before retrying.");
        }
    };
    explained("Font write stopped: ", sendAll,
              " The slot may be partially changed. Reconnect and inspect it before retrying; a "
              "commit may have completed.");
}

bool isSettingsWrite(const Bytes& request) {
    return request.size() == 3 && request[0] == 1;
}

DeviceSettings exchangeSettings(const Bytes& request, const Query& query) {
    const SettingRule* rule = ruleOf(request);
    const Bytes answer = settingsAnswer(request, query);
    DeviceSettings settings;
    std::copy_n(answer.begin() + settingsRecordAt, settings.bytes.size(), settings.bytes.begin());
    require(rule == nullptr || settings.bytes[rule->recordByte] == request[2],
            "PCB returned a different setting value. Refresh settings before retrying.");
    return settings;
}

} // namespace pivex
