#pragma once

#include <string>
#include <vector>

namespace pivex::testing {

/// Which new files a folder takes: all, only those that have a name from the start, none.
enum class NewFiles { Any, Named, None };

/// Counts the calls that concern something in a folder, and spoils one or more of them.
struct DiskWatch {
    std::string folder{};
    int call = -1;      ///< number of the call that goes wrong, from 0; none for -1
    int error = 0;      ///< how it fails; 0 kills the process instead
    bool lasts = false; ///< whether all later calls fail too
    NewFiles newFiles = NewFiles::Any;
    std::vector<std::string> calls{}; ///< so far, those that were made to fail with a "!" behind
};

/// The watch over the calls of this thread, if any. The C library's functions are replaced for the
/// whole program.
extern thread_local constinit DiskWatch* diskWatch;

} // namespace pivex::testing
