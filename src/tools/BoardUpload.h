#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

namespace pivex {

/// Longest image or font name that the board takes, in bytes; its field has one more for the NUL.
inline constexpr std::size_t maxBoardNameBytes = 31;

/// Size of the block that describes an image or a font to the board.
inline constexpr std::size_t boardMetadataBytes = 128;

/// Offset of the name in that block.
inline constexpr std::size_t boardNameOffset = 2;

/// Most bytes of metadata or data in one packet.
inline constexpr std::size_t boardChunkBytes = 48;

/// Whether `name` is short enough for the board and without line feed, carriage return and NUL.
/// An empty name passes.
constexpr bool fitsBoardName(std::string_view name) {
    constexpr std::string_view refused("\n\r\0", 3);
    return name.size() <= maxBoardNameBytes &&
           name.find_first_of(refused) == std::string_view::npos;
}

/// A metadata block that holds `name`, which must fit, and zeros otherwise.
inline Bytes boardMetadata(std::string_view name) {
    Bytes metadata(boardMetadataBytes, 0);
    std::ranges::copy(name, metadata.begin() + boardNameOffset);
    return metadata;
}

/// Appends packets of `command` that carry `bytes` in consecutive pieces.
template<typename Packet>
void appendChunks(std::vector<Packet>& plan, Command command, std::span<const std::uint8_t> bytes) {
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(boardChunkBytes, bytes.size()))) {
        const auto piece = bytes.first(std::min(boardChunkBytes, bytes.size()));
        plan.push_back({command, Bytes(piece.begin(), piece.end()), false});
    }
}

} // namespace pivex
