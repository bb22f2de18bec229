#include "language/Statements.h"

#include <algorithm>

namespace pivex {

namespace {

/// Sets what the first word of the line makes of it. A record that is copied right after its
/// fields were written one by one makes the processor wait, so this one is written in its place.
void classify(Statement& statement) {
    const std::string_view word = statement.name();
    if (const Definition* definition = definitionNamed(word)) {
        statement.kind = StatementKind::named;
        statement.definition = definition;
        statement.opcode = definition->opcode;
    } else if (word == "DIM") {
        statement.kind = StatementKind::dim;
    } else if (const auto opcode = rawOpcode(word)) {
        statement.kind = StatementKind::raw;
        statement.opcode = *opcode;
    }
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

std::vector<Statement> statementsOf(const LineList& lines) {
    std::vector<Statement> statements;
    statements.reserve(lines.size());
    for (const Line& line : lines) {
        Statement& statement = statements.emplace_back();
        statement.source = &line;
        classify(statement);
    }
    return statements;
}

void defineFunction(const Statement& func, std::uint32_t number, FunctionTable& functions) {
    const std::string_view name = func.arguments().front();
    if (name.size() > functionNameSize) {
        fail(func.line(), "Function names are limited to 12 bytes.");
    }
    if (!isAscii(name)) {
        fail(func.line(), "Function names must be ASCII.");
    }
    if (!functions.emplace(name, number).second) {
        fail(func.line(), "Duplicate function '" + std::string(name) + "'.");
    }
}

std::uint32_t calledFunction(const Statement& call, const FunctionTable& functions) {
    const std::string_view name = call.arguments().front();
    const auto found = functions.find(name);
    if (found == functions.end()) {
        fail(call.line(), "Undefined function '" + std::string(name) + "'.");
    }
    return found->second;
}

void BlockStack::follow(const Statement& statement) {
    if (const BlockPair* opened = blockOpenedBy(*statement.definition)) {
        blocks.push_back({opened, statement.line()});
        if (opened->opener == "FUNC" && blocks.size() > 1) {
            fail(statement.line(), "FUNC cannot be nested inside another block.");
        }
    } else if (const BlockPair* closed = blockClosedBy(*statement.definition)) {
        if (blocks.empty() || blocks.back().pair != closed) {
            fail(statement.line(), "Unmatched " + std::string(closed->closer) + ".");
        }
        blocks.pop_back();
    }
}

std::string BlockStack::unclosedMessage(const Open& block) {
    return "Unclosed " + std::string(block.pair->opener) + " block.";
}

} // namespace pivex
