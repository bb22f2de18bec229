#include "DiskFaults.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pivex::testing {

thread_local constinit DiskWatch* diskWatch = nullptr;

}

using pivex::testing::diskWatch;
using pivex::testing::NewFiles;

namespace {

/// Whether the call of `name` for `path` must fail; sets `errno`.
bool spoils(const char* name, const char* path) {
    if (diskWatch == nullptr || !std::string_view(path).starts_with(diskWatch->folder)) {
        return false;
    }
    const int number = static_cast<int>(diskWatch->calls.size());
    const bool isReached = diskWatch->call >= 0 && number >= diskWatch->call;
    const bool isSpoilt = isReached && (diskWatch->lasts || number == diskWatch->call);
    diskWatch->calls.emplace_back(name).append(isSpoilt ? "!" : "");
    if (isSpoilt && diskWatch->error == 0) {
        raise(SIGKILL);
    }
    errno = isSpoilt ? diskWatch->error : errno;
    return isSpoilt;
}

/// The same for an open file.
bool spoils(const char* name, int file) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    return diskWatch != nullptr &&
           readlinkat(AT_FDCWD, link.c_str(), path.data(), path.size() - 1) > 0 &&
           spoils(name, path.data());
}

/// Whether the folder does not take the new file that is opened with `flags`; sets `errno`.
bool isRefused(const char* path, int flags) {
    const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
    const bool isNew =
        isNameless || ((flags & O_CREAT) != 0 && faccessat(AT_FDCWD, path, F_OK, 0) != 0);
    errno = isNameless ? EOPNOTSUPP : EACCES;
    return (isNameless && diskWatch->newFiles != NewFiles::Any) ||
           (isNew && diskWatch->newFiles == NewFiles::None);
}

/// The C library's function.
template<auto* Function>
decltype(Function) next(const char* name) {
    static const auto found = reinterpret_cast<decltype(Function)>(dlsym(RTLD_NEXT, name));
    return found;
}

/// Calls the C library's function unless the call, which concerns `place`, must fail.
template<auto* Function, typename Place, typename... Arguments>
auto watched(const char* name, Place place, Arguments... arguments) {
    using Result = decltype(Function(arguments...));
    return spoils(name, place) ? static_cast<Result>(-1) : next<Function>(name)(arguments...);
}

} // namespace

extern "C" {

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    const bool isTaken = diskWatch == nullptr || !isRefused(path, flags);
    return isTaken ? watched<&::open64>("open64", path, path, flags, mode) : -1;
}

ssize_t write(int file, const void* bytes, size_t size) {
    return watched<&::write>("write", file, file, bytes, size);
}

int fdatasync(int file) {
    // A real disk takes its time, and whether it did its work would show only after a power cut.
    return spoils("fdatasync", file) ? -1 : 0;
}

off64_t lseek64(int file, off64_t offset, int origin) noexcept {
    return watched<&::lseek64>("lseek64", file, file, offset, origin);
}

int fchmod(int file, mode_t mode) noexcept {
    return watched<&::fchmod>("fchmod", file, file, mode);
}

int close(int file) {
    // Whatever it reports, the file is closed.
    const bool isSpoilt = spoils("close", file);
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
