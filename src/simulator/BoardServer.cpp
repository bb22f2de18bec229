#include "simulator/BoardServer.h"

#include "device/SerialProtocol.h"

#include <algorithm>
#include <utility>

namespace pivex {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The rest of a frame that stays away for longer than this belongs to a program that has left.
constexpr milliseconds longestGap{50};

/// Between two writes that belong to one answer.
constexpr microseconds splitPause{200};

/// About the rate of a USB serial port in full flow.
constexpr milliseconds floodPause{1};
constexpr std::size_t floodBytes = 1024;

} // namespace

BoardServer::BoardServer(BoardModel board, Watcher onRequest)
    : watcher(std::move(onRequest)),
      model(std::move(board)),
      thread([this](const std::stop_token& stop) { serve(stop); }) {
}

BoardServer::~BoardServer() {
    thread.request_stop();
    thread.join();
}

void BoardServer::withModel(const std::function<void(BoardModel&)>& action) {
    const std::lock_guard lock(mutex);
    action(model);
}

std::vector<BoardRequest> BoardServer::requests() const {
    const std::lock_guard lock(mutex);
    return received;
}

void BoardServer::clearRequests() {
    const std::lock_guard lock(mutex);
    received.clear();
}

void BoardServer::recordRequests(bool record) {
    const std::lock_guard lock(mutex);
    recording = record;
}

void BoardServer::serve(const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] { link.interrupt(); });
    Bytes frame;
    for (;;) {
        const auto timeOut = isFlooding() ? std::optional<microseconds>(floodPause) : std::nullopt;
        switch (link.wait(timeOut)) {
        case LineEvent::Closed:
            return;
        case LineEvent::Quiet:
            if (timeOut) {
                link.write(lineNoise(floodBytes));
            }
            break;
        case LineEvent::Input:
            takeInput(frame);
            break;
        }
    }
}

void BoardServer::takeInput(Bytes& frame) {
    const auto now = steady_clock::now();
    if (now - std::exchange(lastInput, now) > longestGap) {
        frame.clear();
    }
    Bytes input;
    link.read(input);
    for (const std::uint8_t byte : input) {
        if (byte == 0) {
            takeFrame(std::exchange(frame, {}));
        } else if (frame.size() < maxFrameBytes) {
            frame.push_back(byte);
        }
    }
}

void BoardServer::takeFrame(const Bytes& frame) {
    Bytes packet;
    if (!decodePacket(frame, packet)) {
        return;
    }
    const BoardRequest request{.command = Command{packet[0]},
                               .payload = Bytes(packet.begin() + 2, packet.end()),
                               .sequence = packet[1]};
    if (watcher) {
        watcher(request);
    }
    send(prepare(request));
}

Transmission BoardServer::prepare(const BoardRequest& request) {
    const std::lock_guard lock(mutex);
    if (recording) {
        received.push_back(request);
    }
    const std::optional<Fault> fault = model.takeFault(request.command);
    if (fault && isLeftUndone(fault->kind)) {
        return transmissionOf(request, {}, fault);
    }
    const std::optional<BoardAnswer> answer = model.answer(request.command, request.payload);
    return answer ? transmissionOf(request, *answer, fault) : Transmission{};
}

void BoardServer::send(const Transmission& transmission) {
    if (transmission.delay > milliseconds(0)) {
        link.pause(transmission.delay);
    }
    if (transmission.hangUp) {
        link.hangUp();
        return;
    }
    for (std::size_t i = 0; i < transmission.writes.size(); ++i) {
        if (i > 0) {
            link.pause(splitPause);
        }
        link.write(transmission.writes[i]);
    }
}

bool BoardServer::isFlooding() const {
    const std::lock_guard lock(mutex);
    return model.isFlooding();
}

} // namespace pivex
