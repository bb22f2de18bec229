#include "tools/FontSlotList.h"

#include "tools/DisplayText.h"
#include "tools/WidgetParts.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

QString fontSlotContent(const FontSlot& slot) {
    if (!slot.read) {
        return u"Not read"_s;
    }
    return slot.name.empty() ? u"Empty"_s : oneLine(QString::fromStdString(slot.name));
}

FontSlotList::FontSlotList(QWidget* parent) : QListWidget(parent) {
    setSpacing(5);
    setMinimumSize(165, 335);
    setMaximumWidth(205);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setStyleSheet(
        u"QListWidget::item { border:1px solid #536067; border-radius:5px; padding:4px; } "
        "QListWidget::item:selected { border:2px solid #328bff; background:#20384c; }"_s);
    constexpr int itemBorders = 12; // border and padding of a selected item, top and bottom
    const int twoLines = 2 * fontMetrics().lineSpacing() + itemBorders;
    for (int row = 0; row < fontSlotCount; ++row) {
        auto* item = new QListWidgetItem(this);
        item->setSizeHint({140, std::max(48, twoLines)});
    }
    setCurrentRow(0);
    markCurrentRow(this);
}

void FontSlotList::showSlots(const FontSlots& fontSlots) {
    for (int row = 0; row < fontSlotCount; ++row) {
        const FontSlot& slot = fontSlots[static_cast<std::size_t>(row)];
        const QString text = u"Slot %1\n%2"_s.arg(QString::number(row), fontSlotContent(slot));
        if (item(row)->text() != text) {
            item(row)->setText(text);
        }
    }
}

} // namespace pivex
