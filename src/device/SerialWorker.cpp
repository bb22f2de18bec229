#include "device/SerialWorker.h"

#include "device/BatchSave.h"
#include "device/BoardQuery.h"
#include "device/Failures.h"
#include "device/PortLink.h"
#include "device/SerialMailbox.h"
#include "device/StoredChips.h"
#include "device/ToolTransfers.h"

#include <functional>
#include <thread>
#include <utility>

namespace pivex {

namespace {

using Kind = SerialEvent::Kind;

/// Into how many sleeps the settling time is cut, so that a stop is noticed soon.
constexpr int settleSteps = 20;

std::string fraction(std::uint64_t part, std::uint64_t whole) {
    return std::to_string(part) + "/" + std::to_string(whole);
}

/// Takes the index or slot number out of `slot`; empty when none was requested.
std::optional<int> takeNumber(std::atomic<int>& slot) {
    const int number = slot.exchange(noRequest);
    return number >= 0 ? std::optional(number) : std::nullopt;
}

bool takeFlag(std::atomic<bool>& slot) {
    return slot.exchange(false);
}

void settle(std::chrono::milliseconds time, const std::stop_token& stop) {
    for (int step = 0; step < settleSteps && !stop.stop_requested(); ++step) {
        std::this_thread::sleep_for(time / settleSteps);
    }
}

void serveBoard(const std::wstring& port, ConnectionTimings timings, SerialMailbox& mailbox,
                const std::stop_token& stop) {
    PortLink link(port);
    mailbox.emit(Kind::Status, "Port open at 115200 8N1. Waiting for Pivex identity...");
    settle(timings.settle, stop);
    BoardQuery board(link, timings.answer, stop);
    SerialWorker worker(mailbox, std::ref(board));
    worker.identify();
    while (!stop.stop_requested()) {
        worker.serveRequests();
        link.idle();
    }
}

} // namespace

SerialWorker::SerialWorker(SerialMailbox& sharedMailbox, Query boardQuery)
    : mailbox(sharedMailbox), query(std::move(boardQuery)), send(sendThrough(query)) {
}

void SerialWorker::identify() {
    std::string identity = linux_read::text(query(Command::Identify, Response::Identity, {}));
    require(!identity.empty(), "Pivex returned an empty identity.");
    emit(Kind::Connected, std::move(identity));
    mailbox.refreshChips = true;
}

void SerialWorker::serveRequests() {
    imageNote.clear();
    fontNote.clear();
    serveSettings();
    serveImageUpload();
    serveImageDeletion();
    serveImageRead();
    serveImageList();
    serveFontWrite();
    serveFontList();
    serveChipDeletion();
    serveSaveAndBatch();
    serveErasure();
    serveUpload();
    serveChipList();
    serveChipRead();
}

void SerialWorker::serveSettings() {
    const auto request = mailbox.take(&CompoundRequests::settingsRequest);
    if (!request) {
        return;
    }
    emit(Kind::Status, "Reading/updating Pivex settings...");
    const bool isWrite = isSettingsWrite(*request);
    SerialEvent event;
    event.kind = Kind::SettingsLoaded;
    event.text = isWrite ? "Pivex settings updated and confirmed." : "Pivex settings loaded.";
    event.settings = explained(
        "Settings operation stopped: ", [&] { return exchangeSettings(*request, query); },
        isWrite ? " The setting may have changed. Reconnect and read it before retrying." : "");
    if (!isWrite) {
        reportFontSlots();
    }
    mailbox.post(std::move(event));
}

void SerialWorker::serveImageUpload() {
    const auto packets = mailbox.take(&CompoundRequests::imagePackets);
    if (!packets) {
        return;
    }
    acknowledgedUpload.reset();
    sendImage(*packets, send, [&](std::uint64_t accepted, std::uint64_t all) {
        emit(Kind::Status, "Saving image: " + fraction(accepted, all) + " packets acknowledged.");
    });
    imageNote = "Image save acknowledged. ";
    mailbox.refreshImages = true;
}

void SerialWorker::serveImageDeletion() {
    const auto slot = takeNumber(mailbox.deleteImage);
    if (!slot) {
        return;
    }
    const std::string number = std::to_string(*slot);
    emit(Kind::Status, "Deleting image from slot " + number + "...");
    deleteImage(*slot, send);
    mailbox.emit(Kind::ImageDeleted, "Image deleted from slot " + number + ".", *slot);
}

void SerialWorker::serveImageRead() {
    const auto slot = takeNumber(mailbox.loadImage);
    if (!slot) {
        return;
    }
    acknowledgedUpload.reset();
    emit(Kind::Status, "Loading image from slot " + std::to_string(*slot) + "...");
    SerialEvent event;
    event.kind = Kind::ImageLoaded;
    event.text = "Image loaded from PCB. Save As to keep a local copy.";
    event.image = readImage(*slot, query);
    mailbox.post(std::move(event));
}

void SerialWorker::serveImageList() {
    if (!takeFlag(mailbox.refreshImages)) {
        return;
    }
    emit(Kind::Status, "Refreshing image slots...");
    SerialEvent event;
    event.kind = Kind::ImageSlotsLoaded;
    event.images = readImageSlots(query);
    mailbox.post(std::move(event));
    emit(Kind::ImageSlotsDone, imageNote + "Image slots refreshed.");
}

void SerialWorker::serveFontWrite() {
    const auto packets = mailbox.take(&CompoundRequests::fontPackets);
    if (!packets) {
        return;
    }
    acknowledgedUpload.reset();
    emit(Kind::Status, "Writing font slot...");
    sendFont(*packets, send);
    fontNote = "Font operation acknowledged. ";
    mailbox.refreshFonts = true;
}

void SerialWorker::serveFontList() {
    if (!takeFlag(mailbox.refreshFonts)) {
        return;
    }
    reportFontSlots();
    emit(Kind::FontSlotsDone, fontNote + "Font slots refreshed.");
}

void SerialWorker::serveChipDeletion() {
    const auto index = takeNumber(mailbox.deleteChip);
    if (!index) {
        return;
    }
    acknowledgedUpload.reset();
    emit(Kind::Status, "Deleting selected chip from Pivex...");
    eraseSelectedChip(*index, send);
    reportStorage(Kind::StorageChanged, "Selected chip deletion acknowledged. ");
}

void SerialWorker::serveSaveAndBatch() {
    const auto [isSaveRequested, plans] = mailbox.takeSaveAndBatch();
    if (isSaveRequested) {
        saveUpload();
    }
    if (plans) {
        savePlans(*plans);
    }
}

void SerialWorker::serveErasure() {
    if (!takeFlag(mailbox.eraseAll)) {
        return;
    }
    acknowledgedUpload.reset();
    emit(Kind::Status, "Erasing all chips from Pivex...");
    eraseAllChips(send);
    emit(Kind::StorageChanged, "Delete All Chips acknowledged. Refreshing PCB list...");
    mailbox.refreshChips = true;
}

void SerialWorker::serveUpload() {
    const auto plan = mailbox.take(&CompoundRequests::upload);
    if (!plan) {
        return;
    }
    acknowledgedUpload.reset();
    emit(Kind::Status, "Checking PCB Upload Mode...");
    const auto progress = [&](std::uint64_t acknowledged, std::uint64_t all) {
        emit(Kind::Status, "Sending " + plan->name + ": " + fraction(acknowledged, all) +
                               " packets acknowledged.");
    };
    const bool isSent = explained(
        "Upload stopped: ", [&] { return executeUpload(*plan, send, progress); },
        " The PCB may hold a partial test; do not run it. Reconnect and resend from the "
        "beginning.");
    if (!isSent) {
        emit(Kind::UploadModeMissing, "PCB is not in Upload Mode. Open Upload Mode on Pivex, then "
                                      "Send again. No chip data sent.");
        return;
    }
    acknowledgedUpload = plan->name;
    emit(Kind::UploadDone, "Send complete: " + plan->name + " (" +
                               std::to_string(plan->codeLength) +
                               " code bytes). All packets acknowledged. Not permanently saved; "
                               "not run.");
}

void SerialWorker::serveChipList() {
    if (!takeFlag(mailbox.refreshChips)) {
        return;
    }
    emit(Kind::ChipListStarted, "Reading stored PCB tests...");
    const auto count = listChips(query, [&](int index, std::string name) {
        mailbox.emit(Kind::ChipListed, std::move(name), index);
    });
    emit(Kind::ChipListDone, std::exchange(chipNote, {}) + "Loaded " + std::to_string(count) +
                                 " stored tests from PCB.");
}

void SerialWorker::serveChipRead() {
    const auto index = takeNumber(mailbox.loadChip);
    if (!index) {
        return;
    }
    acknowledgedUpload.reset();
    emit(Kind::Status, "Reading selected test from PCB...");
    SerialEvent event;
    event.kind = Kind::ChipLoaded;
    event.text = "Chip loaded from PCB. Save As to keep a local copy. Not run.";
    event.chip = linux_read::readChip(*index, query);
    mailbox.post(std::move(event));
}

void SerialWorker::saveUpload() {
    require(acknowledgedUpload.has_value(), "No acknowledged upload to save. Send the chip first.");
    const std::string name = *std::exchange(acknowledgedUpload, std::nullopt);
    if (send(Command::UploadModeCheck, {}) != Response::InUploadMode) {
        emit(Kind::UploadModeMissing,
             "PCB is not in Upload Mode. Send the chip again before saving.");
        return;
    }
    emit(Kind::Status, "Permanently saving " + name + "...");
    explained(
        "Save outcome uncertain: ", [&] { saveUploaded(send); },
        " Inspect the PCB list before retrying; the write may have completed.");
    reportStorage(Kind::StorageChanged, "Permanently saved " + name + ". ");
}

void SerialWorker::savePlans(const std::vector<UploadPlan>& plans) {
    acknowledgedUpload.reset();
    saveBatch(plans, send, [&](std::uint64_t saved, const std::string& message) {
        emit(Kind::Status, "Batch " + fraction(saved, plans.size()) + " saved: " + message);
    });
    reportStorage(Kind::BatchDone,
                  "Batch complete: " + std::to_string(plans.size()) + " chips permanently saved. ");
}

void SerialWorker::reportFontSlots() {
    readFontSlots(query, [&](int slot, FontSlot font) {
        SerialEvent event;
        event.kind = Kind::FontSlotLoaded;
        event.index = slot;
        event.font = std::move(font);
        mailbox.post(std::move(event));
    });
}

/// Tells that the stored tests changed and has them listed again, with `note` in front.
void SerialWorker::reportStorage(SerialEvent::Kind kind, std::string note) {
    chipNote = note;
    emit(kind, std::move(note));
    mailbox.refreshChips = true;
}

void SerialWorker::emit(SerialEvent::Kind kind, std::string text) {
    mailbox.emit(kind, std::move(text));
}

void runSerialWorker(const std::wstring& port, ConnectionTimings timings, SerialMailbox& mailbox,
                     const std::stop_token& stop) {
    try {
        serveBoard(port, timings, mailbox, stop);
    } catch (const std::exception& failure) {
        if (!stop.stop_requested()) {
            mailbox.emit(Kind::Failed, failure.what());
        }
    }
}

} // namespace pivex
