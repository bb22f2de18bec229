#include "device/SerialProtocol.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace pivex {

namespace {

/// CRC-8/SMBUS: polynomial 0x07, initial value 0, nothing reflected, no final XOR.
constexpr std::uint8_t crcPolynomial = 0x07;

/// A group of this code holds 254 bytes and stands for no 0x00 after them.
constexpr std::uint8_t fullGroup = 0xFF;

/// A packet is at least code, sequence and check byte.
constexpr std::size_t minPacketBytes = 3;

constexpr std::uint8_t crcStep(std::uint8_t crc) {
    for (int bit = 0; bit < 8; ++bit) {
        crc = static_cast<std::uint8_t>((crc << 1) ^ ((crc & 0x80) != 0 ? crcPolynomial : 0));
    }
    return crc;
}

constexpr std::array<std::uint8_t, 256> crcTable = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = crcStep(static_cast<std::uint8_t>(i));
    }
    return table;
}();

std::uint8_t crcOf(std::span<const std::uint8_t> bytes) {
    std::uint8_t crc = 0;
    for (const std::uint8_t byte : bytes) {
        crc = crcTable[crc ^ byte];
    }
    return crc;
}

/// Consistent Overhead Byte Stuffing, without the delimiter.
Bytes stuffed(std::span<const std::uint8_t> packet) {
    Bytes frame{0};
    frame.reserve(packet.size() + packet.size() / 254 + 2);
    std::size_t codeAt = 0;
    std::uint8_t code = 1;
    const auto closeGroup = [&] {
        frame[codeAt] = code;
        codeAt = frame.size();
        frame.push_back(0);
        code = 1;
    };
    for (const std::uint8_t byte : packet) {
        if (byte == 0) {
            closeGroup();
            continue;
        }
        frame.push_back(byte);
        if (++code == fullGroup) {
            closeGroup();
        }
    }
    frame[codeAt] = code;
    return frame;
}

/// Undoes `stuffed`; false for a frame that it cannot have made.
bool unstuff(std::span<const std::uint8_t> frame, Bytes& packet) {
    packet.reserve(frame.size());
    while (!frame.empty()) {
        const std::uint8_t code = frame.front();
        if (code == 0 || code > frame.size()) {
            return false;
        }
        const auto group = frame.subspan(1, code - 1U);
        if (std::ranges::find(group, 0) != group.end()) {
            return false;
        }
        packet.insert(packet.end(), group.begin(), group.end());
        frame = frame.subspan(code);
        if (code != fullGroup && !frame.empty()) {
            packet.push_back(0);
        }
    }
    return true;
}

} // namespace

Bytes encodePacket(std::uint8_t command, std::uint8_t sequence, const Bytes& payload) {
    Bytes packet{command, sequence};
    packet.reserve(payload.size() + minPacketBytes);
    packet.insert(packet.end(), payload.begin(), payload.end());
    packet.push_back(crcOf(packet));
    Bytes frame = stuffed(packet);
    frame.push_back(0);
    return frame;
}

bool decodePacket(const Bytes& frame, Bytes& out) {
    Bytes packet;
    const bool complete = unstuff(frame, packet) && packet.size() >= minPacketBytes &&
                          crcOf(std::span(packet).first(packet.size() - 1)) == packet.back();
    if (complete) {
        packet.pop_back();
    } else {
        packet.clear();
    }
    out = std::move(packet);
    return complete;
}

std::optional<Bytes> FrameReceiver::take(std::uint8_t byte, std::uint8_t sequence) {
    if (byte != 0) {
        frame.push_back(byte);
        if (frame.size() > maxFrameBytes) {
            throw std::runtime_error("Oversized serial frame.");
        }
        return std::nullopt;
    }
    Bytes packet;
    const bool matches = decodePacket(frame, packet) && packet[1] == sequence;
    frame.clear();
    return matches ? std::optional(std::move(packet)) : std::nullopt;
}

} // namespace pivex
