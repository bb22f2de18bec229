#pragma once

#include "device/DeviceCommands.h"
#include "tools/ImageDocument.h"

#include <vector>

namespace pivex {

/// One command of an image plan.
struct ImagePacket {
    Command command{};
    Bytes payload;
    bool commit = false; ///< makes the board commit what came before; never sent twice

    bool operator==(const ImagePacket&) const = default;
};

/// The commands that store `image` in slot `slot` (1 to 239), in sending order. Throws
/// std::runtime_error with the sentence to show; checked in this order: slot, size, name, the
/// board's 4096 bytes, pixels against run lengths.
std::vector<ImagePacket> imageUploadPlan(const ImageDocument& image, std::int32_t slot);

} // namespace pivex
