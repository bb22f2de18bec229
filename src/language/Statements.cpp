#include "language/Statements.h"

#include <algorithm>

namespace pivex {

namespace {

Statement statementOf(const Line& line) {
    const std::string_view word = line.tokens.front();
    if (const Definition* definition = definitionNamed(word)) {
        return {line, StatementKind::named, definition, definition->opcode};
    }
    if (word == "DIM") {
        return {.line = line, .kind = StatementKind::dim};
    }
    if (const auto opcode = rawOpcode(word)) {
        return {line, StatementKind::raw, nullptr, *opcode};
    }
    return {.line = line};
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

std::vector<Statement> statementsOf(const LineList& lines) {
    std::vector<Statement> statements(lines.size());
    std::ranges::transform(lines, statements.begin(), statementOf);
    return statements;
}

void defineFunction(const Statement& func, std::uint32_t number, FunctionTable& functions) {
    const std::string_view name = func.arguments().front();
    if (name.size() > functionNameSize) {
        fail(func.line.line, "Function names are limited to 12 bytes.");
    }
    if (!isAscii(name)) {
        fail(func.line.line, "Function names must be ASCII.");
    }
    if (!functions.emplace(name, number).second) {
        fail(func.line.line, "Duplicate function '" + std::string(name) + "'.");
    }
}

std::uint32_t calledFunction(const Statement& call, const FunctionTable& functions) {
    const std::string_view name = call.arguments().front();
    const auto found = functions.find(name);
    if (found == functions.end()) {
        fail(call.line.line, "Undefined function '" + std::string(name) + "'.");
    }
    return found->second;
}

void BlockStack::follow(const Statement& statement) {
    if (const BlockPair* opened = blockOpenedBy(*statement.definition)) {
        blocks.push_back({opened, statement.line.line});
        if (opened->opener == "FUNC" && blocks.size() > 1) {
            fail(statement.line.line, "FUNC cannot be nested inside another block.");
        }
    } else if (const BlockPair* closed = blockClosedBy(*statement.definition)) {
        if (blocks.empty() || blocks.back().pair != closed) {
            fail(statement.line.line, "Unmatched " + std::string(closed->closer) + ".");
        }
        blocks.pop_back();
    }
}

std::string BlockStack::unclosedMessage(const Open& block) {
    return "Unclosed " + std::string(block.pair->opener) + " block.";
}

} // namespace pivex
