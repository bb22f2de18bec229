#pragma once

#include "base/Bytes.h"

#include <cstddef>
#include <vector>

namespace pivex {

/// A stretch of runs that was replaced: `oldCount` runs from run `oldFirst` of the old run-length
/// form gave way to `newCount` runs from run `newFirst` of the new one.
struct RunChange {
    std::size_t oldFirst = 0;
    std::size_t oldCount = 0;
    std::size_t newFirst = 0;
    std::size_t newCount = 0;

    bool operator==(const RunChange&) const = default;
};

/// What turns the runs `before` into the runs `after`, in order and without overlap; both are
/// sequences of complete three-byte runs. Runs that begin at the same pixel are held against each
/// other, so changes far apart are told apart in one pass.
std::vector<RunChange> runChanges(const Bytes& before, const Bytes& after);

} // namespace pivex
