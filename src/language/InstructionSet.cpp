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

constexpr std::size_t slotCount = 256;

/// Where the search for `name`, at least one byte, begins in the table of names. The factors keep
/// the instructions of the table apart but for a few.
constexpr std::size_t slotOf(std::string_view name) {
    const auto byteAt = [name](std::size_t index) {
        return static_cast<unsigned char>(name[index]);
    };
    return (byteAt(0) * 21 + byteAt(name.size() / 2) * 39 + byteAt(name.size() - 1) * 25 +
            name.size()) %
           slotCount;
}

/// Every instruction in the first free slot from `slotOf` its name on.
constexpr auto nameIndex = [] {
    std::array<const Definition*, slotCount> index{};
    // Under the sanitizers the compiler does not compare such a pointer with null in advance.
    std::array<bool, slotCount> isTaken{};
    for (const Definition& definition : definitions) {
        std::size_t slot = slotOf(definition.name);
        while (isTaken[slot]) {
            slot = (slot + 1) % slotCount;
        }
        isTaken[slot] = true;
        index[slot] = &definition;
    }
    return index;
}();

/// By opcode, the pair whose opener or closer (`side`) the instruction is.
constexpr auto blockIndex(std::string_view BlockPair::*side) {
    std::array<const BlockPair*, 256> index{};
    for (const BlockPair& pair : blockPairs) {
        index[std::ranges::find(definitions, pair.*side, &Definition::name)->opcode] = &pair;
    }
    return index;
}

constexpr auto openedBlocks = blockIndex(&BlockPair::opener);
constexpr auto closedBlocks = blockIndex(&BlockPair::closer);

} // namespace

const Definition* definitionNamed(std::string_view name) {
    if (name.empty()) {
        return nullptr;
    }
    std::size_t slot = slotOf(name);
    while (nameIndex[slot] != nullptr && nameIndex[slot]->name != name) {
        slot = (slot + 1) % slotCount;
    }
    return nameIndex[slot];
}

const Definition* definitionWithOpcode(std::uint32_t opcode) {
    return opcode < opcodeIndex.size() ? opcodeIndex[opcode] : nullptr;
}

const BlockPair* blockOpenedBy(const Definition& instruction) {
    return openedBlocks[instruction.opcode];
}

const BlockPair* blockClosedBy(const Definition& instruction) {
    return closedBlocks[instruction.opcode];
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
