#include "language/InstructionSet.h"

#include "base/Text.h"

namespace pivex {

namespace {

constexpr std::array<std::string_view, 7> conditionNames{"EQ", "NE", "LT",  "GT",
                                                         "LE", "GE", "DIV2"};

constexpr auto opcodeIndex = [] {
    std::array<const Definition*, 256> index{};
    for (const Definition& definition : definitions) {
        index[definition.opcode] = &definition;
    }
    return index;
}();

} // namespace

const Definition* definitionNamed(std::string_view name) {
    const auto found =
        std::ranges::lower_bound(definitions, name, std::ranges::less{}, &Definition::name);
    return found != definitions.end() && found->name == name ? &*found : nullptr;
}

const Definition* definitionWithOpcode(std::uint32_t opcode) {
    return opcode < opcodeIndex.size() ? opcodeIndex[opcode] : nullptr;
}

const BlockPair* blockOpenedBy(std::string_view name) {
    const auto found = std::ranges::find(blockPairs, name, &BlockPair::opener);
    return found != blockPairs.end() ? &*found : nullptr;
}

const BlockPair* blockClosedBy(std::string_view name) {
    const auto found = std::ranges::find(blockPairs, name, &BlockPair::closer);
    return found != blockPairs.end() ? &*found : nullptr;
}

std::string_view conditionToken(std::uint32_t code) {
    return code < conditionNames.size() ? conditionNames[code] : std::string_view{};
}

std::optional<std::uint32_t> conditionCode(std::string_view word) {
    const auto found = std::ranges::find(conditionNames, word);
    if (found == conditionNames.end()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(found - conditionNames.begin());
}

std::optional<std::uint32_t> rawOpcode(std::string_view word) {
    constexpr std::string_view prefix = "~0X";
    if (word.size() != prefix.size() + 2 || !word.starts_with(prefix)) {
        return std::nullopt;
    }
    const auto opcode = parseDigits(word.substr(prefix.size()), 16, 0xFF);
    return opcode ? std::optional(static_cast<std::uint32_t>(*opcode)) : std::nullopt;
}

} // namespace pivex
