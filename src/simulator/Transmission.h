#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"
#include "simulator/BoardFault.h"
#include "simulator/BoardModel.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace pivex {

/// One request as it came over the line.
struct BoardRequest {
    Command command = Command::Identify; ///< may be a code that no command has
    Bytes payload{};
    std::uint8_t sequence = 0;

    bool operator==(const BoardRequest&) const = default;
};

/// What the board puts on the line in answer to one request.
struct Transmission {
    std::chrono::milliseconds delay{0}; ///< before the first write
    std::vector<Bytes> writes{};        ///< each a write of its own, with a small pause between
    bool hangUp = false;                ///< the line is closed instead
};

/// Whether the board leaves a request undone when this fault hits it.
bool isLeftUndone(FaultKind kind);

/// How `answer` to `request` goes out: properly without a fault, else as the fault's kind says.
Transmission transmissionOf(const BoardRequest& request, BoardAnswer answer,
                            const std::optional<Fault>& fault);

/// `size` bytes (at least 1) of noise: delimited frames that do not decode.
Bytes lineNoise(std::size_t size);

} // namespace pivex
