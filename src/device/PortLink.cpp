#include "device/PortLink.h"

#include "device/SerialProtocol.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSerialPort>
#include <QSerialPortInfo>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <poll.h>

namespace pivex {

namespace {

/// Longest wait for the port, in milliseconds.
constexpr int waitTime = 50;

/// Where the system keeps pseudo-terminals; they have no modem lines.
constexpr std::wstring_view pseudoTerminals = L"/dev/pts/";

/// Beginnings of the names that USB serial devices get.
constexpr std::wstring_view boardPortNames[] = {L"ttyACM", L"ttyUSB"};

constexpr std::string_view connectionFailed = "Serial connection failed";

[[noreturn]] void fail(std::string_view message, const std::string& error) {
    throw std::runtime_error(std::string(message) + ": " + error);
}

[[noreturn]] void fail(std::string_view message, const QSerialPort& port) {
    fail(message, port.errorString().toStdString());
}

/// The port's answer to a device that is gone, for where the port gives no error text.
[[noreturn]] void failAsLost() {
    fail(connectionFailed, std::generic_category().message(EIO));
}

void requirePort(bool done, std::string_view message, const QSerialPort& port) {
    if (!done) {
        fail(message, port);
    }
}

bool configure(QSerialPort& port) {
    return port.setBaudRate(QSerialPort::Baud115200) && port.setDataBits(QSerialPort::Data8) &&
           port.setParity(QSerialPort::NoParity) && port.setStopBits(QSerialPort::OneStop) &&
           port.setFlowControl(QSerialPort::NoFlowControl);
}

} // namespace

std::vector<PortEntry> systemPorts() {
    std::vector<PortEntry> entries;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
        entries.push_back({info.portName().toStdWString(), info.systemLocation().toStdWString()});
    }
    return entries;
}

std::vector<std::wstring> boardPorts(const std::vector<PortEntry>& entries) {
    std::vector<std::wstring> locations;
    for (const PortEntry& entry : entries) {
        const auto begins = [&](std::wstring_view name) { return entry.name.starts_with(name); };
        if (std::ranges::any_of(boardPortNames, begins)) {
            locations.push_back(entry.location);
        }
    }
    std::ranges::sort(locations);
    return locations;
}

PortLink::PortLink(const std::wstring& path)
    : dispatcher(std::make_unique<QEventLoop>()),
      port(std::make_unique<QSerialPort>(QString::fromStdWString(path))) {
    // A board that sends without being asked must not fill the memory.
    port->setReadBufferSize(maxFrameBytes);
    requirePort(port->open(QIODevice::ReadWrite),
                "Cannot open serial port (check USB passthrough and dialout permissions)", *port);
    requirePort(configure(*port), "Cannot configure serial port", *port);
    if (!path.starts_with(pseudoTerminals)) {
        requirePort(port->setDataTerminalReady(true), "Cannot enable DTR", *port);
        requirePort(port->setRequestToSend(true), "Cannot enable RTS", *port);
    }
    requirePort(port->clear(), "Cannot clear serial buffers", *port);
}

PortLink::~PortLink() {
    // The system would otherwise hold the closing port until a stuck board took the rest.
    port->clear(QSerialPort::Output);
    port->close();
}

void PortLink::write(const Bytes& bytes) {
    const auto size = static_cast<qint64>(bytes.size());
    const qint64 accepted = port->write(reinterpret_cast<const char*>(bytes.data()), size);
    requirePort(accepted == size, "Incomplete serial write", *port);
}

bool PortLink::isWriting() const {
    return port->bytesToWrite() > 0;
}

void PortLink::waitForWriting() {
    // The port's own wait also reads, and returns at once without an error when the read buffer
    // is full; this one only writes.
    port->clearError();
    if (poll(POLLOUT)) {
        port->flush();
    }
    checkHealth();
}

bool PortLink::hasByte() const {
    return port->bytesAvailable() > 0;
}

void PortLink::waitForByte() {
    // The port waits for more than it has, so with bytes at hand there is nothing to wait for.
    if (hasByte()) {
        return;
    }
    port->clearError();
    // A read that meets a hang-up leaves errno alone, and the port then words what stands there.
    errno = EIO;
    QElapsedTimer timer;
    timer.start();
    const bool arrived = port->waitForReadyRead(waitTime);
    checkHealth();
    // A lost port may also end every wait at once without reporting any error.
    if (!arrived && port->error() == QSerialPort::NoError && timer.elapsed() < waitTime / 2) {
        failAsLost();
    }
}

std::uint8_t PortLink::readByte() {
    char byte = 0;
    requirePort(port->getChar(&byte), "Serial read failed", *port);
    return static_cast<std::uint8_t>(byte);
}

void PortLink::idle() {
    if (hasByte()) {
        poll(0);
    } else {
        waitForByte();
    }
}

void PortLink::checkHealth() const {
    const QSerialPort::SerialPortError error = port->error();
    if (error != QSerialPort::NoError && error != QSerialPort::TimeoutError) {
        fail(connectionFailed, *port);
    }
}

/// Waits up to 50 ms for one of `events` (none: just waits); throws at once when the device is
/// gone, which the system tells without being asked.
bool PortLink::poll(short events) const {
    pollfd entry{port->handle(), events, 0};
    const bool ready = ::poll(&entry, 1, waitTime) > 0;
    if (ready && (entry.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
        failAsLost();
    }
    return ready;
}

} // namespace pivex
