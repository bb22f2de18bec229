#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace pivex {

/// One request: command, the response code that it must bring (or `Response::Any`) and payload.
/// Gives the whole response packet (code, sequence, payload: at least two bytes) or throws.
using Query = std::function<Bytes(Command, Response, const Bytes&)>;

/// One request whose response code is all that matters.
using Send = std::function<Response(Command, const Bytes&)>;

namespace linux_read {

/// The text in bytes `start` up to `end` (clamped to the response) or the first 0x00; empty when
/// the range is.
std::string text(const Bytes& response, std::size_t start = 2,
                 std::size_t end = static_cast<std::size_t>(-1));

} // namespace linux_read

} // namespace pivex
