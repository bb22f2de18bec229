#pragma once

#include "simulator/BoardFault.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pivex {

/// What the command line of the simulated board asks for.
struct BoardOptions {
    bool help = false;
    bool version = false;
    bool samples = false;
    bool log = false;
    bool uploadMode = true;
    std::size_t generatedChips = 0;
    std::optional<std::string> identity{};
    std::optional<std::string> store{};
    std::vector<Fault> faults{};
};

/// The text of --help.
extern const std::string_view boardHelp;

/// Reads the arguments behind the program's name; throws std::runtime_error at the first that is
/// unknown, lacks its value or has a bad one.
BoardOptions parseBoardOptions(std::span<const char* const> arguments);

} // namespace pivex
