#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pivex {

/// A byte buffer: bytecode, payloads, frames, run lengths.
using Bytes = std::vector<std::uint8_t>;

/// The unsigned 16-bit little-endian number at offset `at`; both bytes must exist.
constexpr std::uint16_t u16At(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

/// The unsigned 32-bit little-endian number at offset `at`; all four bytes must exist.
constexpr std::uint32_t u32At(std::span<const std::uint8_t> bytes, std::size_t at) {
    return u16At(bytes, at) | static_cast<std::uint32_t>(u16At(bytes, at + 2)) << 16;
}

/// Overwrites two bytes at offset `at` with `value`, little-endian; both bytes must exist.
constexpr void putU16(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t value) {
    bytes[at] = static_cast<std::uint8_t>(value);
    bytes[at + 1] = static_cast<std::uint8_t>(value >> 8);
}

/// Overwrites four bytes at offset `at` with `value`, little-endian; all four bytes must exist.
constexpr void putU32(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t value) {
    putU16(bytes, at, value);
    putU16(bytes, at + 2, value >> 16);
}

/// `value` as two little-endian bytes; higher bits are dropped.
inline Bytes u16Bytes(std::uint32_t value) {
    Bytes bytes(2);
    putU16(bytes, 0, value);
    return bytes;
}

} // namespace pivex
