#include "DiskFaults.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pivex::testing {

namespace {

/// Other threads, and libraries that run before main(), see none.
thread_local constinit DiskWatch* current = nullptr;

/// The C library's function.
template<auto* Function>
decltype(Function) next(const char* name) {
    static const auto found = reinterpret_cast<decltype(Function)>(dlsym(RTLD_NEXT, name));
    return found;
}

/// Calls the C library's function unless the watch spoils the call, which concerns `place`.
template<auto* Function, typename Place, typename... Arguments>
auto watched(const char* name, Place place, Arguments... arguments) {
    using Result = decltype(Function(arguments...));
    if (current != nullptr && current->spoils(name, place)) {
        return static_cast<Result>(-1);
    }
    return next<Function>(name)(arguments...);
}

} // namespace

DiskWatch::DiskWatch(std::string watchedFolder, const DiskFault& diskFault)
    : folder(std::move(watchedFolder)), fault(diskFault) {
    current = this;
}

DiskWatch::~DiskWatch() {
    current = nullptr;
}

bool DiskWatch::spoils(const char* name, const char* path) {
    return std::string_view(path).starts_with(folder) && spoilsNext(name);
}

bool DiskWatch::spoils(const char* name, int file) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    return readlinkat(AT_FDCWD, link.c_str(), path.data(), path.size() - 1) > 0 &&
           spoils(name, path.data());
}

bool DiskWatch::refuses(const char* path, int flags) const {
    const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
    const bool isNew =
        isNameless || ((flags & O_CREAT) != 0 && faccessat(AT_FDCWD, path, F_OK, 0) != 0);
    errno = isNameless ? EOPNOTSUPP : EACCES;
    return (isNameless && fault.newFiles != NewFiles::Any) ||
           (isNew && fault.newFiles == NewFiles::None);
}

bool DiskWatch::spoilsNext(const char* name) {
    const int number = static_cast<int>(calls.size());
    const bool isSpoilt =
        fault.call >= 0 && (fault.lasts ? number >= fault.call : number == fault.call);
    calls.emplace_back(name).append(isSpoilt ? "!" : "");
    if (isSpoilt && fault.error == 0) {
        raise(SIGKILL);
    }
    errno = isSpoilt ? fault.error : errno;
    return isSpoilt;
}

} // namespace pivex::testing

using pivex::testing::current;
using pivex::testing::next;
using pivex::testing::watched;

extern "C" {

int open64(const char* path, int flags, ...) {
    if (current != nullptr && current->refuses(path, flags)) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return watched<&::open64>("open64", path, path, flags, mode);
}

ssize_t write(int file, const void* bytes, size_t size) {
    return watched<&::write>("write", file, file, bytes, size);
}

int fdatasync(int file) {
    // A real disk takes its time, and whether it did its work would show only after a power cut.
    if (current != nullptr) {
        return current->spoils("fdatasync", file) ? -1 : 0;
    }
    return next<&::fdatasync>("fdatasync")(file);
}

off64_t lseek64(int file, off64_t offset, int origin) noexcept {
    return watched<&::lseek64>("lseek64", file, file, offset, origin);
}

int fchmod(int file, mode_t mode) noexcept {
    return watched<&::fchmod>("fchmod", file, file, mode);
}

int close(int file) {
    // Whatever it reports, the file is closed.
    const bool isSpoilt = current != nullptr && current->spoils("close", file);
    const int error = errno;
    const int result = next<&::close>("close")(file);
    errno = isSpoilt ? error : errno;
    return isSpoilt ? -1 : result;
}

int access(const char* path, int mode) noexcept {
    return watched<&::access>("access", path, path, mode);
}

int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept {
    return *path == '\0' ? watched<&::statx>("statx", folder, folder, path, flags, mask, status)
                         : watched<&::statx>("statx", path, folder, path, flags, mask, status);
}

ssize_t readlink(const char* path, char* target, size_t size) noexcept {
    return watched<&::readlink>("readlink", path, path, target, size);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    return watched<&::linkat>("linkat", to, fromFolder, from, toFolder, to, flags);
}

int rename(const char* from, const char* to) noexcept {
    return watched<&::rename>("rename", to, from, to);
}

int unlink(const char* path) noexcept {
    return watched<&::unlink>("unlink", path, path);
}
}
