#include "app/ChipWindow.h"
#include "app/StoredChipItem.h"
#include "device/BatchSave.h"
#include "tools/DisplayText.h"
#include "tools/MessageBoxes.h"
#include "tools/WidgetParts.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include <algorithm>
#include <filesystem>

namespace pivex {

using namespace Qt::Literals::StringLiterals;

bool ChipWindow::ready() const {
    return connected && !busy;
}

void ChipWindow::startOperation(std::initializer_list<bool*> flags) {
    busy = true;
    for (bool* flag : flags) {
        *flag = true;
    }
    deviceControls();
}

void ChipWindow::refreshPorts() {
    offerPorts(SerialConnection::ports());
}

void ChipWindow::offerPorts(const std::vector<std::wstring>& ports) {
    const QString remembered = link.port->currentText();
    link.port->clear();
    for (const std::wstring& port : ports) {
        link.port->addItem(QString::fromStdWString(port));
    }
    // Without any item a typed port stays.
    if (link.port->count() > 0) {
        link.port->setCurrentIndex(std::max(link.port->findText(remembered), 0));
    }
    deviceControls();
    if (link.port->count() == 0) {
        report(u"No USB serial ports found. Attach STM32 Virtual ComPort using VirtualBox Devices "
               "→ USB, then Refresh."_s);
    }
}

void ChipWindow::connectTo(const QString& port) {
    if (!linked) {
        link.port->setEditText(port);
        toggleConnection();
    }
}

void ChipWindow::toggleConnection() {
    if (linked) {
        disconnectBoard();
    } else if (const QString port = link.port->currentText(); !port.isEmpty()) {
        connectBoard(port);
    }
}

void ChipWindow::connectBoard(const QString& port) {
    busy = true;
    linked = true;
    connected = false;
    clearRows(stored.list);
    link.status->setText(u"Connecting…"_s);
    connection.connect(port.toStdWString());
    deviceControls();
}

void ChipWindow::disconnectBoard() {
    // The operation may have ended and the link may be gone by the time of the answer.
    if (!confirmStopUpload() || !linked) {
        return;
    }
    const QString outcome = interruptionText();
    saveAllowed = false;
    clearImageState(u"Disconnected. Image slots not read."_s);
    clearSettingsState(u"Disconnected. Settings must be read again."_s);
    clearFontState(u"Disconnected. Slot contents not read."_s);
    dropLink();
    report(outcome);
    deviceControls();
}

void ChipWindow::dropLink() {
    connection.disconnect();
    busy = false;
    uploading = false;
    deleting = false;
    storing = false;
    linked = false;
    connected = false;
    clearRows(stored.list);
    link.status->setText(u"Not Connected"_s);
}

QString ChipWindow::interruptionText() const {
    if (storing) {
        return u"Storage operation interrupted. Earlier saves remain; the last write may have "
               "completed. Inspect the PCB list before retrying."_s;
    }
    if (deleting) {
        return u"Disconnected during deletion. Deletion may have completed; inspect the PCB list "
               "before retrying."_s;
    }
    if (uploading) {
        return u"Upload interrupted. The PCB may hold a partial test; do not run it. Reconnect and "
               "resend from the beginning."_s;
    }
    return u"Disconnected."_s;
}

bool ChipWindow::confirmStopUpload() {
    struct Question {
        bool running;
        QString title;
        QString text;
    };

    const std::array<Question, 3> questions{{
        {storing, u"Storage operation in progress"_s,
         u"Earlier saves remain and the last write may complete even if you disconnect or close. "
         "Inspect the PCB list before retrying.\n\nInterrupt this operation?"_s},
        {deleting, u"Deletion in progress"_s,
         u"Disconnecting or closing cannot undo deletion. It may still complete. Inspect the PCB "
         "list before retrying.\n\nContinue?"_s},
        {uploading, u"Upload in progress"_s,
         u"Interrupt this upload? The PCB may hold a partial test. Do not run it; reconnect and "
         "resend from the beginning."_s},
    }};
    const auto* question = std::ranges::find_if(questions, &Question::running);
    return question == questions.end() ||
           ask(this, QMessageBox::Warning, question->title, question->text,
               QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
}

void ChipWindow::sendToPivex() {
    if (!ready()) {
        return;
    }
    UploadPlan plan;
    try {
        plan = prepareUpload(document());
    } catch (const std::exception& failure) {
        error(QString::fromStdString(failure.what()));
        return;
    }
    saveAllowed = false;
    uploadName = fields.name->text();
    sentRevision = revision;
    startOperation({&uploading});
    report(u"Checking Upload Mode and sending the current editor snapshot. This will not save "
           "permanently or run the test."_s);
    connection.upload(std::move(plan));
}

void ChipWindow::saveToPivex() {
    const auto allowed = [this] { return ready() && saveAllowed; };
    if (!allowed()) {
        return;
    }
    const auto answer =
        ask(this, QMessageBox::Question, u"Save to Pivex"_s,
            u"Permanently save the acknowledged upload '%1' on the PCB?"_s.arg(oneLine(uploadName)),
            QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer != QMessageBox::Yes || !allowed()) {
        return;
    }
    saveAllowed = false;
    startOperation({&storing});
    connection.saveRequested();
}

void ChipWindow::batchSaveToPivex() {
    if (!ready() || files->count() == 0) {
        return;
    }
    const auto answer =
        ask(this, QMessageBox::Question, u"Batch Save to Pivex"_s,
            u"Permanently save all %1 files in the left list, in list order?\n\nThis uses the "
            "saved files on disk, not unsaved editor changes. All files are validated before "
            "sending. Earlier saves cannot be rolled back if the batch stops. Put the PCB in "
            "Upload Mode first."_s.arg(files->count()),
            QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer != QMessageBox::Yes || !ready()) {
        return;
    }
    std::vector<UploadPlan> plans;
    try {
        plans = batchPlans();
    } catch (const std::exception& failure) {
        error(QString::fromStdString(failure.what()));
        return;
    }
    saveAllowed = false;
    startOperation({&storing});
    report(u"All batch files validated. Starting permanent batch save..."_s);
    connection.batch(std::move(plans));
}

std::vector<UploadPlan> ChipWindow::batchPlans() const {
    std::vector<std::filesystem::path> paths;
    paths.reserve(static_cast<std::size_t>(files->count()));
    for (int row = 0; row < files->count(); ++row) {
        paths.emplace_back(files->item(row)->data(Qt::UserRole).toString().toStdString());
    }
    return prepareBatchFiles(paths);
}

void ChipWindow::refreshStoredChips() {
    if (ready()) {
        startOperation({});
        connection.refreshChips();
    }
}

void ChipWindow::loadSelectedChip() {
    const auto allowed = [this] { return ready() && stored.list->currentItem() != nullptr; };
    if (!allowed() || !confirmDiscard() || !allowed()) {
        return;
    }
    saveAllowed = false;
    readRevision = revision;
    startOperation({});
    connection.loadChip(chipOf(*stored.list->currentItem()).index);
}

void ChipWindow::deleteSelectedChip() {
    const QListWidgetItem* item = stored.list->currentItem();
    if (!ready() || item == nullptr) {
        return;
    }
    const StoredChipItem remembered = chipOf(*item);
    const QString shown = item->text();
    const bool agreed = confirmDestructive(
        this, u"Delete Selected Chip?"_s,
        u"Permanently delete '%1' from the PCB?\n\nOnly this stored test will be deleted. Local "
        "files and the editor are unchanged. This cannot be undone."_s.arg(shown),
        u"Delete Selected"_s);
    // A list refresh under the question may have replaced the items.
    item = stored.list->currentItem();
    if (!agreed || !ready() || item == nullptr || chipOf(*item) != remembered) {
        return;
    }
    saveAllowed = false;
    startOperation({&deleting});
    report(u"Deleting %1 from PCB..."_s.arg(shown));
    connection.deleteChip(remembered.index);
}

void ChipWindow::deleteAllChips() {
    if (!ready()) {
        return;
    }
    const bool agreed = confirmDestructive(
        this, u"Delete All Chips?"_s,
        u"Permanently delete EVERY chip stored on the connected Pivex?\n\nImages, fonts, "
        "settings, local files and the editor will not be affected. This cannot be undone."_s,
        u"Delete All Chips"_s);
    if (!agreed || !ready()) {
        return;
    }
    saveAllowed = false;
    startOperation({&deleting});
    report(u"Erasing all chips from Pivex..."_s);
    connection.eraseAll();
}

void ChipWindow::deviceControls() {
    const bool idle = ready();
    focus.enable(link.port, !linked);
    focus.enable(link.refresh, !linked);
    focus.enable(link.connect, linked || !link.port->currentText().isEmpty());
    link.connect->setText(linked ? u"Disconnect"_s : u"Connect"_s);
    focus.enable(stored.refresh, idle);
    stored.refreshEntry->setEnabled(idle);
    stored.deleteAllEntry->setEnabled(idle);
    focus.enable(stored.list, idle);
    const bool selected = idle && stored.list->currentRow() >= 0;
    focus.enable(stored.load, selected);
    focus.enable(stored.remove, selected);
    focus.enable(uploads.send, idle);
    uploads.send->setText(uploading ? u"Sending…"_s : u"Send to Pivex"_s);
    focus.enable(uploads.save, idle && saveAllowed);
    focus.enable(uploads.batch, idle && files->count() > 0);
    pushToolState();
}

} // namespace pivex
