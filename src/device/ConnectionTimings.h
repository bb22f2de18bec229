#pragma once

#include <chrono>

namespace pivex {

/// The waits of one connection.
struct ConnectionTimings {
    std::chrono::milliseconds settle{1000}; ///< between opening the port and the first request
    std::chrono::milliseconds answer{3000}; ///< from a request's write to its matching answer
};

} // namespace pivex
