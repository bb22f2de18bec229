#include "Fuzz.h"
#include "device/SerialProtocol.h"

namespace pivex::fuzzing {

namespace {

/// A frame that came in: whatever is taken for a packet would be sent in the same bytes.
void checkArrived(const Bytes& frame) {
    Bytes packet{1};
    if (!decodePacket(frame, packet)) {
        hold(packet.empty(), "a damaged frame gives nothing");
        return;
    }
    hold(packet.size() >= 2, "a packet has a code and a sequence number");
    Bytes again = encodePacket(packet[0], packet[1], {packet.begin() + 2, packet.end()});
    again.pop_back();
    if (again.size() > frame.size()) {
        // A frame may leave out the empty group that follows a full one at the end.
        hold(again.back() == 1, "nothing but an empty group may be missing");
        again.pop_back();
    }
    hold(again == frame, "the packet of a frame makes that frame");
}

/// CRC-8/SMBUS, bit by bit.
std::uint8_t crcOf(const Bytes& packet) {
    unsigned crc = 0;
    for (const std::uint8_t byte : packet) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1 ^ (crc >> 7) * 0x07U) & 0xFF;
        }
    }
    return static_cast<std::uint8_t>(crc);
}

/// The packet and its check byte in one group, zeros and all, however short it is.
void checkUnstuffed(const Bytes& packet) {
    if (packet.size() > 252) {
        return;
    }
    Bytes frame(packet.size() + 2, crcOf(packet));
    frame.front() = static_cast<std::uint8_t>(frame.size());
    std::ranges::copy(packet, frame.begin() + 1);
    const bool isSound = packet.size() >= 2 && std::ranges::find(frame, 0) == frame.end();
    Bytes arrived;
    hold(decodePacket(frame, arrived) == isSound, "a frame holds no 0 and at least two bytes");
    hold(arrived == (isSound ? packet : Bytes{}), "what arrives is the packet");
}

/// Whether the byte at `at` of a sound frame is one of the packet's, not a group's length.
bool isData(const Bytes& frame, std::size_t at) {
    std::size_t group = 0;
    while (group + frame[group] <= at) {
        group += frame[group];
    }
    return at != group;
}

/// `frame` with the byte at `at` changed to any other but 0, if that byte is the packet's.
void checkDamaged(Bytes frame, std::size_t at, std::uint8_t change) {
    if (!isData(frame, at) || change == 0 || frame[at] == change) {
        return;
    }
    frame[at] ^= change;
    Bytes packet;
    hold(!decodePacket(frame, packet) && packet.empty(), "a changed byte is noticed");
}

/// Bytes of noise, closed by a delimiter, and then a frame: it arrives with its last byte.
void checkReceived(const Bytes& noise, const Bytes& frame, const Bytes& packet) {
    FrameReceiver receiver;
    for (const std::uint8_t byte : noise) {
        const auto stale = receiver.take(byte, packet[1]);
        hold(!stale || (*stale)[1] == packet[1], "only the wanted answer arrives");
    }
    receiver.take(0, packet[1]);
    for (const std::uint8_t byte : frame) {
        hold(!receiver.take(byte, packet[1]), "no answer before its delimiter");
    }
    hold(receiver.take(0, packet[1]) == packet, "noise does not swallow the next answer");
}

} // namespace

void fuzzOne(Input input) {
    const std::size_t place = input.byte();
    const std::uint8_t change = input.byte();
    const Bytes bytes = input.bytes(std::size_t{2} * maxFrameBytes);
    checkArrived(bytes);
    checkUnstuffed(bytes);
    if (bytes.size() < 2 || bytes.size() > maxFrameBytes) {
        return;
    }
    Bytes frame = encodePacket(bytes[0], bytes[1], {bytes.begin() + 2, bytes.end()});
    hold(std::ranges::find(frame, 0) == frame.end() - 1, "only the delimiter is 0");
    hold(frame.size() <= bytes.size() + (bytes.size() + 1) / 254 + 3, "a frame is hardly longer");
    frame.pop_back();
    Bytes packet;
    hold(decodePacket(frame, packet) && packet == bytes, "a packet arrives as it was sent");
    checkDamaged(frame, place % frame.size(), change);
    if (frame.size() < maxFrameBytes) {
        checkReceived(bytes, frame, packet);
    }
}

} // namespace pivex::fuzzing
