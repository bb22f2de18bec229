#include "device/BoardQuery.h"

#include "device/Failures.h"

#include <utility>

namespace pivex {

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

BoardQuery::BoardQuery(PortLink& port, std::chrono::milliseconds answerTime, std::stop_token stop)
    : link(port), answerWait(answerTime), stopToken(std::move(stop)) {
}

Bytes BoardQuery::operator()(Command command, Response expected, const Bytes& payload) {
    requireRunning();
    const auto code = static_cast<std::uint8_t>(command);
    require(isCommand(code), "Unsupported device command blocked.");
    const std::uint8_t sequence = nextSequence++;
    link.write(encodePacket(code, sequence, payload));
    const Deadline deadline = Clock::now() + answerWait;
    finishWriting(deadline);
    Bytes answer = receive(sequence, deadline);
    if (expected != Response::Any && static_cast<Response>(answer[0]) != expected) {
        throw std::runtime_error("Unexpected PCB response: " + std::to_string(answer[0]));
    }
    return answer;
}

void BoardQuery::requireRunning() const {
    require(!stopToken.stop_requested(), "Disconnected.");
}

void BoardQuery::finishWriting(Deadline deadline) {
    while (link.isWriting() && !stopToken.stop_requested() && Clock::now() < deadline) {
        link.waitForWriting();
    }
    require(!link.isWriting(), "Serial write timed out.");
}

Bytes BoardQuery::receive(std::uint8_t expectedSequence, Deadline deadline) {
    while (true) {
        requireRunning();
        require(Clock::now() < deadline,
                "PCB query timed out. Check USB connection and device mode.");
        link.waitForByte();
        while (link.hasByte()) {
            if (auto packet = receiver.take(link.readByte(), expectedSequence)) {
                return std::move(*packet);
            }
        }
    }
}

Send sendThrough(Query query) {
    return [ask = std::move(query)](Command command, const Bytes& payload) {
        return static_cast<Response>(ask(command, Response::Any, payload)[0]);
    };
}

} // namespace pivex
