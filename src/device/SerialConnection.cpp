#include "device/SerialConnection.h"

#include "device/PortLink.h"
#include "device/SerialMailbox.h"
#include "device/SerialWorker.h"

#include <utility>

namespace pivex {

SerialConnection::SerialConnection(ConnectionTimings waits)
    : timings(waits), mailbox(std::make_unique<SerialMailbox>()) {
}

SerialConnection::~SerialConnection() {
    disconnect();
}

std::vector<std::wstring> SerialConnection::ports() {
    return boardPorts(systemPorts());
}

void SerialConnection::connect(std::wstring port) {
    disconnect();
    worker = std::jthread([this, path = std::move(port)](const std::stop_token& stop) {
        runSerialWorker(path, timings, *mailbox, stop);
    });
}

void SerialConnection::disconnect() {
    if (worker.joinable()) {
        worker.request_stop();
        worker.join();
    }
    mailbox->clear();
}

std::vector<SerialEvent> SerialConnection::poll() {
    return mailbox->drain();
}

void SerialConnection::emit(SerialEvent::Kind kind, std::string text) {
    mailbox->emit(kind, std::move(text));
}

void SerialConnection::settingsRequest(Bytes request) {
    mailbox->put(&CompoundRequests::settingsRequest, std::move(request));
}

void SerialConnection::imagePackets(std::vector<ImagePacket> packets) {
    mailbox->put(&CompoundRequests::imagePackets, std::move(packets));
}

void SerialConnection::deleteImage(int slot) {
    mailbox->deleteImage = slot;
}

void SerialConnection::loadImage(int slot) {
    mailbox->loadImage = slot;
}

void SerialConnection::refreshImages() {
    mailbox->refreshImages = true;
}

void SerialConnection::fontPackets(std::vector<FontPacket> packets) {
    mailbox->put(&CompoundRequests::fontPackets, std::move(packets));
}

void SerialConnection::refreshFonts() {
    mailbox->refreshFonts = true;
}

void SerialConnection::deleteChip(int index) {
    mailbox->deleteChip = index;
}

void SerialConnection::saveRequested() {
    mailbox->put(&CompoundRequests::saveRequested, true);
}

void SerialConnection::batch(std::vector<UploadPlan> plans) {
    mailbox->put(&CompoundRequests::batch, std::move(plans));
}

void SerialConnection::eraseAll() {
    mailbox->eraseAll = true;
}

void SerialConnection::upload(UploadPlan plan) {
    mailbox->put(&CompoundRequests::upload, std::move(plan));
}

void SerialConnection::refreshChips() {
    mailbox->refreshChips = true;
}

void SerialConnection::loadChip(int index) {
    mailbox->loadChip = index;
}

} // namespace pivex
