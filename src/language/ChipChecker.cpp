#include "language/Arguments.h"
#include "language/ChipCompiler.h"
#include "language/Statements.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace pivex {

namespace {

/// Runs the compiler's checks one by one and notes each that fails.
class Checker {
public:
    explicit Checker(std::int32_t pinCount) : pins(pinCount) {}

    std::vector<CodeDiagnostic> run(std::span<const Statement> statements) {
        if (pins < 1) {
            note(0, "Pin count must be positive.");
        }
        for (const Statement& statement : statements) {
            define(statement);
        }
        for (const Statement& statement : statements) {
            check(statement);
        }
        for (const BlockStack::Open& block : blocks.open()) {
            note(block.line, BlockStack::unclosedMessage(block));
        }
        const bool isExecutable = std::ranges::any_of(statements, &Statement::isInstruction);
        if (!isExecutable && diagnostics.empty()) {
            note(1, "No executable instructions.");
        }
        std::ranges::stable_sort(diagnostics, std::ranges::less{}, &CodeDiagnostic::line);
        return std::move(diagnostics);
    }

private:
    void note(std::uint32_t line, std::string message) {
        diagnostics.push_back({static_cast<std::int32_t>(line), std::move(message)});
    }

    /// Notes what `check` throws; `argument` is the number of the argument that it reads, if any.
    template<typename Check>
    void attempt(const Check& check, std::size_t argument = 0) {
        try {
            check();
        } catch (const Error& error) {
            const std::string place =
                argument == 0 ? "" : "Argument " + std::to_string(argument) + ": ";
            diagnostics.push_back({error.line, place + error.message});
        }
    }

    void define(const Statement& statement) {
        if (statement.kind == StatementKind::dim) {
            attempt([&] { defineDim(*statement.source, dims); });
        } else if (statement.name() == "FUNC" && statement.arguments().size() == 1) {
            // Nothing is encoded here, so the functions need no numbers.
            attempt([&] { defineFunction(statement, 0, functions); });
        }
    }

    void check(const Statement& statement) {
        switch (statement.kind) {
        case StatementKind::dim:
            return;
        case StatementKind::unknown:
            note(statement.line(), "Unknown opcode '" + std::string(statement.name()) + "'.");
            return;
        case StatementKind::raw:
            checkRaw(statement);
            return;
        case StatementKind::named:
            checkNamed(statement);
            return;
        }
    }

    void checkRaw(const Statement& statement) {
        const auto words = statement.arguments();
        if (words.size() > maxArguments) {
            note(statement.line(), "Raw opcodes accept at most three arguments.");
        }
        for (std::size_t index = 0; index < std::min(words.size(), maxArguments); ++index) {
            attempt([&] { valueOf(words[index], dims, statement.line()); }, index + 1);
        }
    }

    void checkNamed(const Statement& statement) {
        attempt([&] { blocks.follow(statement); });
        const std::size_t expected = statement.definition->args.size();
        if (statement.arguments().size() != expected) {
            note(statement.line(), std::string(statement.name()) + " expects " +
                                       std::to_string(expected) + " argument(s).");
        } else if (statement.name() == "CALL") {
            attempt([&] { calledFunction(statement, functions); });
        } else if (statement.name() != "FUNC") {
            checkArguments(statement);
        }
    }

    void checkArguments(const Statement& statement) {
        const auto words = statement.arguments();
        for (std::size_t index = 0; index < words.size(); ++index) {
            const auto check = [&] {
                argumentWord(*statement.definition, index, words[index], dims, pins,
                             statement.line());
            };
            attempt(check, index + 1);
        }
    }

    std::int32_t pins;
    DimTable dims;
    FunctionTable functions;
    BlockStack blocks;
    std::vector<CodeDiagnostic> diagnostics;
};

} // namespace

std::vector<CodeDiagnostic> checkStatements(std::span<const Statement> statements,
                                            std::int32_t pins) {
    return Checker(pins).run(statements);
}

std::vector<CodeDiagnostic> validateChip(const ChipDocument& document) {
    try {
        const LineList lines = tokenize(document.code);
        return checkStatements(statementsOf(lines), document.pins);
    } catch (const Error& error) {
        return {{error.line, error.message}};
    }
}

} // namespace pivex
