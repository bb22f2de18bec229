#include "base/Text.h"
#include "language/Arguments.h"
#include "language/ChipCompiler.h"
#include "language/Statements.h"

#include <algorithm>
#include <stdexcept>

namespace pivex {

namespace {

constexpr std::size_t indentation = 5;

/// Function names by the number of their FUNC instruction.
using NameTable = std::unordered_map<std::uint32_t, std::string_view>;

/// One compiled instruction of `instructionSize` bytes.
using Instruction = std::span<const std::uint8_t>;

std::uint32_t opcodeOf(Instruction instruction) {
    return u32At(instruction, 0);
}

/// Argument word `index`, from 0.
std::uint32_t wordOf(Instruction instruction, std::size_t index) {
    return u32At(instruction, 4 + 4 * index);
}

bool isFunction(Instruction instruction) {
    static const std::uint32_t opcode = definitionNamed("FUNC")->opcode;
    return opcodeOf(instruction) == opcode;
}

std::string_view functionName(Instruction instruction) {
    const auto bytes = instruction.subspan(4, functionNameSize);
    const auto end = std::ranges::find(bytes, std::uint8_t{0});
    const auto isPrintable = [](std::uint8_t byte) { return byte >= 33 && byte <= 126; };
    if (!std::all_of(bytes.begin(), end, isPrintable)) {
        throw std::runtime_error("Invalid stored function name.");
    }
    return {reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::size_t>(end - bytes.begin())};
}

NameTable functionNames(std::span<const std::uint8_t> code) {
    NameTable names;
    for (std::size_t at = 0; at < code.size(); at += instructionSize) {
        const Instruction instruction = code.subspan(at, instructionSize);
        if (isFunction(instruction)) {
            names.emplace(at / instructionSize + 1, functionName(instruction));
        }
    }
    return names;
}

void appendHex(std::uint32_t word, std::string& text) {
    text += " 0x";
    text += upperHex(word);
}

void appendArgument(Arg kind, std::uint32_t word, std::string& text) {
    const std::string_view token = conditionToken(word);
    if (kind == Arg::condition && !token.empty()) {
        text += ' ';
        text += token;
    } else if (kind == Arg::value && word >= registerBit && word <= registerBit + lastRegister) {
        text += " #R";
        text += std::to_string(word - registerBit);
    } else {
        appendHex(word, text);
    }
}

void appendRaw(Instruction instruction, std::string& text) {
    const std::uint32_t opcode = opcodeOf(instruction);
    text += opcode < 0x10 ? "~0x0" : "~0x";
    text += upperHex(opcode);
    for (std::size_t index = 0; index < maxArguments; ++index) {
        appendHex(wordOf(instruction, index), text);
    }
}

void appendCall(std::uint32_t target, const NameTable& functions, std::string& text) {
    if (const auto function = functions.find(target); function != functions.end()) {
        text += ' ';
        text += function->second;
    } else {
        appendHex(target, text);
    }
}

void appendNamed(Instruction instruction, const Definition& definition, const NameTable& functions,
                 std::string& text) {
    text += definition.name;
    if (definition.name == "FUNC") {
        text += ' ';
        text += functionName(instruction);
    } else if (definition.name == "CALL") {
        appendCall(wordOf(instruction, 0), functions, text);
    } else {
        std::size_t index = 0;
        for (const Arg kind : definition.args) {
            appendArgument(kind, wordOf(instruction, index), text);
            ++index;
        }
    }
}

/// The blocks that are open around the next line. Stored programs may be unbalanced.
class Nesting {
public:
    std::size_t depth() const { return open.size(); }

    /// Leaves the innermost block that `instruction` closes, together with all blocks inside it.
    void leave(const Definition& instruction) {
        const auto innermost = std::find(open.rbegin(), open.rend(), blockClosedBy(instruction));
        if (innermost != open.rend()) {
            open.erase(innermost.base() - 1, open.end());
        }
    }

    void enter(const Definition& instruction) {
        if (const BlockPair* pair = blockOpenedBy(instruction)) {
            open.push_back(pair);
        }
    }

private:
    std::vector<const BlockPair*> open;
};

void appendLine(Instruction instruction, const NameTable& functions, Nesting& nesting,
                std::string& text) {
    const Definition* definition = definitionWithOpcode(opcodeOf(instruction));
    if (definition != nullptr) {
        nesting.leave(*definition);
    }
    text.append(nesting.depth() * indentation, ' ');
    if (definition == nullptr) {
        appendRaw(instruction, text);
        return;
    }
    appendNamed(instruction, *definition, functions, text);
    nesting.enter(*definition);
}

} // namespace

std::string decompileChip(const Bytes& code) {
    if (code.size() % instructionSize != 0) {
        throw std::runtime_error("Incomplete compiled instruction.");
    }
    const NameTable functions = functionNames(code);
    Nesting nesting;
    std::string text;
    for (std::size_t at = 0; at < code.size(); at += instructionSize) {
        if (at != 0) {
            text += '\n';
        }
        appendLine(std::span(code).subspan(at, instructionSize), functions, nesting, text);
    }
    return text;
}

} // namespace pivex
