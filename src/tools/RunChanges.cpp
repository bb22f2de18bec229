#include "tools/RunChanges.h"

#include <algorithm>

namespace pivex {

namespace {

constexpr std::size_t bytesPerRun = 3;

/// A place in a sequence of runs: the run and the pixel at which it begins.
struct RunCursor {
    const Bytes& runs;
    std::size_t run = 0;
    std::size_t pixel = 0;

    bool isAtEnd() const { return run * bytesPerRun >= runs.size(); }

    void advance() {
        pixel += runs[run * bytesPerRun];
        ++run;
    }

    bool sameAs(const RunCursor& other) const {
        const auto* bytes = runs.data() + run * bytesPerRun;
        return pixel == other.pixel && !isAtEnd() && !other.isAtEnd() &&
               std::equal(bytes, bytes + bytesPerRun, other.runs.data() + other.run * bytesPerRun);
    }
};

/// Passes the runs that differ, up to the next run that both have at the same pixel.
RunChange passChange(RunCursor& before, RunCursor& after) {
    RunChange change{.oldFirst = before.run, .newFirst = after.run};
    while (!before.sameAs(after) && !(before.isAtEnd() && after.isAtEnd())) {
        const bool oldIsBehind = before.pixel <= after.pixel;
        const bool newIsBehind = after.pixel <= before.pixel;
        if (!before.isAtEnd() && (oldIsBehind || after.isAtEnd())) {
            before.advance();
        }
        if (!after.isAtEnd() && (newIsBehind || before.isAtEnd())) {
            after.advance();
        }
    }
    change.oldCount = before.run - change.oldFirst;
    change.newCount = after.run - change.newFirst;
    return change;
}

} // namespace

std::vector<RunChange> runChanges(const Bytes& before, const Bytes& after) {
    std::vector<RunChange> changes;
    RunCursor oldRun{before};
    RunCursor newRun{after};
    while (!oldRun.isAtEnd() || !newRun.isAtEnd()) {
        if (oldRun.sameAs(newRun)) {
            oldRun.advance();
            newRun.advance();
        } else {
            changes.push_back(passChange(oldRun, newRun));
        }
    }
    return changes;
}

} // namespace pivex
