#pragma once

#include "language/ChipCompiler.h"
#include "language/InstructionSet.h"
#include "language/Lexer.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace pivex {

/// What the first word of a line makes of it.
enum class StatementKind : std::uint8_t {
    dim,     ///< a named constant; no instruction
    named,   ///< an instruction of the table
    raw,     ///< an instruction given by its number
    unknown, ///< anything else; no instruction
};

/// A line together with the meaning of its first word.
struct Statement {
    const Line* source = nullptr;
    const Definition* definition = nullptr; ///< set for `named` only
    std::uint32_t opcode = 0;               ///< of a `named` or `raw` instruction
    StatementKind kind = StatementKind::unknown;

    /// Whether the compiler makes bytes of it.
    bool isInstruction() const {
        return kind == StatementKind::named || kind == StatementKind::raw;
    }

    /// The number of the source line.
    std::uint32_t line() const { return source->line; }

    /// The first word.
    std::string_view name() const { return source->tokens.front(); }

    /// The words after the first.
    std::span<const std::string_view> arguments() const { return source->tokens.subspan(1); }
};

/// The statements of a program, one per line with words. They refer to `lines`.
std::vector<Statement> statementsOf(const LineList& lines);

/// The functions of a program by name, with the number of their FUNC instruction.
using FunctionTable = std::unordered_map<std::string_view, std::uint32_t>;

/// The bytes that a compiled FUNC instruction has for its name.
inline constexpr std::size_t functionNameSize = 12;

/// Adds the function that a FUNC statement with one argument begins. Checks in this order and
/// throws `Error`: length, ASCII, duplicate.
void defineFunction(const Statement& func, std::uint32_t number, FunctionTable& functions);

/// The instruction number of the function that a CALL statement with one argument names. Throws
/// `Error` for one that is nowhere defined.
std::uint32_t calledFunction(const Statement& call, const FunctionTable& functions);

/// The blocks that are open at one place of a program.
class BlockStack {
public:
    /// An open block: the name and the source line of the instruction that opened it.
    struct Open {
        const BlockPair* pair;
        std::uint32_t line;
    };

    /// Follows a named instruction in or out of its block. Throws `Error` for a FUNC inside a
    /// block, which is open nevertheless, and for a closer that does not fit the innermost block,
    /// which closes nothing.
    void follow(const Statement& statement);

    /// The open blocks, outermost first.
    std::span<const Open> open() const { return blocks; }

    /// What the user reads of a block that was never closed.
    static std::string unclosedMessage(const Open& block);

private:
    std::vector<Open> blocks;
};

/// Every problem of a program that has been cut into statements, sorted by line.
std::vector<CodeDiagnostic> checkStatements(std::span<const Statement> statements,
                                            std::int32_t pins);

} // namespace pivex
