#include "language/ChipCompiler.h"
#include "language/Statements.h"

#include <algorithm>
#include <charconv>

namespace pivex {

namespace {

/// An unclosed block is reported where it opens, which is a sound line by itself.
bool marksLine(const CodeDiagnostic& diagnostic) {
    return !diagnostic.message.starts_with("Unclosed ");
}

/// The sorted lines that have a diagnostic worth a mark.
std::vector<std::int32_t> faultyLines(const std::vector<CodeDiagnostic>& diagnostics) {
    std::vector<std::int32_t> lines;
    for (const CodeDiagnostic& diagnostic : diagnostics) {
        if (marksLine(diagnostic)) {
            lines.push_back(diagnostic.line);
        }
    }
    return lines;
}

/// Sets `text` to `number` in decimal, without a copy that would wait for the digits.
void setNumber(std::string& text, std::uint32_t number) {
    constexpr std::size_t mostDigits = 10;
    text.resize(mostDigits);
    const char* const end = std::to_chars(text.data(), text.data() + mostDigits, number).ptr;
    text.resize(static_cast<std::size_t>(end - text.data()));
}

void fillGutter(std::span<const Statement> statements, std::span<const std::int32_t> faulty,
                std::vector<GutterLine>& gutter) {
    std::uint32_t number = 0;
    for (const Statement& statement : statements) {
        if (statement.kind == StatementKind::dim) {
            continue;
        }
        GutterLine& entry = gutter[statement.line() - 1];
        if (statement.isInstruction()) {
            setNumber(entry.text, ++number);
        }
        entry.hasError =
            std::ranges::binary_search(faulty, static_cast<std::int32_t>(statement.line()));
    }
}

} // namespace

std::vector<GutterLine> instructionGutter(std::string_view code, std::int32_t pins) {
    try {
        const LineList lines = tokenize(code);
        const std::vector<Statement> statements = statementsOf(lines);
        std::vector<GutterLine> gutter(lines.sourceLineCount());
        fillGutter(statements, faultyLines(checkStatements(statements, pins)), gutter);
        return gutter;
    } catch (const Error& error) {
        std::vector<GutterLine> gutter(sourceLineCount(code));
        gutter[static_cast<std::size_t>(error.line - 1)].hasError = true;
        return gutter;
    }
}

std::vector<std::int32_t> diagnosticInstructionLines(std::span<const GutterLine> gutter) {
    const auto isNumbered = [](const GutterLine& entry) { return !entry.text.empty(); };
    const auto last = std::find_if(gutter.rbegin(), gutter.rend(), isNumbered);
    std::int32_t number = last != gutter.rend() ? std::stoi(last->text) : 1;
    std::vector<std::int32_t> numbers(gutter.size() + 2, number);
    for (std::size_t line = gutter.size(); line > 0; --line) {
        const std::string& text = gutter[line - 1].text;
        number = text.empty() ? number : std::stoi(text);
        numbers[line] = number;
    }
    numbers[0] = 0;
    return numbers;
}

std::int32_t diagnosticInstructionLine(std::span<const GutterLine> gutter, std::int32_t line) {
    if (line < 1) {
        return line;
    }
    const std::vector<std::int32_t> numbers = diagnosticInstructionLines(gutter);
    return numbers[std::min(static_cast<std::size_t>(line), numbers.size() - 1)];
}

std::int32_t diagnosticInstructionLine(std::string_view code, std::int32_t line,
                                       std::int32_t pins) {
    return diagnosticInstructionLine(instructionGutter(code, pins), line);
}

} // namespace pivex
