#include "device/SerialMailbox.h"

namespace pivex {

namespace {

SerialEvent unpacked(QueuedEvent& queued) {
    if (queued.whole) {
        return std::move(*queued.whole);
    }
    SerialEvent event;
    event.kind = queued.kind;
    event.text = std::move(queued.text);
    event.index = queued.index;
    return event;
}

} // namespace

std::pair<bool, std::optional<std::vector<UploadPlan>>> SerialMailbox::takeSaveAndBatch() {
    const std::scoped_lock lock(mutex);
    return {std::exchange(requests.saveRequested, false),
            std::exchange(requests.batch, std::nullopt)};
}

void SerialMailbox::emit(SerialEvent::Kind kind, std::string text, int index) {
    const std::scoped_lock lock(mutex);
    events.push_back({kind, std::move(text), index, nullptr});
}

void SerialMailbox::post(SerialEvent event) {
    auto whole = std::make_unique<SerialEvent>(std::move(event));
    const std::scoped_lock lock(mutex);
    events.push_back({whole->kind, {}, 0, std::move(whole)});
}

std::vector<SerialEvent> SerialMailbox::drain() {
    std::vector<QueuedEvent> taken;
    {
        const std::scoped_lock lock(mutex);
        events.swap(taken);
    }
    std::vector<SerialEvent> drained;
    drained.reserve(taken.size());
    for (QueuedEvent& event : taken) {
        drained.push_back(unpacked(event));
    }
    return drained;
}

void SerialMailbox::clear() {
    for (std::atomic<int>* slot : {&deleteImage, &loadImage, &deleteChip, &loadChip}) {
        *slot = noRequest;
    }
    for (std::atomic<bool>* slot : {&refreshImages, &refreshFonts, &eraseAll, &refreshChips}) {
        *slot = false;
    }
    std::vector<QueuedEvent> droppedEvents;
    CompoundRequests droppedRequests;
    const std::scoped_lock lock(mutex);
    events.swap(droppedEvents);
    std::swap(requests, droppedRequests);
}

} // namespace pivex
