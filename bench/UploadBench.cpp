// Requests per second of whole board operations, each beside a bare loop that writes the same
// bytes to the same kind of board and waits for the same number of answers. All of it on one
// processor.

#include "device/ChipUpload.h"
#include "device/SerialConnection.h"
#include "device/SerialProtocol.h"
#include "simulator/BoardServer.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

using namespace pivex;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

/// Rounds of which the median counts.
constexpr std::size_t rounds = 9;

/// How often the window drains the events.
constexpr auto pollInterval = 100ms;

/// A board that notes when its first and its last request came.
struct MeteredBoard {
    explicit MeteredBoard(const BoardModel& model)
        : server(model, [this](const BoardRequest&) { note(); }) {}

    void note() {
        const auto now = Clock::now();
        if (count++ == 0) {
            first = now;
        }
        last = now;
    }

    void reset() {
        server.clearRequests();
        count = 0;
    }

    double perSecond() const {
        return (count - 1) / std::chrono::duration<double>(last - first).count();
    }

    // The board's thread writes these; they are read when it has nothing left to serve.
    std::atomic<int> count = 0;
    Clock::time_point first;
    Clock::time_point last;
    BoardServer server;
};

/// One operation to measure.
struct Operation {
    const char* name;
    BoardModel board;
    std::function<void(SerialConnection&)> request;
    SerialEvent::Kind done;
};

std::string program(int instructions) {
    std::string code;
    for (int i = 0; i < instructions; ++i) {
        code += "DELMS " + std::to_string(i) + "\n";
    }
    return code;
}

UploadPlan planOf(const std::string& name, int instructions) {
    ChipDocument document;
    document.name = name;
    document.code = program(instructions);
    return prepareUpload(document);
}

BoardModel boardWith(int chips, std::size_t codeBytes) {
    BoardModel board;
    for (int i = 0; i < chips; ++i) {
        StoredChip chip{.name = "Stored test " + std::to_string(i), .code = Bytes(codeBytes)};
        for (std::size_t at = 0; at < codeBytes; at += 16) {
            chip.code[at] = 0x17;
        }
        board.storage.chips.push_back(std::move(chip));
    }
    return board;
}

std::vector<Operation> operations() {
    std::vector<UploadPlan> batch;
    batch.reserve(100);
    for (int i = 0; i < 100; ++i) {
        batch.push_back(planOf("Test " + std::to_string(i), 100));
    }
    using Kind = SerialEvent::Kind;
    return {
        {"upload of 4,095 instructions",
         {},
         [plan = planOf("Largest", 4095)](auto& to) { to.upload(plan); },
         Kind::UploadDone},
        {"list of 1,000 tests", boardWith(1000, 16), [](auto& to) { to.refreshChips(); },
         Kind::ChipListDone},
        {"batch of 100 files", {}, [batch](auto& to) { to.batch(batch); }, Kind::ChipListDone},
        {"read of 4,095 instructions", boardWith(1, 65520), [](auto& to) { to.loadChip(0); },
         Kind::ChipLoaded},
        {"names of 239 image slots",
         {},
         [](auto& to) { to.refreshImages(); },
         Kind::ImageSlotsDone},
    };
}

void waitFor(SerialConnection& connection, SerialEvent::Kind kind) {
    for (;;) {
        for (const SerialEvent& event : connection.poll()) {
            if (event.kind == kind) {
                return;
            }
            if (event.kind == SerialEvent::Kind::Failed) {
                throw std::runtime_error(event.text);
            }
        }
        std::this_thread::sleep_for(pollInterval);
    }
}

/// Requests per second through the connection; notes what was sent in `sent`.
double throughConnection(const Operation& operation, std::vector<BoardRequest>& sent) {
    MeteredBoard board(operation.board);
    SerialConnection connection({.settle = 0ms});
    const std::string& path = board.server.path();
    connection.connect({path.begin(), path.end()});
    waitFor(connection, SerialEvent::Kind::ChipListDone);
    board.reset();
    operation.request(connection);
    waitFor(connection, operation.done);
    sent = board.server.requests();
    return board.perSecond();
}

/// Requests per second of a loop without anything else.
double bare(const Operation& operation, const std::vector<BoardRequest>& requests) {
    std::vector<Bytes> frames;
    for (const BoardRequest& request : requests) {
        const auto code = static_cast<std::uint8_t>(request.command);
        frames.push_back(encodePacket(code, request.sequence, request.payload));
    }
    MeteredBoard board(operation.board);
    const int line = ::open(board.server.path().c_str(), O_RDWR | O_NOCTTY);
    std::array<char, 4096> answer{};
    for (const Bytes& frame : frames) {
        if (::write(line, frame.data(), frame.size()) < 0) {
            throw std::runtime_error("write");
        }
        for (ssize_t got = 0; got < 1 || answer[static_cast<std::size_t>(got) - 1] != 0;) {
            got = ::read(line, answer.data(), answer.size());
        }
    }
    ::close(line);
    return board.perSecond();
}

/// Where the system puts a thread that it wakes would decide otherwise: an answer that has to wake
/// another processor takes several times as long, whoever waits for it.
bool stayOnOneProcessor() {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
    return sched_setaffinity(0, sizeof one, &one) == 0;
}

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + rounds / 2);
    return values[rounds / 2];
}

void measure(const Operation& operation) {
    std::vector<double> connectionRates;
    std::vector<double> bareRates;
    std::vector<double> ratios;
    std::vector<BoardRequest> requests;
    for (std::size_t round = 0; round < rounds; ++round) {
        connectionRates.push_back(throughConnection(operation, requests));
        bareRates.push_back(bare(operation, requests));
        ratios.push_back(connectionRates.back() / bareRates.back());
    }
    std::printf("%-28s %8zu %12.0f %12.0f %9.0f %%\n", operation.name, requests.size(),
                median(connectionRates), median(bareRates), 100 * median(ratios));
}

} // namespace

int main(int argc, char** argv) {
    if (!stayOnOneProcessor()) {
        std::perror("Cannot stay on one processor");
        return 1;
    }
    const QCoreApplication application(argc, argv);
    std::printf("%-28s %8s %12s %12s %11s\n", "operation", "requests", "per second", "bare loop",
                "ratio");
    for (const Operation& operation : operations()) {
        measure(operation);
    }
    return 0;
}
