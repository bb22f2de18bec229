#include "device/ChipUpload.h"

#include "base/Text.h"
#include "device/Failures.h"
#include "language/ChipCompiler.h"

#include <algorithm>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace pivex {

namespace {

/// Chip metadata block: magic, name, type (u16), pins, image index, code length (u16) and the
/// number of user strings.
constexpr std::size_t metadataBytes = 41;
constexpr std::size_t nameAt = 2;
constexpr std::size_t nameBytes = 32;
constexpr std::size_t typeAt = 34;
constexpr std::size_t pinsAt = 36;
constexpr std::size_t imageIndexAt = 37;
constexpr std::size_t codeLengthAt = 38;
constexpr std::size_t stringCountAt = 40;

/// String block: eight cells, each with room for a closing 0x00.
constexpr std::size_t stringCellBytes = 64;
constexpr std::size_t stringBlockBytes = 8 * stringCellBytes;

/// Most string or code bytes that one packet carries.
constexpr std::size_t chunkBytes = 63;

/// How often one packet is sent before its busy answers count as a failure.
constexpr int maxSends = 4;

constexpr std::uint32_t maxCodeBytes = 0xFFFF;

bool isOneLine(std::string_view text) {
    return text.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos;
}

bool isChipName(std::string_view name) {
    return name.size() <= nameBytes && !trimmed(name, " \t").empty() && isOneLine(name);
}

bool isUserString(std::string_view text) {
    return text.size() < stringCellBytes && isOneLine(text);
}

bool isWithin(std::int32_t value, std::uint32_t largest) {
    return static_cast<std::uint32_t>(value) <= largest;
}

void requireFields(const ChipDocument& document) {
    require(isChipName(document.name), "Chip name must be 1-32 UTF-8 bytes on one line.");
    require(document.pins >= 2 && document.pins <= 40 && document.pins % 2 == 0,
            "Upload pin count must be even, from 2 to 40.");
    require(isWithin(document.type, 0xFFFF) && isWithin(document.imageIndex, 0xFF),
            "Chip type or image index does not fit the PCB metadata fields.");
    require(std::ranges::all_of(document.strings, isUserString),
            "Each user string must fit 63 UTF-8 bytes on one line. Upload will not silently "
            "truncate text.");
}

Bytes compiledCode(const ChipDocument& document) {
    CompileResult result = compileChip(document);
    if (!result.errorMessage.empty()) {
        throw std::runtime_error("Compile error on source line " +
                                 std::to_string(result.errorLine) + ": " + result.errorMessage);
    }
    require(result.bytes.size() <= maxCodeBytes,
            "Compiled code exceeds the PCB's 16-bit length field.");
    return std::move(result.bytes);
}

Bytes metadataBlock(const ChipDocument& document, std::uint32_t codeLength) {
    Bytes block(metadataBytes);
    block[0] = 0x5A;
    block[1] = 0xA5;
    std::ranges::copy(document.name, block.begin() + nameAt);
    putU16(block, typeAt, static_cast<std::uint32_t>(document.type));
    block[pinsAt] = static_cast<std::uint8_t>(document.pins);
    block[imageIndexAt] = static_cast<std::uint8_t>(document.imageIndex);
    putU16(block, codeLengthAt, codeLength);
    block[stringCountAt] = static_cast<std::uint8_t>(std::ranges::count_if(
        document.strings, [](const std::string& text) { return !text.empty(); }));
    return block;
}

Bytes stringBlock(const ChipDocument& document) {
    Bytes block(stringBlockBytes);
    auto cell = block.begin();
    for (const std::string& text : document.strings) {
        std::ranges::copy(text, cell);
        cell += stringCellBytes;
    }
    return block;
}

void addChunks(UploadPlan& plan, Command command, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto chunk = bytes.first(std::min(chunkBytes, bytes.size()));
        plan.packets.push_back({command, Bytes(chunk.begin(), chunk.end())});
        bytes = bytes.subspan(chunk.size());
    }
}

/// Sends `packet` until the board is no longer busy with an earlier one.
void sendUploadPacket(const UploadPacket& packet, const Send& send) {
    for (int sends = 0; sends < maxSends; ++sends) {
        const Response response = send(packet.command, packet.payload);
        const Acknowledgement acknowledgement = uploadAcknowledgement(response);
        if (acknowledgement == Acknowledgement::Accepted) {
            return;
        }
        if (acknowledgement == Acknowledgement::Refused) {
            throw std::runtime_error("PCB rejected upload packet (response " +
                                     std::to_string(static_cast<unsigned>(response)) +
                                     "). Do not run a partial upload.");
        }
    }
    throw std::runtime_error("PCB retry limit exceeded. Do not run a partial upload.");
}

bool isInUploadMode(const Send& send) {
    const Response response = send(Command::UploadModeCheck, {});
    require(response == Response::InUploadMode || response == Response::NotInUploadMode,
            "Unexpected upload-mode response.");
    return response == Response::InUploadMode;
}

} // namespace

UploadPlan prepareUpload(const ChipDocument& document) {
    requireFields(document);
    const Bytes code = compiledCode(document);
    const auto codeLength = static_cast<std::uint32_t>(code.size());
    UploadPlan plan{document.name, codeLength, {}};
    plan.packets.push_back({Command::UploadMetadata, metadataBlock(document, codeLength)});
    plan.packets.push_back({Command::UploadStringsStart, {}});
    addChunks(plan, Command::UploadStringChunk, stringBlock(document));
    plan.packets.push_back({Command::UploadStringsDone, {}});
    plan.packets.push_back({Command::UploadCodeLength, u16Bytes(codeLength)});
    addChunks(plan, Command::UploadCodeChunk, code);
    return plan;
}

bool executeUpload(const UploadPlan& plan, const Send& send, const UploadProgress& progress) {
    if (!isInUploadMode(send)) {
        return false;
    }
    std::uint64_t acknowledged = 0;
    for (const UploadPacket& packet : plan.packets) {
        sendUploadPacket(packet, send);
        ++acknowledged;
        if (progress) {
            progress(acknowledged, plan.packets.size());
        }
    }
    return true;
}

void saveUploaded(const Send& send) {
    require(isDone(send(Command::PermanentSave, {})),
            "Permanent save was not acknowledged. Inspect device storage before retrying.");
}

} // namespace pivex
