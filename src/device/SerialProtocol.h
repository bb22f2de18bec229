#pragma once

#include "base/Bytes.h"

#include <optional>

namespace pivex {

/// Most bytes that may arrive without a delimiter before a frame counts as over-long.
inline constexpr std::size_t maxFrameBytes = 4096;

/// The wire frame of one packet: command (or response code), sequence, payload and CRC-8/SMBUS,
/// COBS-encoded, closed by one 0x00. Any payload size.
Bytes encodePacket(std::uint8_t command, std::uint8_t sequence, const Bytes& payload);

/// Decodes `frame`, given without its delimiter, into code, sequence and payload. Returns false
/// and leaves `out` empty when the stuffing or the check byte is wrong.
bool decodePacket(const Bytes& frame, Bytes& out);

/// Cuts the received bytes of one connection into packets.
class FrameReceiver {
public:
    /// Takes the next byte and gives the packet that it completes, if that one carries `sequence`.
    /// Any other frame is dropped: stale answers and line noise are skipped. Throws
    /// std::runtime_error for more than `maxFrameBytes` without a delimiter.
    std::optional<Bytes> take(std::uint8_t byte, std::uint8_t sequence);

private:
    Bytes frame; ///< what arrived since the last delimiter
};

} // namespace pivex
