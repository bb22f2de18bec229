#pragma once

#include "device/SerialConnection.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

namespace pivex {

/// Idle value of the request slots that hold an index or a slot number.
inline constexpr int noRequest = -1;

/// The requests that are more than a number; `SerialMailbox` guards them.
struct CompoundRequests {
    std::optional<Bytes> settingsRequest;
    std::optional<std::vector<ImagePacket>> imagePackets;
    std::optional<std::vector<FontPacket>> fontPackets;
    bool saveRequested = false;
    std::optional<std::vector<UploadPlan>> batch;
    std::optional<UploadPlan> upload;
};

/// An event in the queue. Nearly all events are a sentence and a number, and thousands of them may
/// wait, so only the others are held whole.
struct QueuedEvent {
    SerialEvent::Kind kind{};
    std::string text;
    int index = 0;
    std::unique_ptr<SerialEvent> whole; ///< if set, this is the event
};

/// What the GUI thread and the worker share. The mutex is held for the length of a move only.
class SerialMailbox {
public:
    // Each atomic guards itself: the GUI stores, the worker exchanges with the idle value.
    std::atomic<int> deleteImage{noRequest};
    std::atomic<int> loadImage{noRequest};
    std::atomic<bool> refreshImages{false};
    std::atomic<bool> refreshFonts{false};
    std::atomic<int> deleteChip{noRequest};
    std::atomic<bool> eraseAll{false};
    std::atomic<bool> refreshChips{false};
    std::atomic<int> loadChip{noRequest};

    /// Leaves `request` in a compound slot, in place of one that was not taken yet.
    template<typename Slot>
    void put(Slot CompoundRequests::*slot, std::type_identity_t<Slot> request) {
        const std::scoped_lock lock(mutex);
        std::swap(requests.*slot, request);
    }

    /// Moves the request out of a compound slot and leaves that idle.
    template<typename Slot>
    Slot take(Slot CompoundRequests::*slot) {
        const std::scoped_lock lock(mutex);
        return std::exchange(requests.*slot, Slot{});
    }

    /// Takes `saveRequested` and `batch` in one hold of the mutex.
    std::pair<bool, std::optional<std::vector<UploadPlan>>> takeSaveAndBatch();

    /// Appends an event of text and index to the queue.
    void emit(SerialEvent::Kind kind, std::string text, int index = 0);

    /// Appends an event that holds more to the queue.
    void post(SerialEvent event);

    /// Moves the whole queue out, oldest event first.
    std::vector<SerialEvent> drain();

    /// Makes every slot idle and drops every event.
    void clear();

private:
    std::mutex mutex;
    std::vector<QueuedEvent> events; ///< guarded by `mutex`
    CompoundRequests requests;       ///< guarded by `mutex`
};

} // namespace pivex
