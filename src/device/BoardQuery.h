#pragma once

#include "device/BoardCalls.h"
#include "device/PortLink.h"
#include "device/SerialProtocol.h"

#include <chrono>
#include <stop_token>

namespace pivex {

/// The one way to talk to the board over an open port: a request and its matching answer. Numbers
/// the requests of the connection and keeps the bytes of a frame that is not complete yet. Lives
/// on the worker thread.
class BoardQuery {
public:
    /// Every request has `answerTime` from its write to its answer; `stop` ends a wait early.
    BoardQuery(PortLink& port, std::chrono::milliseconds answerTime, std::stop_token stop);

    /// Sends `command` and gives the whole response packet: code, sequence, payload. Throws
    /// std::runtime_error, checked in this order: stop requested, command outside the command set
    /// (nothing is written), write, time, and a code other than `expected` (unless that is `Any`).
    Bytes operator()(Command command, Response expected, const Bytes& payload);

private:
    using Deadline = std::chrono::steady_clock::time_point;

    void requireRunning() const;
    void finishWriting(Deadline deadline);
    Bytes receive(std::uint8_t expectedSequence, Deadline deadline);

    PortLink& link;
    std::chrono::milliseconds answerWait;
    std::stop_token stopToken;
    std::uint8_t nextSequence = 0;
    FrameReceiver receiver;
};

/// `query` for requests of which only the response code matters.
Send sendThrough(Query query);

} // namespace pivex
