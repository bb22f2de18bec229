#include "simulator/BoardOptions.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace pivex {

namespace {

struct FlagRule {
    std::string_view name;
    void (*apply)(BoardOptions&);
};

struct ValueRule {
    std::string_view name;
    void (*apply)(BoardOptions&, std::string_view value);
};

constexpr std::array<FlagRule, 5> flagRules{{
    {"--help", [](BoardOptions& options) { options.help = true; }},
    {"--version", [](BoardOptions& options) { options.version = true; }},
    {"--samples", [](BoardOptions& options) { options.samples = true; }},
    {"--log", [](BoardOptions& options) { options.log = true; }},
    {"--no-upload-mode", [](BoardOptions& options) { options.uploadMode = false; }},
}};

void applyChips(BoardOptions& options, std::string_view value) {
    const auto count = parseDigits(value, 10, 65535);
    if (!count) {
        throw std::runtime_error("\"" + std::string(value) + "\" is not a number up to 65535.");
    }
    options.generatedChips = *count;
}

constexpr std::array<ValueRule, 4> valueRules{{
    {"--identity", [](BoardOptions& options, std::string_view value) { options.identity = value; }},
    {"--store", [](BoardOptions& options, std::string_view value) { options.store = value; }},
    {"--chips", applyChips},
    {"--fault", [](BoardOptions& options,
                   std::string_view value) { options.faults.push_back(parseFault(value)); }},
}};

} // namespace

const std::string_view boardHelp = R"(Usage: pivex-board [options]

Simulates a Pivex board behind a pseudo-terminal. The first line of output is the
device to connect to; the board then serves it until it is interrupted.

  --identity TEXT   name that the board answers with
  --store FILE      keep the stored content in FILE (made if there is none)
  --samples         start with a few stored tests, images and fonts
  --chips N         start with N generated tests (up to 65535)
  --no-upload-mode  start outside of Upload Mode
  --log             write every request to standard error
  --fault FAULT     misbehave, as COMMAND:PACKET:KIND or COMMAND:PACKET:KIND:COUNT;
                    may be given more than once. PACKET counts the requests of that
                    COMMAND from 1, COUNT of them are hit. Kinds: Busy, Refuse,
                    Silent, Late, Stale, Corrupt, Split, Glued, Oversized,
                    WrongEcho, Short, TooLong, HangUp, Flood
  --help            show this text
  --version         show the version

--samples and --chips fill a new board only: what a storage file holds stays as it is.
)";

BoardOptions parseBoardOptions(std::span<const char* const> arguments) {
    BoardOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view name = arguments[i];
        const auto flag = std::ranges::find(flagRules, name, &FlagRule::name);
        const auto valued = std::ranges::find(valueRules, name, &ValueRule::name);
        if (flag != flagRules.end()) {
            flag->apply(options);
        } else if (valued == valueRules.end()) {
            throw std::runtime_error("Unknown option \"" + std::string(name) + "\".");
        } else if (++i == arguments.size()) {
            throw std::runtime_error("Option " + std::string(name) + " needs a value.");
        } else {
            valued->apply(options, arguments[i]);
        }
    }
    return options;
}

} // namespace pivex
