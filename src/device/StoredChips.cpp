#include "device/StoredChips.h"

#include "device/Failures.h"
#include "language/ChipCompiler.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <utility>

namespace pivex {

namespace {

/// Asks for the next piece of what the last request with an index began.
const Bytes continuation{0xAA, 0xAA};

/// Every answer begins with code and sequence.
constexpr std::size_t answerHeaderBytes = 2;

/// An answer that carries one u16.
constexpr std::size_t numberAnswerBytes = 4;

/// Stored metadata record: magic, name, type (u16), pins, image index, code length (u16).
constexpr std::size_t minMetadataBytes = 128;
constexpr std::size_t nameAt = 2;
constexpr std::size_t typeAt = 34;
constexpr std::size_t pinsAt = 36;
constexpr std::size_t imageIndexAt = 37;
constexpr std::size_t codeLengthAt = 38;

/// One string cell of 64 bytes behind code and sequence.
constexpr std::size_t maxStringAnswerBytes = 66;

constexpr int maxChipIndex = 0xFFFF;

bool isChipIndex(int index) {
    return index >= 0 && index <= maxChipIndex;
}

Bytes indexBytes(int index) {
    return u16Bytes(static_cast<std::uint32_t>(index));
}

std::span<const std::uint8_t> payloadOf(const Bytes& answer) {
    return std::span(answer).subspan(answerHeaderBytes);
}

/// Appends the next piece, at most until `bytes` has `limit` bytes.
void appendContinuation(Bytes& bytes, std::size_t limit, std::span<const std::uint8_t> piece) {
    const auto wanted = piece.first(std::min(piece.size(), limit - bytes.size()));
    bytes.insert(bytes.end(), wanted.begin(), wanted.end());
}

Bytes readMetadata(int index, const Query& query) {
    const auto read = [&](const Bytes& payload) {
        return query(Command::ReadChipMetadata, Response::ChipMetadata, payload);
    };
    const Bytes first = read(indexBytes(index));
    Bytes metadata(first.begin() + answerHeaderBytes, first.end());
    while (metadata.size() < minMetadataBytes) {
        const Bytes answer = read(continuation);
        require(answer.size() > answerHeaderBytes, "Empty metadata continuation.");
        appendContinuation(metadata, minMetadataBytes, payloadOf(answer));
    }
    require(metadata[0] == 0x5A && metadata[1] == 0xA5, "Invalid chip metadata.");
    return metadata;
}

/// The stored code without the padding behind its first `logicalLength` bytes.
Bytes readCode(int index, std::size_t logicalLength, const Query& query) {
    const auto read = [&](const Bytes& payload) {
        return query(Command::ReadChipCode, Response::ChipCode, payload);
    };
    const Bytes lengthAnswer = read(indexBytes(index));
    require(lengthAnswer.size() == numberAnswerBytes, "Invalid code length response.");
    const std::size_t physicalLength = u16At(lengthAnswer, answerHeaderBytes);
    require(physicalLength >= logicalLength && logicalLength % instructionSize == 0,
            "Invalid logical code length in metadata.");
    Bytes code;
    while (code.size() < physicalLength) {
        const Bytes answer = read(continuation);
        require(answer.size() > answerHeaderBytes, "Empty code continuation.");
        appendContinuation(code, physicalLength, payloadOf(answer));
    }
    code.erase(code.begin() + static_cast<std::ptrdiff_t>(logicalLength), code.end());
    return code;
}

std::string readString(int index, std::size_t number, const Query& query) {
    Bytes payload = indexBytes(index);
    payload.push_back(static_cast<std::uint8_t>(number));
    const Bytes answer = query(Command::ReadChipString, Response::ChipString, payload);
    require(answer.size() <= maxStringAnswerBytes, "Oversized chip string response.");
    return linux_read::text(answer);
}

void requireDeletion(Response response) {
    require(isDone(response), "PCB did not acknowledge deletion.");
}

} // namespace

namespace linux_read {

std::string text(const Bytes& response, std::size_t start, std::size_t end) {
    const std::size_t limit = std::min(end, response.size());
    if (limit <= start) {
        return {};
    }
    const auto range = std::span(response).subspan(start, limit - start);
    return {range.begin(), std::ranges::find(range, 0)};
}

ChipDocument readChip(int index, const Query& query) {
    require(isChipIndex(index), "Invalid PCB chip index.");
    const Bytes metadata = readMetadata(index, query);
    ChipDocument document;
    document.name = text(metadata, nameAt, typeAt);
    document.type = u16At(metadata, typeAt);
    document.pins = metadata[pinsAt];
    document.imageIndex = metadata[imageIndexAt];
    document.code = decompileChip(readCode(index, u16At(metadata, codeLengthAt), query));
    for (std::size_t number = 0; number < document.strings.size(); ++number) {
        document.strings[number] = readString(index, number, query);
    }
    return document;
}

} // namespace linux_read

std::uint16_t listChips(const Query& query, const ChipListed& listed) {
    const Bytes answer = query(Command::ChipCount, Response::ChipCount, {});
    require(answer.size() == numberAnswerBytes, "Invalid chip count response.");
    const std::uint16_t count = u16At(answer, answerHeaderBytes);
    for (int index = 0; index < count; ++index) {
        std::string name =
            linux_read::text(query(Command::ChipName, Response::ChipName, indexBytes(index)));
        if (name.empty()) {
            name = "Unnamed chip " + std::to_string(index + 1);
        }
        listed(index, std::move(name));
    }
    return count;
}

void eraseSelectedChip(int index, const Send& send) {
    require(isChipIndex(index), "Invalid selected chip index.");
    explained(
        "Delete Selected outcome uncertain: ",
        [&] { requireDeletion(send(Command::DeleteSelectedChip, indexBytes(index))); },
        " Reconnect and refresh the PCB list before retrying; deletion may have completed and "
        "slot numbers may have changed.");
}

void eraseAllChips(const Send& send) {
    explained(
        "Delete All Chips outcome uncertain: ",
        [&] { requireDeletion(send(Command::DeleteAllChips, {})); },
        " Reconnect and inspect the PCB list before retrying; deletion may have completed.");
}

} // namespace pivex
