#pragma once

#include "base/Bytes.h"

#include <memory>
#include <string>
#include <vector>

class QEventLoop;
class QSerialPort;

namespace pivex {

/// One serial port of the system.
struct PortEntry {
    std::wstring name;     ///< for example ttyACM0
    std::wstring location; ///< for example /dev/ttyACM0
};

/// The serial ports that the system knows. Pseudo-terminals are not among them.
std::vector<PortEntry> systemPorts();

/// The locations of those `entries` that may lead to a board, by their name, sorted.
std::vector<std::wstring> boardPorts(const std::vector<PortEntry>& entries);

/// One open serial port, 115200 8N1 without flow control. Lives on one thread, which needs no
/// running event loop. Every failure is a std::runtime_error that ends in the port's error text.
class PortLink {
public:
    /// Opens and configures `port`, raises DTR and RTS except on a pseudo-terminal, and discards
    /// what the port holds.
    explicit PortLink(const std::wstring& port);

    /// Drops unsent bytes and closes without waiting.
    ~PortLink();

    PortLink(const PortLink&) = delete;
    PortLink& operator=(const PortLink&) = delete;

    /// Hands `bytes` over for writing.
    void write(const Bytes& bytes);

    /// Whether bytes handed over for writing are still waiting.
    bool isWriting() const;

    /// Waits up to 50 ms until the port takes more of the waiting bytes.
    void waitForWriting();

    /// Whether a received byte can be read.
    bool hasByte() const;

    /// Waits up to 50 ms for a byte when there is none.
    void waitForByte();

    /// Takes the oldest received byte.
    std::uint8_t readByte();

    /// Waits up to 50 ms for bytes and leaves them unread; the whole 50 ms when some are unread
    /// already. At most a bounded number of bytes is kept, the rest stays with the sender.
    void idle();

private:
    void checkHealth() const;
    bool poll(short events) const;

    // Gives the thread the event dispatcher that the port's notifiers register with, so it must
    // come first and go last.
    std::unique_ptr<QEventLoop> dispatcher;
    std::unique_ptr<QSerialPort> port;
};

} // namespace pivex
