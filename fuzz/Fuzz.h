#pragma once

#include "base/Bytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace pivex::fuzzing {

/// The bytes of one run, taken from the front. What is missing reads as zero or as empty.
class Input {
public:
    explicit Input(std::span<const std::uint8_t> bytes) : rest(bytes) {}

    bool isEmpty() const { return rest.empty(); }

    std::uint8_t byte() { return rest.empty() ? std::uint8_t{0} : take(1).front(); }

    /// A number from 0 to `count` - 1; `count` is at most 256.
    std::size_t below(std::size_t count) { return byte() % count; }

    /// The next byte, if it is one of `first` up to 0xFF: bytes that begin no UTF-8 text.
    std::optional<std::uint8_t> mark(std::uint8_t first) {
        return !rest.empty() && rest.front() >= first ? std::optional(byte()) : std::nullopt;
    }

    /// The next `count` bytes, or what is left.
    Bytes bytes(std::size_t count) {
        const auto taken = take(count);
        return {taken.begin(), taken.end()};
    }

    /// The bytes before the next 0xFF, which is taken as well, or all that are left.
    std::string field() {
        const auto end = std::ranges::find(rest, std::uint8_t{0xFF});
        const auto taken = take(static_cast<std::size_t>(end - rest.begin()));
        take(1);
        return {taken.begin(), taken.end()};
    }

    /// All bytes that are left.
    std::string text() {
        const auto taken = take(rest.size());
        return {taken.begin(), taken.end()};
    }

private:
    std::span<const std::uint8_t> take(std::size_t count) {
        const auto taken = rest.first(std::min(count, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    }

    std::span<const std::uint8_t> rest;
};

/// `text` with CR LF for every LF.
inline std::string withCarriageReturns(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return result;
}

/// A text file as an editor of another system saves it: a byte-order mark and CR LF, or CR alone,
/// for every LF. Nothing for one that has either already.
inline std::optional<std::string> fromOtherSystem(std::string_view text, bool keepsLf) {
    if (text.starts_with('\xEF') || text.find('\r') != std::string_view::npos) {
        return std::nullopt;
    }
    std::string other = "\xEF\xBB\xBF" + withCarriageReturns(text);
    if (!keepsLf) {
        std::erase(other, '\n');
    }
    return other;
}

/// Ends the program unless the property holds.
inline void hold(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "This does not hold: %s\n", property);
        std::abort();
    }
}

/// Runs `step` and gives the sentence that it failed with, empty when it did not.
template<typename Step>
std::string failureOf(const Step& step) {
    try {
        step();
        return {};
    } catch (const std::runtime_error& failure) {
        std::string sentence = failure.what();
        hold(!sentence.empty() && sentence.front() >= 'A' && sentence.front() <= 'Z',
             "a failure carries a sentence");
        return sentence;
    }
}

/// What `step` gives; nothing when it fails, which it must do with a sentence.
template<typename Step>
auto resultOf(const Step& step) {
    std::optional<decltype(step())> result;
    failureOf([&] { result = step(); });
    return result;
}

/// Defined by each harness: runs one input and holds its properties.
void fuzzOne(Input input);

} // namespace pivex::fuzzing
