#pragma once

#include <cstdio>
#include <stdexcept>

namespace pivex {

/// Throws std::runtime_error with `sentence`, which says what is wrong, unless `holds`.
inline void expect(bool holds, const char* sentence) {
    if (!holds) {
        throw std::runtime_error(sentence);
    }
}

/// Runs `check`; what it throws is printed as one line that begins with `subject`. True when it
/// threw nothing.
template<class Check>
bool passes(const char* subject, const Check& check) {
    try {
        check();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s self-check: %s\n", subject, failure.what());
        return false;
    }
    return true;
}

} // namespace pivex
