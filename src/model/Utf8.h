#pragma once

#include <string_view>

namespace pivex {

/// The byte-order mark that editors of other systems put in front of a UTF-8 text.
inline constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

/// Whether `bytes` are well-formed UTF-8 as RFC 3629 defines it: no stray, truncated or overlong
/// sequence, no surrogate, nothing above U+10FFFF.
bool isUtf8(std::string_view bytes);

} // namespace pivex
