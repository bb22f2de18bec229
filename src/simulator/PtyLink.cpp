#include "simulator/PtyLink.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace pivex {

namespace {

using std::chrono::microseconds;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

/// The device name of the far end of `master`, made ready for opening.
std::string farEndOf(int master) {
    std::array<char, 64> name{};
    if (grantpt(master) != 0 || unlockpt(master) != 0 ||
        ptsname_r(master, name.data(), name.size()) != 0) {
        fail("Cannot unlock the pseudo-terminal");
    }
    return name.data();
}

/// Turns echo, line editing and character translation off.
void setRaw(int descriptor) {
    termios line{};
    if (tcgetattr(descriptor, &line) != 0) {
        fail("Cannot read the line settings of the pseudo-terminal");
    }
    cfmakeraw(&line);
    cfsetspeed(&line, B115200);
    if (tcsetattr(descriptor, TCSANOW, &line) != 0) {
        fail("Cannot set the line of the pseudo-terminal raw");
    }
}

timespec timespecOf(microseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    return {seconds.count(), std::chrono::nanoseconds(duration - seconds).count()};
}

} // namespace

PtyLink::PtyLink() {
    master.reset(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (master.get() < 0) {
        fail("Cannot open a pseudo-terminal");
    }
    farPath = farEndOf(master.get());
    farEnd.reset(::open(farPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (farEnd.get() < 0) {
        fail("Cannot open " + farPath);
    }
    setRaw(farEnd.get());
    wakeUp.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (wakeUp.get() < 0) {
        fail("Cannot create an event counter");
    }
}

bool PtyLink::waitFor(int descriptor, short events, std::optional<microseconds> timeOut) {
    // A negative descriptor is one that poll passes over.
    std::array<pollfd, 2> polled{{{wakeUp.get(), POLLIN, 0}, {descriptor, events, 0}}};
    const timespec limit = timespecOf(timeOut.value_or(microseconds(0)));
    ppoll(polled.data(), polled.size(), timeOut ? &limit : nullptr, nullptr);
    return polled[1].revents != 0;
}

LineEvent PtyLink::wait(std::optional<microseconds> timeOut) {
    const bool hasInput = waitFor(master.get(), POLLIN, timeOut);
    if (isInterrupted || master.get() < 0) {
        return LineEvent::Closed;
    }
    return hasInput ? LineEvent::Input : LineEvent::Quiet;
}

void PtyLink::read(Bytes& buffer) {
    // A program that took the line for itself and was killed would keep the next one out.
    ioctl(farEnd.get(), TIOCNXCL);
    std::array<std::uint8_t, 4096> chunk{};
    const ssize_t count = ::read(master.get(), chunk.data(), chunk.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        hangUp();
        return;
    }
    const Passed passed = pass(LineFault::Direction::Request,
                               std::span(chunk).first(static_cast<std::size_t>(count)));
    buffer.insert(buffer.end(), passed.bytes.begin(), passed.bytes.end());
    if (passed.cut) {
        hangUp();
    }
}

void PtyLink::write(std::span<const std::uint8_t> bytes) {
    const Passed passed = pass(LineFault::Direction::Answer, bytes);
    writeAll(passed.bytes);
    if (passed.cut) {
        hangUp();
    }
}

void PtyLink::writeAll(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty() && !isInterrupted) {
        const ssize_t count = ::write(master.get(), bytes.data(), bytes.size());
        if (count >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (errno != EAGAIN && errno != EINTR) {
            return;
        } else {
            // A far end that discards its input does not always wake the writer.
            waitFor(master.get(), POLLOUT, std::chrono::milliseconds(50));
        }
    }
}

void PtyLink::hangUp() {
    farEnd.close();
    master.close();
}

void PtyLink::pause(microseconds duration) {
    waitFor(-1, 0, duration);
}

void PtyLink::interrupt() {
    isInterrupted = true;
    eventfd_write(wakeUp.get(), 1);
}

void PtyLink::setLineFault(const std::optional<LineFault>& fault) {
    const std::lock_guard lock(faultMutex);
    lineFault = fault;
    requestBytes = 0;
    answerBytes = 0;
}

std::size_t PtyLink::bytesPassed(LineFault::Direction direction) const {
    const std::lock_guard lock(faultMutex);
    return direction == LineFault::Direction::Request ? requestBytes : answerBytes;
}

PtyLink::Passed PtyLink::damaged(std::span<const std::uint8_t> bytes, const LineFault& fault,
                                 std::size_t at) {
    Passed passed{Bytes(bytes.begin(), bytes.end())};
    const auto byte = passed.bytes.begin() + static_cast<std::ptrdiff_t>(at);
    switch (fault.kind) {
    case LineFault::Kind::Drop:
        passed.bytes.erase(byte);
        break;
    case LineFault::Kind::Flip:
        *byte = static_cast<std::uint8_t>(*byte ^ 1U << fault.bit);
        break;
    case LineFault::Kind::Duplicate:
        passed.bytes.insert(byte, bytes[at]);
        break;
    case LineFault::Kind::Insert:
        passed.bytes.insert(byte, fault.value);
        break;
    case LineFault::Kind::Cut:
        passed.bytes.erase(byte, passed.bytes.end());
        passed.cut = true;
        break;
    }
    return passed;
}

PtyLink::Passed PtyLink::pass(LineFault::Direction direction, std::span<const std::uint8_t> bytes) {
    const std::lock_guard lock(faultMutex);
    std::size_t& passed = direction == LineFault::Direction::Request ? requestBytes : answerBytes;
    const std::size_t first = passed;
    passed += bytes.size();
    if (!lineFault || lineFault->direction != direction || lineFault->position < first ||
        lineFault->position >= passed) {
        return {Bytes(bytes.begin(), bytes.end())};
    }
    return damaged(bytes, *lineFault, lineFault->position - first);
}

} // namespace pivex
