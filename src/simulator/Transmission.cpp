#include "simulator/Transmission.h"

#include "device/DeviceRecords.h"
#include "device/SerialProtocol.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace pivex {

namespace {

/// A group code that promises more bytes than any noise frame has, so that none decodes.
constexpr std::uint8_t noiseByte = 0xFE;
constexpr std::size_t noiseFrame = 64;
constexpr std::size_t oversizedBytes = 5000;
constexpr std::size_t tooManyBytes = 70;

/// The byte of `answer` that repeats something of `request`, or its end.
Bytes::iterator echoIn(const BoardRequest& request, Bytes& answer) {
    if (request.command == Command::ImageChunk || request.command == Command::FontSlotRead) {
        return answer.begin();
    }
    if (request.command == Command::Settings && request.payload.size() == 3) {
        const auto rule =
            std::ranges::find(settingRules, request.payload[1], &SettingRule::setting);
        if (rule != settingRules.end() && rule->recordByte < answer.size()) {
            return answer.begin() + static_cast<std::ptrdiff_t>(rule->recordByte);
        }
    }
    return answer.end();
}

/// `answer` with what the fault's kind does to code and payload.
BoardAnswer spoiled(const BoardRequest& request, BoardAnswer answer, const Fault& fault) {
    switch (fault.kind) {
    case FaultKind::Busy:
        return {Response::Busy};
    case FaultKind::Refuse:
        return {fault.code};
    case FaultKind::Replace:
        return {fault.code, fault.payload};
    case FaultKind::Short:
        return {answer.code};
    case FaultKind::TooLong:
        answer.payload.insert(answer.payload.end(), tooManyBytes, 'x');
        return answer;
    case FaultKind::WrongEcho:
        if (const auto echo = echoIn(request, answer.payload); echo != answer.payload.end()) {
            *echo ^= 1;
        }
        return answer;
    default:
        return answer;
    }
}

Bytes frameOf(const BoardAnswer& answer, std::uint8_t sequence) {
    return encodePacket(static_cast<std::uint8_t>(answer.code), sequence, answer.payload);
}

/// `frame` with its check byte one higher (or one lower), never a delimiter.
Bytes withWrongCheck(Bytes frame) {
    std::uint8_t& check = frame[frame.size() - 2];
    check = check == 0xFF ? 0xFE : static_cast<std::uint8_t>(check + 1);
    return frame;
}

std::vector<Bytes> singleBytes(const Bytes& frame) {
    std::vector<Bytes> writes;
    std::ranges::transform(frame, std::back_inserter(writes),
                           [](std::uint8_t byte) { return Bytes{byte}; });
    return writes;
}

Bytes gluedToNoise(const Bytes& frame) {
    Bytes glued = lineNoise(noiseFrame / 4);
    glued.insert(glued.end(), frame.begin(), frame.end());
    const Bytes behind = lineNoise(noiseFrame / 8);
    glued.insert(glued.end(), behind.begin(), behind.end());
    return glued;
}

Bytes oversized() {
    Bytes bytes(oversizedBytes, noiseByte);
    // Without this the answer to the next request would be part of the same frame.
    bytes.push_back(0);
    return bytes;
}

} // namespace

bool isLeftUndone(FaultKind kind) {
    return kind == FaultKind::Busy || kind == FaultKind::Refuse;
}

Transmission transmissionOf(const BoardRequest& request, BoardAnswer answer,
                            const std::optional<Fault>& fault) {
    if (!fault) {
        return {.writes = {frameOf(answer, request.sequence)}};
    }
    answer = spoiled(request, std::move(answer), *fault);
    const Bytes frame = frameOf(answer, request.sequence);
    switch (fault->kind) {
    case FaultKind::Silent:
        return {};
    case FaultKind::HangUp:
        return {.hangUp = true};
    case FaultKind::Late:
        return {.delay = fault->delay, .writes = {frame}};
    case FaultKind::Stale: {
        const auto before = static_cast<std::uint8_t>(request.sequence - 1);
        return {.writes = {frameOf(answer, before), frame}};
    }
    case FaultKind::Corrupt:
        return {.writes = {withWrongCheck(frame)}};
    case FaultKind::Split:
        return {.writes = singleBytes(frame)};
    case FaultKind::Glued:
        return {.writes = {gluedToNoise(frame)}};
    case FaultKind::Oversized:
        return {.writes = {oversized()}};
    default:
        return {.writes = {frame}};
    }
}

Bytes lineNoise(std::size_t size) {
    Bytes noise(size, noiseByte);
    for (std::size_t end = noiseFrame; end < size; end += noiseFrame) {
        noise[end - 1] = 0;
    }
    noise.back() = 0;
    return noise;
}

} // namespace pivex
