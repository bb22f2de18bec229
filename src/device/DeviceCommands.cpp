#include "device/DeviceCommands.h"

#include <algorithm>

namespace pivex {

namespace {

/// The two accepting answers of image and font commands differ in this bit only.
constexpr unsigned toolCodeMask = 0xFD;

} // namespace

bool isCommand(std::uint8_t code) {
    return std::ranges::binary_search(commandSet, static_cast<Command>(code));
}

Acknowledgement uploadAcknowledgement(Response response) {
    if (response == Response::Busy) {
        return Acknowledgement::Busy;
    }
    return response == Response::Acknowledged ? Acknowledgement::Accepted
                                              : Acknowledgement::Refused;
}

Acknowledgement toolAcknowledgement(Response response) {
    if (response == Response::Busy) {
        return Acknowledgement::Busy;
    }
    const unsigned masked = static_cast<unsigned>(response) & toolCodeMask;
    return masked == static_cast<unsigned>(Response::ToolAccepted) ? Acknowledgement::Accepted
                                                                   : Acknowledgement::Refused;
}

bool isDone(Response response) {
    return response == Response::Acknowledged;
}

} // namespace pivex
