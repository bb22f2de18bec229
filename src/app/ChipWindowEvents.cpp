#include "app/ChipWindow.h"
#include "app/StoredChipItem.h"
#include "tools/DisplayText.h"
#include "tools/WidgetParts.h"

#include <QApplication>
#include <QLabel>
#include <QListWidget>

namespace pivex {

using namespace Qt::Literals::StringLiterals;

void ChipWindow::serialEvents() {
    for (SerialEvent& event : connection.poll()) {
        handle(event);
    }
    deviceControls();
    startPendingRead();
}

void ChipWindow::handle(SerialEvent& event) {
    using Handler = void (ChipWindow::*)(SerialEvent&);
    // In the order of SerialEvent::Kind.
    static constexpr std::array<Handler, 18> handlers{
        &ChipWindow::onStatus,          &ChipWindow::onConnected,
        &ChipWindow::onChipListed,      &ChipWindow::onChipListDone,
        &ChipWindow::onFailed,          &ChipWindow::onChipLoaded,
        &ChipWindow::onUploadDone,      &ChipWindow::onUploadModeMissing,
        &ChipWindow::onStorageChanged,
        &ChipWindow::onStorageChanged, // BatchDone
        &ChipWindow::onChipListStarted, &ChipWindow::onFontSlotLoaded,
        &ChipWindow::onFontSlotsDone,   &ChipWindow::onImageSlotsLoaded,
        &ChipWindow::onImageLoaded,     &ChipWindow::onImageDeleted,
        &ChipWindow::onImageSlotsDone,  &ChipWindow::onSettingsLoaded,
    };
    static_assert(static_cast<int>(SerialEvent::Kind::SettingsLoaded) == handlers.size() - 1);
    (this->*handlers.at(static_cast<std::size_t>(event.kind)))(event);
}

void ChipWindow::report(const SerialEvent& event) {
    report(QString::fromStdString(event.text));
}

void ChipWindow::onStatus(SerialEvent& event) {
    report(event);
    passStatus(QString::fromStdString(event.text));
}

void ChipWindow::onConnected(SerialEvent& event) {
    connected = true;
    link.status->setText(u"Connected: "_s + oneLine(QString::fromStdString(event.text)));
}

void ChipWindow::onChipListed(SerialEvent& event) {
    makeStoredChipItem({.index = event.index, .name = QString::fromStdString(event.text)},
                       stored.list);
}

void ChipWindow::onChipListDone(SerialEvent& event) {
    storing = false;
    deleting = false;
    busy = false;
    report(event);
}

void ChipWindow::onFailed(SerialEvent& event) {
    const QString reason = QString::fromStdString(event.text);
    clearSettingsState(reason);
    clearImageState(reason);
    clearFontState(reason);
    saveAllowed = false;
    dropLink();
    report(reason);
}

void ChipWindow::onChipLoaded(SerialEvent& event) {
    busy = false;
    // What an open dialog is about must not change under it.
    if (revision != readRevision || QApplication::activeModalWidget() != nullptr) {
        report(u"Read finished, but the editor changed meanwhile. Your changes were kept; use Load "
               "Selected again."_s);
        return;
    }
    populate(event.chip, {});
    dirty = true;
    title();
    report(event);
}

void ChipWindow::onUploadDone(SerialEvent& event) {
    busy = false;
    uploading = false;
    saveAllowed = revision == sentRevision;
    const QString stale =
        u"\nThe editor changed during transfer; those newer edits were NOT sent."_s;
    report(QString::fromStdString(event.text) + (saveAllowed ? QString() : stale));
}

void ChipWindow::onUploadModeMissing(SerialEvent& event) {
    busy = false;
    saveAllowed = false;
    storing = false;
    uploading = false;
    report(event);
}

void ChipWindow::onStorageChanged(SerialEvent& event) {
    saveAllowed = false;
    report(event);
}

void ChipWindow::onChipListStarted(SerialEvent& event) {
    busy = true;
    clearRows(stored.list);
    report(event);
}

} // namespace pivex
