#include "Fuzz.h"

// The names by which the fuzzing engine and the sanitizers look for these.
// NOLINTBEGIN(readability-identifier-naming)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" const char* __asan_default_options();

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pivex::fuzzing::fuzzOne(pivex::fuzzing::Input({data, size}));
    return 0;
}

/// Spares what costs time at every allocation and every exception.
extern "C" const char* __asan_default_options() {
    return "malloc_context_size=0:max_malloc_fill_size=0:quarantine_size_mb=4:use_sigaltstack=0";
}

// NOLINTEND(readability-identifier-naming)
