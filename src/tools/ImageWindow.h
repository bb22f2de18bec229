#pragma once

#include "device/DeviceRecords.h"
#include "tools/ImageDocument.h"
#include "tools/ImageUploadPlan.h"

#include <QString>

#include <functional>
#include <vector>

class QWidget;

namespace pivex {

/// What the Image Manager asks of the program that opens it. Without `ready` every board action
/// stays disabled; an action whose callback is empty does nothing. The callbacks only queue work;
/// results come through the entry points.
struct LinuxImageHooks {
    std::function<bool()> ready; ///< the board is connected and idle
    std::function<void()> refresh;
    std::function<void(int)> load;
    std::function<void(std::vector<ImagePacket>)> save;
    std::function<void(int)> remove;
};

/// Opens the Image Manager as a child window of `parent`; it deletes itself when closed.
QWidget* openLinuxImageWindow(QWidget* parent, LinuxImageHooks hooks, const ImageSlots& slotInfo);

/// Tells `window` the board's slots and state. `unfreeze` releases an outstanding download; an
/// empty message changes nothing. Here and below a null window is ignored.
void updateLinuxImageWindow(QWidget* window, const ImageSlots& slotInfo, const QString& message,
                            bool unfreeze);

/// Hands over a downloaded image; ignored unless the window asked for one.
void loadedLinuxImageWindow(QWidget* window, ImageDocument image);

/// Tells that slot `slot` was emptied; ignored outside 15 to 239.
void deletedLinuxImageWindow(QWidget* window, int slot);

} // namespace pivex
