#pragma once

#include <string_view>

namespace pivex {

/// Whether `bytes` are well-formed UTF-8 as RFC 3629 defines it: no stray, truncated or overlong
/// sequence, no surrogate, nothing above U+10FFFF.
bool isUtf8(std::string_view bytes);

/// `text` without the byte-order mark that editors of other systems put in front of UTF-8.
std::string_view withoutByteOrderMark(std::string_view text);

} // namespace pivex
