#pragma once

#include "base/Bytes.h"
#include "simulator/FileDescriptor.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>

namespace pivex {

/// Damage to one byte of the stream between program and board.
struct LineFault {
    enum class Kind {
        Drop,      ///< the byte is lost
        Flip,      ///< one bit of the byte is turned over
        Duplicate, ///< the byte comes twice
        Insert,    ///< `value` comes in front of the byte
        Cut,       ///< the line is closed in front of the byte
    };
    enum class Direction { Request, Answer };

    Kind kind = Kind::Drop;
    Direction direction = Direction::Request;
    std::size_t position = 0; ///< of the byte, 0 being the next one in that direction
    unsigned bit = 0;         ///< for `Flip`, 0 to 7
    std::uint8_t value = 0;   ///< for `Insert`
};

/// What ended a wait for the line.
enum class LineEvent { Input, Quiet, Closed };

/// The board's end of a pseudo-terminal. Its own descriptor of the far end stays open, so that
/// programs may connect and leave as often as they like.
///
/// One thread reads, writes, waits, pauses and hangs up; the other members may be called from any.
class PtyLink {
public:
    /// Opens a pseudo-terminal and sets its line raw; throws std::runtime_error.
    PtyLink();

    /// The device that a program opens, "/dev/pts/N".
    const std::string& path() const { return farPath; }

    /// Waits for bytes, for `timeOut` (empty: for ever), or until the link is interrupted.
    LineEvent wait(std::optional<std::chrono::microseconds> timeOut);

    /// Appends the bytes that are there to `buffer`, at most a few thousand.
    void read(Bytes& buffer);

    /// Writes `bytes`, waiting while the line is full; gives up when closed or interrupted.
    void write(std::span<const std::uint8_t> bytes);

    /// Closes the line; a connected program sees a hang-up. There is no way back.
    void hangUp();

    /// Sleeps for `duration`, or until the link is interrupted.
    void pause(std::chrono::microseconds duration);

    /// Makes every wait, present and future, end with `LineEvent::Closed`.
    void interrupt();

    /// Orders damage to one byte to come, or none; replaces what was ordered before.
    void setLineFault(const std::optional<LineFault>& fault);

    /// The bytes that have passed in `direction` since the last `setLineFault`, before damage.
    std::size_t bytesPassed(LineFault::Direction direction) const;

private:
    /// What is left of `bytes` after the damage ordered, and whether the line is to be closed.
    struct Passed {
        Bytes bytes;
        bool cut = false;
    };

    static Passed damaged(std::span<const std::uint8_t> bytes, const LineFault& fault,
                          std::size_t at);
    Passed pass(LineFault::Direction direction, std::span<const std::uint8_t> bytes);
    void writeAll(std::span<const std::uint8_t> bytes);
    bool waitFor(int descriptor, short events, std::optional<std::chrono::microseconds> timeOut);

    FileDescriptor master;
    FileDescriptor farEnd;
    FileDescriptor wakeUp;
    std::string farPath;
    std::atomic<bool> isInterrupted = false;

    mutable std::mutex faultMutex;
    std::optional<LineFault> lineFault; ///< guarded by faultMutex
    std::size_t requestBytes = 0;       ///< guarded by faultMutex
    std::size_t answerBytes = 0;        ///< guarded by faultMutex
};

} // namespace pivex
