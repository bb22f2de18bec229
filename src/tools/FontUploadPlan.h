#pragma once

#include "device/DeviceCommands.h"
#include "tools/FontDocument.h"

#include <vector>

namespace pivex {

/// One command of a font plan or of a font deletion.
struct FontPacket {
    Command command{};
    Bytes payload;
    bool commit = false; ///< makes the board commit what came before; never sent twice

    bool operator==(const FontPacket&) const = default;
};

/// The commands that store `font` in slot `slot` (0 to 5), in sending order. Throws
/// std::runtime_error with the sentence to show; checked in this order: slot and dimensions, name,
/// columns against the height.
std::vector<FontPacket> fontUploadPlan(const FontDocument& font, std::int32_t slot);

/// The one command that empties slot `slot` (0 to 5).
std::vector<FontPacket> fontDeletionPlan(std::int32_t slot);

} // namespace pivex
