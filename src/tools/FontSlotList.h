#pragma once

#include "device/DeviceRecords.h"

#include <QListWidget>
#include <QString>

namespace pivex {

/// What a font slot holds, for display: its font's name, "Empty" or "Not read".
QString fontSlotContent(const FontSlot& slot);

/// The list of the board's six font slots; the first is current to begin with.
class FontSlotList : public QListWidget {
public:
    explicit FontSlotList(QWidget* parent = nullptr);

    /// Writes the rows whose text differs, so that the current row stays.
    void showSlots(const FontSlots& fontSlots);
};

} // namespace pivex
