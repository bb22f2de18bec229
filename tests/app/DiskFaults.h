#pragma once

#include <string>
#include <vector>

namespace pivex::testing {

/// Which new files a folder takes: all, only those that have a name from the start, none.
enum class NewFiles { Any, Named, None };

/// What happens to one of the calls that a program makes to the file system.
struct DiskFault {
    int call = -1;      ///< number of the call, from 0; none for -1
    int error = 0;      ///< how it fails; 0 kills the process instead
    bool lasts = false; ///< whether all later calls fail too
    NewFiles newFiles = NewFiles::Any;
};

/// While it lives, counts the calls of this thread that concern something in `folder`, and spoils
/// them. It replaces the C library's functions for the whole program.
class DiskWatch {
public:
    DiskWatch(std::string folder, const DiskFault& fault);
    ~DiskWatch();
    DiskWatch(const DiskWatch&) = delete;
    DiskWatch& operator=(const DiskWatch&) = delete;

    /// The functions called so far, those that were made to fail with a "!" behind.
    std::vector<std::string> calls;

    /// Whether the call of `name` for `path`, or for the open `file`, must fail; sets `errno`.
    bool spoils(const char* name, const char* path);
    bool spoils(const char* name, int file);

    /// Whether the folder does not take the new file that is opened with `flags`; sets `errno`.
    bool refuses(const char* path, int flags) const;

private:
    bool spoilsNext(const char* name);

    std::string folder;
    DiskFault fault;
};

} // namespace pivex::testing
