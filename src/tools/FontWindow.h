#pragma once

#include "device/DeviceRecords.h"
#include "tools/FontUploadPlan.h"

#include <QString>

#include <functional>
#include <vector>

class QWidget;

namespace pivex {

/// What the Font Manager asks of the program that opens it. Without `ready` every board action
/// stays disabled; an action whose callback is empty does nothing. The callbacks only queue work;
/// results come as messages.
struct LinuxFontHooks {
    std::function<bool()> ready; ///< the board is connected and idle
    std::function<void()> refresh;
    std::function<void(std::vector<FontPacket>)> write;
};

/// Opens the Font Manager as a child window of `parent`; it deletes itself when closed.
QWidget* openLinuxFontWindow(QWidget* parent, LinuxFontHooks hooks, const FontSlots& slotInfo);

/// Tells `window` the board's slots and state; an empty message changes nothing. A null window is
/// ignored.
void updateLinuxFontWindow(QWidget* window, const FontSlots& slotInfo, const QString& message);

} // namespace pivex
