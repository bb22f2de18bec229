#include "tools/ArtworkText.h"

#include "base/Text.h"

#include <algorithm>

namespace pivex {

std::string_view takeLine(std::string_view& rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    return line;
}

std::string_view takeToken(std::string_view& rest) {
    constexpr std::string_view whiteSpace = " \t\n\v\f\r";
    rest.remove_prefix(std::min(rest.find_first_not_of(whiteSpace), rest.size()));
    const std::string_view token = rest.substr(0, rest.find_first_of(whiteSpace));
    rest.remove_prefix(token.size());
    return token;
}

std::optional<KeyLine> keyLine(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    return KeyLine{asciiLower(trimmed(line.substr(0, equals), artworkBlanks)),
                   trimmed(line.substr(equals + 1), artworkBlanks)};
}

} // namespace pivex
