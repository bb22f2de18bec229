#pragma once

#include "base/Bytes.h"
#include "device/DeviceRecords.h"

#include <QString>

#include <functional>

class QWidget;

namespace pivex {

/// What the Settings window asks of the program that opens it. Without `connected` and `ready`
/// every request stays disabled; without `request` it does nothing. The callbacks only queue work;
/// results come through the entry points.
struct LinuxSettingsHooks {
    std::function<bool()> connected;
    std::function<bool()> ready; ///< the board is connected and idle
    std::function<void(Bytes)> request;
};

/// Opens the Settings window as a child window of `parent`; it deletes itself when closed.
QWidget* openLinuxSettingsWindow(QWidget* parent, LinuxSettingsHooks hooks,
                                 const FontSlots& slotInfo);

/// Hands over the settings that the board confirmed. Here and below a null window is ignored.
void receivedLinuxSettings(QWidget* window, const DeviceSettings& settings);

/// Tells `window` the board's font slots and state. `unfreeze` makes the settings unknown until
/// they are read again; an empty message changes nothing.
void updateLinuxSettingsWindow(QWidget* window, const FontSlots& slotInfo, const QString& message,
                               bool unfreeze);

} // namespace pivex
