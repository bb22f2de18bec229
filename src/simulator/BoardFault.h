#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

namespace pivex {

/// The code with which the board refuses what is out of order, out of range or malformed.
inline constexpr Response refusedResponse{0xB4};

/// The ways in which the board can misbehave. Only `Busy` and `Refuse` leave the request undone;
/// at every other one the board carries it out first and then answers badly or not at all.
enum class FaultKind {
    Busy,      ///< answers 0xB1
    Refuse,    ///< answers `Fault::code`
    Silent,    ///< answers nothing
    Late,      ///< answers after `Fault::delay`, and serves nothing meanwhile
    Stale,     ///< answers with the sequence number before, then properly
    Corrupt,   ///< answers with a wrong check byte
    Split,     ///< answers properly, every byte a write of its own
    Glued,     ///< answers properly between noise, which is closed by delimiters
    Oversized, ///< sends 5,000 bytes without a delimiter, then one
    WrongEcho, ///< answers with a wrong slot, offset or written setting
    Short,     ///< answers without payload
    TooLong,   ///< answers with 70 bytes more payload
    HangUp,    ///< closes the line without an answer; it stays closed
    Flood,     ///< answers properly, and from then on sends noise whenever it is idle
    Replace,   ///< answers `Fault::code` and `Fault::payload` instead
};

/// One order to misbehave.
struct Fault {
    std::optional<Command> command{}; ///< whose requests are counted; empty counts all requests
    std::size_t packet = 1;           ///< the first request hit, 1 being the next one to come
    FaultKind kind = FaultKind::Silent;
    std::size_t count = 1;                 ///< so many requests in a row are hit
    Response code = refusedResponse;       ///< for `Refuse` and `Replace`
    Bytes payload{};                       ///< for `Replace`
    std::chrono::milliseconds delay{4000}; ///< for `Late`
};

/// The name of `command` as the command set has it; "unknown" for any other code.
std::string_view commandName(Command command);

/// The fault that `text` describes: COMMAND:PACKET:KIND or COMMAND:PACKET:KIND:COUNT, with the
/// names of `Command` and `FaultKind` (but `Replace`) and numbers from 1. Throws std::runtime_error
/// otherwise.
Fault parseFault(std::string_view text);

} // namespace pivex
