#include "language/ChipCompiler.h"

#include "language/Arguments.h"
#include "language/Statements.h"

#include <algorithm>
#include <array>
#include <utility>

namespace pivex {

namespace {

/// What the passes over a program gather for the encoding.
struct Program {
    std::vector<Statement> instructions;
    DimTable dims;
    FunctionTable functions;
};

void gatherInstructions(const std::vector<Statement>& statements, Program& program) {
    program.instructions.reserve(statements.size());
    for (const Statement& statement : statements) {
        if (statement.kind == StatementKind::dim) {
            defineDim(*statement.source, program.dims);
        } else if (statement.isInstruction()) {
            program.instructions.push_back(statement);
        } else {
            fail(statement.line(), "Unknown opcode '" + std::string(statement.name()) + "'.");
        }
    }
    if (program.instructions.empty()) {
        fail(1, "No executable instructions.");
    }
}

void gatherFunctions(Program& program) {
    std::uint32_t number = 0;
    for (const Statement& instruction : program.instructions) {
        ++number;
        if (instruction.name() != "FUNC") {
            continue;
        }
        if (instruction.arguments().size() != 1) {
            fail(instruction.line(), "FUNC requires exactly one function name.");
        }
        defineFunction(instruction, number, program.functions);
    }
}

void checkArgumentCount(const Statement& instruction) {
    const std::size_t expected = instruction.definition->args.size();
    const std::size_t found = instruction.arguments().size();
    if (found != expected) {
        fail(instruction.line(), std::string(instruction.name()) + " expects " +
                                     std::to_string(expected) + " argument(s), found " +
                                     std::to_string(found) + ".");
    }
}

/// The third pass: one instruction after the other into bytes.
class Encoder {
public:
    Encoder(const Program& gathered, std::int32_t pinCount) : program(gathered), pins(pinCount) {}

    Bytes run() {
        bytes.reserve(program.instructions.size() * instructionSize);
        for (const Statement& instruction : program.instructions) {
            encode(instruction);
        }
        if (!blocks.open().empty()) {
            const BlockStack::Open& innermost = blocks.open().back();
            fail(innermost.line, BlockStack::unclosedMessage(innermost));
        }
        return std::move(bytes);
    }

private:
    using Encoded = std::array<std::uint8_t, instructionSize>;

    void encode(const Statement& instruction) {
        Encoded encoded{};
        putU32(encoded, 0, instruction.opcode);
        if (instruction.kind == StatementKind::raw) {
            putRawArguments(instruction, encoded);
        } else {
            checkArgumentCount(instruction);
            blocks.follow(instruction);
            putNamedArguments(instruction, encoded);
        }
        bytes.insert(bytes.end(), encoded.begin(), encoded.end());
    }

    void putRawArguments(const Statement& instruction, Encoded& encoded) const {
        if (instruction.arguments().size() > maxArguments) {
            fail(instruction.line(), "Raw opcodes accept at most three arguments.");
        }
        std::size_t at = 4;
        for (const std::string_view word : instruction.arguments()) {
            putU32(encoded, at, valueOf(word, program.dims, instruction.line()).value);
            at += 4;
        }
    }

    void putNamedArguments(const Statement& instruction, Encoded& encoded) const {
        if (instruction.name() == "FUNC") {
            std::ranges::copy(instruction.arguments().front(), encoded.begin() + 4);
            return;
        }
        if (instruction.name() == "CALL") {
            putU32(encoded, 4, calledFunction(instruction, program.functions));
            return;
        }
        std::size_t index = 0;
        for (const std::string_view word : instruction.arguments()) {
            putU32(encoded, 4 + 4 * index,
                   argumentWord(*instruction.definition, index, word, program.dims, pins,
                                instruction.line()));
            ++index;
        }
    }

    const Program& program;
    std::int32_t pins;
    BlockStack blocks;
    Bytes bytes;
};

Bytes compiledCode(const ChipDocument& document) {
    if (document.pins < 1) {
        fail(0, "Pin count must be positive.");
    }
    const LineList lines = tokenize(document.code);
    Program program;
    gatherInstructions(statementsOf(lines), program);
    gatherFunctions(program);
    return Encoder(program, document.pins).run();
}

} // namespace

CompileResult compileChip(const ChipDocument& document) {
    try {
        return {compiledCode(document), 0, {}};
    } catch (const Error& error) {
        return {{}, error.line, error.message};
    }
}

} // namespace pivex
