#pragma once

#include <QListWidgetItem>
#include <QString>

namespace pivex {

/// What a row of the stored-test list stands for.
struct StoredChipItem {
    int index = 0; ///< position on the board, from 0
    QString name;  ///< as the board gave it; the row shows it on one line

    bool operator==(const StoredChipItem&) const = default;
};

/// Makes the row for `chip`; the list takes it over.
QListWidgetItem* makeStoredChipItem(const StoredChipItem& chip, QListWidget* list);

/// What `item`, a row of the stored-test list, stands for.
StoredChipItem chipOf(const QListWidgetItem& item);

} // namespace pivex
