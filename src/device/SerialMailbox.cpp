#include "device/SerialMailbox.h"

namespace pivex {

std::pair<bool, std::optional<std::vector<UploadPlan>>> SerialMailbox::takeSaveAndBatch() {
    const std::scoped_lock lock(mutex);
    return {std::exchange(requests.saveRequested, false),
            std::exchange(requests.batch, std::nullopt)};
}

void SerialMailbox::post(SerialEvent event) {
    const std::scoped_lock lock(mutex);
    events.push_back(std::move(event));
}

void SerialMailbox::emit(SerialEvent::Kind kind, std::string text) {
    SerialEvent event;
    event.kind = kind;
    event.text = std::move(text);
    post(std::move(event));
}

std::vector<SerialEvent> SerialMailbox::drain() {
    const std::scoped_lock lock(mutex);
    return std::exchange(events, {});
}

void SerialMailbox::clear() {
    for (std::atomic<int>* slot : {&deleteImage, &loadImage, &deleteChip, &loadChip}) {
        *slot = noRequest;
    }
    for (std::atomic<bool>* slot : {&refreshImages, &refreshFonts, &eraseAll, &refreshChips}) {
        *slot = false;
    }
    std::vector<SerialEvent> droppedEvents;
    CompoundRequests droppedRequests;
    const std::scoped_lock lock(mutex);
    events.swap(droppedEvents);
    std::swap(requests, droppedRequests);
}

} // namespace pivex
