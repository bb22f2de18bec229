#include "app/StoredChipItem.h"

#include "tools/DisplayText.h"

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int nameRole = Qt::UserRole + 1;

} // namespace

QListWidgetItem* makeStoredChipItem(const StoredChipItem& chip, QListWidget* list) {
    const QString number = QString::number(chip.index + 1).rightJustified(3, u'0');
    auto* item = new QListWidgetItem(u"%1  %2"_s.arg(number, oneLine(chip.name)), list);
    item->setData(Qt::UserRole, chip.index);
    item->setData(nameRole, chip.name);
    return item;
}

StoredChipItem chipOf(const QListWidgetItem& item) {
    return {.index = item.data(Qt::UserRole).toInt(), .name = item.data(nameRole).toString()};
}

} // namespace pivex
