#pragma once

#include "base/Bytes.h"

namespace pivex {

/// Most bytes that may arrive without a delimiter before a frame counts as over-long.
inline constexpr std::size_t maxFrameBytes = 4096;

/// The wire frame of one packet: command (or response code), sequence, payload and CRC-8/SMBUS,
/// COBS-encoded, closed by one 0x00. Any payload size.
Bytes encodePacket(std::uint8_t command, std::uint8_t sequence, const Bytes& payload);

/// Decodes `frame`, given without its delimiter, into code, sequence and payload. Returns false
/// and leaves `out` empty when the stuffing or the check byte is wrong.
bool decodePacket(const Bytes& frame, Bytes& out);

} // namespace pivex
