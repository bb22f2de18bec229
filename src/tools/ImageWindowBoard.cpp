#include "tools/DisplayText.h"
#include "tools/ImageWindowPrivate.h"
#include "tools/MessageBoxes.h"

#include <QLabel>
#include <QListWidget>

#include <stdexcept>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

QString slotRow(int slot, const ImageSlot& info) {
    const QString number = QString::number(slot).rightJustified(3, u'0');
    const QString content = !info.read          ? u"[NOT READ]"_s
                            : info.name.empty() ? u"[EMPTY]"_s
                                                : oneLine(QString::fromStdString(info.name));
    return u"%1  %2"_s.arg(number, content);
}

bool isDeletable(int slot) {
    return slot >= firstDeletableImageSlot && slot <= imageSlotCount;
}

} // namespace

void ImageWindow::state(const ImageSlots& slotInfo, const QString& message, bool unfreeze) {
    boardSlots = slotInfo;
    if (unfreeze) {
        awaitingDownload = false;
    }
    if (!message.isEmpty()) {
        statusLabel->setText(message);
    }
    showSlots();
    controls();
}

void ImageWindow::loaded(ImageDocument image) {
    if (!std::exchange(awaitingDownload, false)) {
        return;
    }
    adopt(std::move(image), {}, true);
    statusLabel->setText(u"Image loaded from PCB. Save As to keep a local copy."_s);
}

void ImageWindow::deleted(int slot) {
    if (!isDeletable(slot)) {
        return;
    }
    boardSlots[static_cast<std::size_t>(slot - 1)] = {.read = true, .name = {}};
    statusLabel->setText(u"Image deleted from slot %1."_s.arg(slot));
    showSlots();
    controls();
}

void ImageWindow::showSlots() {
    for (int row = 0; row < imageSlotCount; ++row) {
        QListWidgetItem* item = slotList->item(row);
        const QString text = slotRow(row + 1, boardSlots[static_cast<std::size_t>(row)]);
        if (item->text() != text) {
            item->setText(text);
        }
    }
}

const ImageSlot& ImageWindow::selected() const {
    return boardSlots[static_cast<std::size_t>(selectedSlot - 1)];
}

void ImageWindow::selectSlot(int row) {
    if (row >= 0) {
        selectedSlot = row + 1;
        controls();
    }
}

void ImageWindow::refreshPCB() {
    if (isReady() && hooks.refresh) {
        hooks.refresh();
    }
}

void ImageWindow::loadPCB() {
    const int slot = selectedSlot;
    const ImageSlot before = selected();
    if (!isReady() || awaitingDownload || !before.read || before.name.empty() || !hooks.load ||
        !discard()) {
        return;
    }
    // The board may have changed while the question was open.
    if (!isReady() || selectedSlot != slot || selected() != before) {
        return;
    }
    awaitingDownload = true;
    controls();
    statusLabel->setText(u"Loading image from PCB…"_s);
    hooks.load(slot);
}

void ImageWindow::writePCB() {
    if (!isEditable() || !isReady() || !hooks.save) {
        return;
    }
    canvas->finish();
    resizeImage();
    const int slot = selectedSlot;
    if (!selected().name.empty() && !confirmReplacement()) {
        return;
    }
    if (!isEditable() || !isReady() || selectedSlot != slot) {
        return;
    }
    try {
        hooks.save(imageUploadPlan(drawing->document, slot));
    } catch (const std::runtime_error& error) {
        warnOf(error);
        return;
    }
    statusLabel->setText(u"Saving image to slot %1…"_s.arg(slot));
    controls();
}

bool ImageWindow::confirmReplacement() {
    const auto answer =
        ask(this, QMessageBox::Warning, u"Replace Image in Slot %1?"_s.arg(selectedSlot),
            u"This slot already contains an image. Its current image data and name will be "
            u"replaced."_s,
            QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
    return answer == QMessageBox::Yes;
}

void ImageWindow::deletePCB() {
    const int slot = selectedSlot;
    if (!isReady() || awaitingDownload || !isDeletable(slot) || selected().name.empty() ||
        !hooks.remove) {
        return;
    }
    const bool confirmed = confirmDestructive(
        this, u"Delete Image from Slot %1?"_s.arg(slot),
        u"This empties only the selected slot. Other image numbers will not change."_s,
        u"Delete"_s);
    if (!confirmed || !isReady() || selectedSlot != slot) {
        return;
    }
    hooks.remove(slot);
    statusLabel->setText(u"Deleting image from slot %1…"_s.arg(slot));
    controls();
}

} // namespace pivex
