#include "Fuzz.h"
#include "base/Text.h"
#include "language/ChipCompiler.h"
#include "language/InstructionSet.h"

namespace pivex::fuzzing {

namespace {

constexpr std::uint32_t funcOpcode = 0xC1;
constexpr std::uint32_t callOpcode = 0xC3;

using Instruction = std::span<const std::uint8_t>;

/// An argument word in one byte: small, a register, or spelled out in four more.
void appendWord(Input& input, Bytes& code) {
    const std::uint8_t form = input.byte();
    Bytes word{static_cast<std::uint8_t>(form & 0x3F), 0, 0, 0};
    if (form >= 0xC0) {
        word = input.bytes(4);
        word.resize(4);
    } else if (form >= 0x80) {
        word[3] = 0x80;
    }
    code.insert(code.end(), word.begin(), word.end());
}

/// Instructions in few bytes each, mostly such as the compiler makes.
Bytes codeFrom(Input& input) {
    Bytes code;
    while (!input.isEmpty()) {
        const std::uint8_t opcode = input.byte();
        const bool isNamed = opcode < definitions.size();
        const std::uint32_t value = isNamed ? definitions[opcode].opcode : opcode;
        code.insert(code.end(), {static_cast<std::uint8_t>(value), 0, 0, 0});
        if (value == funcOpcode) {
            Bytes name = input.bytes(1 + input.below(12));
            name.resize(12);
            code.insert(code.end(), name.begin(), name.end());
            continue;
        }
        for (std::size_t word = 0; word < maxArguments; ++word) {
            const bool isUsed = !isNamed || word < definitions[opcode].args.size();
            if (isUsed) {
                appendWord(input, code);
            } else {
                code.resize(code.size() + 4);
            }
        }
    }
    return code;
}

/// The name bytes of a FUNC before its first zero.
std::string nameOf(Instruction instruction) {
    const auto bytes = instruction.subspan(4, 12);
    return {bytes.begin(), std::ranges::find(bytes, std::uint8_t{0})};
}

std::string expectedFailure(const Bytes& code) {
    if (code.size() % instructionSize != 0) {
        return "Incomplete compiled instruction.";
    }
    for (std::size_t at = 0; at < code.size(); at += instructionSize) {
        const Instruction instruction = std::span(code).subspan(at, instructionSize);
        const bool isPrintable =
            u32At(code, at) != funcOpcode ||
            std::ranges::all_of(nameOf(instruction), [](char c) { return c >= 33 && c <= 126; });
        if (!isPrintable) {
            return "Invalid stored function name.";
        }
    }
    return {};
}

/// The closers of the blocks around an instruction, the innermost last.
using Closers = std::vector<std::string_view>;

/// Leaves the blocks that `name` closes, with all inside them, and gives the indentation.
std::size_t indentationOf(std::string_view name, Closers& open) {
    const auto closed = std::ranges::find(open.rbegin(), open.rend(), name);
    if (closed != open.rend()) {
        open.erase(closed.base() - 1, open.end());
    }
    const std::size_t indentation = 5 * open.size();
    const auto* opened = std::ranges::find(blockPairs, name, &BlockPair::opener);
    if (opened != blockPairs.end()) {
        open.push_back(opened->closer);
    }
    return indentation;
}

/// Takes a line off `text` and checks that it names `instruction`, indented by its blocks.
void checkLine(std::string_view& text, Instruction instruction, Closers& open) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
    line.remove_prefix(indent);
    const std::uint32_t opcode = u32At(instruction, 0);
    const Definition* definition = definitionWithOpcode(opcode);
    const std::string name = definition != nullptr
                                 ? std::string(definition->name)
                                 : (opcode < 16 ? "~0x0" : "~0x") + upperHex(opcode);
    hold(line.substr(0, line.find(' ')) == name, "a line begins with its instruction");
    hold(indent == indentationOf(name, open), "blocks are indented by fives");
}

void checkText(const Bytes& code, std::string_view text) {
    hold(text.empty() == code.empty() && !text.ends_with('\n'), "no line is empty");
    Closers open;
    for (std::size_t at = 0; at < code.size(); at += instructionSize) {
        checkLine(text, std::span(code).subspan(at, instructionSize), open);
    }
    hold(text.empty(), "one line for each instruction");
}

/// What recompiling keeps of an instruction: all but what it has no argument for.
void checkKept(Instruction before, Instruction after) {
    const std::uint32_t opcode = u32At(before, 0);
    hold(opcode == u32At(after, 0), "recompiling keeps the opcode");
    if (opcode == funcOpcode) {
        hold(asciiUpper(nameOf(before)) == nameOf(after), "recompiling keeps a function's name");
    } else if (opcode != callOpcode) {
        const Definition* definition = definitionWithOpcode(opcode);
        const std::size_t count = definition != nullptr ? definition->args.size() : maxArguments;
        hold(std::ranges::equal(before.subspan(4, 4 * count), after.subspan(4, 4 * count)),
             "recompiling keeps the arguments");
    }
}

void checkRecompiled(const Bytes& code, const std::string& text) {
    // A stored function name may hold what begins or ends a comment in a text.
    if (text.find('/') != std::string::npos) {
        return;
    }
    ChipDocument document;
    document.pins = 40;
    document.code = text;
    const Bytes recompiled = compileChip(document).bytes;
    if (recompiled.empty()) {
        return;
    }
    hold(recompiled.size() == code.size(), "recompiling keeps every instruction");
    for (std::size_t at = 0; at < code.size(); at += instructionSize) {
        checkKept(std::span(code).subspan(at, instructionSize),
                  std::span(recompiled).subspan(at, instructionSize));
    }
    document.code = decompileChip(recompiled);
    hold(compileChip(document).bytes == recompiled, "a second round changes nothing");
}

} // namespace

/// Bytecode as it is; behind a first byte below 0x80, instructions in short form.
void fuzzOne(Input input) {
    const bool isShort = input.byte() < 0x80;
    const Bytes code = isShort ? codeFrom(input) : input.bytes(1U << 16);
    std::string text;
    const std::string failure = failureOf([&] { text = decompileChip(code); });
    hold(failure == expectedFailure(code), "exactly damaged code is refused");
    if (failure.empty()) {
        checkText(code, text);
        checkRecompiled(code, text);
    }
}

} // namespace pivex::fuzzing
