#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace pivex {

/// Throws std::runtime_error with `message` unless `holds`.
inline void require(bool holds, const char* message) {
    if (!holds) {
        throw std::runtime_error(message);
    }
}

/// Runs `step` and gives its result. A failure of it is thrown on as std::runtime_error, its
/// sentence between `before` and `after`, which say what the failure means to the user.
template<typename Step>
decltype(auto) explained(std::string_view before, Step&& step, std::string_view after) {
    try {
        return step();
    } catch (const std::exception& failure) {
        throw std::runtime_error(std::string(before) + failure.what() + std::string(after));
    }
}

} // namespace pivex
