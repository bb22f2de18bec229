#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"
#include "simulator/BoardModel.h"
#include "simulator/PtyLink.h"
#include "simulator/Transmission.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace pivex {

/// A simulated board that serves a pseudo-terminal on a thread of its own, from construction to
/// destruction. Every member may be called from any thread.
class BoardServer {
public:
    /// Sees every request before it is carried out; called on the board's thread.
    using Watcher = std::function<void(const BoardRequest&)>;

    /// Opens the pseudo-terminal and starts serving; throws std::runtime_error if there is none.
    explicit BoardServer(BoardModel board = BoardModel(), Watcher onRequest = {});
    BoardServer(const BoardServer&) = delete;
    BoardServer& operator=(const BoardServer&) = delete;

    /// Stops serving, in the middle of a late answer too, and closes the line.
    ~BoardServer();

    /// The device to connect to, "/dev/pts/N".
    const std::string& path() const { return link.path(); }

    /// Runs `action` on the board's state between two requests.
    void withModel(const std::function<void(BoardModel&)>& action);

    /// Every request received since the last `clearRequests`, in order, those of unknown
    /// commands and those that met a fault included; frames that did not decode are not.
    std::vector<BoardRequest> requests() const;
    void clearRequests();

    /// Whether requests are kept for `requests` (they are from the start). A board that runs for
    /// long does without.
    void recordRequests(bool record);

    /// Orders damage to one byte to come, counted from now; or none.
    void setLineFault(const std::optional<LineFault>& fault) { link.setLineFault(fault); }

    /// The bytes that have passed since the last `setLineFault`, undamaged.
    std::size_t bytesPassed(LineFault::Direction direction) const {
        return link.bytesPassed(direction);
    }

private:
    void serve(const std::stop_token& stop);
    void takeInput(Bytes& frame);
    void takeFrame(const Bytes& frame);
    Transmission prepare(const BoardRequest& request);
    void send(const Transmission& transmission);
    bool isFlooding() const;

    Watcher watcher;
    PtyLink link;
    std::chrono::steady_clock::time_point lastInput; ///< of the serving thread only

    mutable std::mutex mutex;
    BoardModel model;                   ///< guarded by mutex
    std::vector<BoardRequest> received; ///< guarded by mutex
    bool recording = true;              ///< guarded by mutex

    std::jthread thread; ///< last, so that it ends before what it uses goes
};

} // namespace pivex
