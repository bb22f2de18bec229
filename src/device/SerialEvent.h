#pragma once

#include "device/DeviceRecords.h"
#include "model/ChipDocument.h"
#include "tools/ImageDocument.h"

#include <string>

namespace pivex {

/// What the worker reports. A large value: it is moved into and out of the queue, never copied.
struct SerialEvent {
    enum class Kind {
        Status = 0,
        Connected = 1,
        ChipListed = 2,
        ChipListDone = 3,
        Failed = 4,
        ChipLoaded = 5,
        UploadDone = 6,
        UploadModeMissing = 7,
        StorageChanged = 8,
        BatchDone = 9,
        ChipListStarted = 10,
        FontSlotLoaded = 11,
        FontSlotsDone = 12,
        ImageSlotsLoaded = 13,
        ImageLoaded = 14,
        ImageDeleted = 15,
        ImageSlotsDone = 16,
        SettingsLoaded = 17,
    };

    Kind kind = Kind::Status;
    std::string text;        ///< UTF-8; what the output pane shows, may be empty
    ChipDocument chip;       ///< ChipLoaded
    int index = 0;           ///< stored test, font slot or image slot, as the kind says
    FontSlot font;           ///< FontSlotLoaded
    ImageSlots images;       ///< ImageSlotsLoaded
    ImageDocument image;     ///< ImageLoaded
    DeviceSettings settings; ///< SettingsLoaded
};

} // namespace pivex
