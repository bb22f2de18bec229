#include "model/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace pivex {

namespace {

/// Well-formed sequences that share a length: the range of the first byte and of the second. All
/// further bytes are 80 to BF.
struct SequenceForm {
    unsigned char firstLow;
    unsigned char firstHigh;
    unsigned char secondLow;
    unsigned char secondHigh;
    std::size_t length;
};

/// RFC 3629, section 4; the narrow second bytes keep out overlong forms, surrogates and everything
/// above U+10FFFF.
constexpr std::array<SequenceForm, 9> sequenceForms{{
    {0x00, 0x7F, 0x80, 0xBF, 1},
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

bool isBetween(char c, unsigned char low, unsigned char high) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= low && byte <= high;
}

/// The length of the well-formed sequence at the front of `bytes`, which is not empty; 0 if there
/// is none.
std::size_t sequenceLength(std::string_view bytes) {
    const auto* form = std::ranges::find_if(sequenceForms, [&](const SequenceForm& each) {
        return isBetween(bytes.front(), each.firstLow, each.firstHigh);
    });
    if (form == sequenceForms.end() || bytes.size() < form->length) {
        return 0;
    }
    if (form->length > 1 && !isBetween(bytes[1], form->secondLow, form->secondHigh)) {
        return 0;
    }
    const auto continues = [](char c) { return isBetween(c, 0x80, 0xBF); };
    const std::string_view rest = bytes.substr(0, form->length);
    return std::ranges::all_of(rest.substr(std::min<std::size_t>(2, rest.size())), continues)
               ? form->length
               : 0;
}

} // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        if (length == 0) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

std::string_view withoutByteOrderMark(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

} // namespace pivex
