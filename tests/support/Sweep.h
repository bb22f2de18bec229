#pragma once

#include <QtGlobal>

namespace pivex::testing {

/// Whether a sweep covers every one of its cases (`scripts/sweep`) or a sample that is small enough
/// for every test run.
inline bool fullSweep() {
    return qEnvironmentVariableIsSet("PIVEX_FULL_SWEEP");
}

/// The distance between the cases that a sweep runs: 1 when all are wanted, else `sampled`. A prime
/// keeps the sample from always meeting the same column of a table.
inline int sweepStride(int sampled) {
    return fullSweep() ? 1 : sampled;
}

} // namespace pivex::testing
