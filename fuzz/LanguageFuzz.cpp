#include "Fuzz.h"
#include "base/Text.h"
#include "language/ChipCompiler.h"
#include "language/InstructionSet.h"
#include "language/Lexer.h"

#include <array>
#include <limits>

namespace pivex::fuzzing {

namespace {

constexpr std::array<std::int32_t, 8> pinCounts{
    0,
    -1,
    1,
    2,
    24,
    40,
    std::numeric_limits<std::int32_t>::max(),
    std::numeric_limits<std::int32_t>::min(),
};

using Diagnostics = std::vector<CodeDiagnostic>;
using Gutter = std::vector<GutterLine>;

bool isInstruction(const Line& line) {
    return definitionNamed(line.tokens.front()) != nullptr || rawOpcode(line.tokens.front());
}

/// The lines of `code`; nothing when a block comment never ends.
std::optional<LineList> linesOf(const std::string& code) {
    try {
        return tokenize(code);
    } catch (const Error&) {
        return std::nullopt;
    }
}

void checkLines(const LineList& lines, std::size_t sourceLines) {
    hold(lines.sourceLineCount() == sourceLines, "both ways to count lines agree");
    std::uint32_t last = 0;
    for (const Line& line : lines) {
        hold(line.line > last && line.line <= sourceLines, "lines come in their order");
        last = line.line;
        hold(!line.tokens.empty(), "a line has words");
        for (const std::string_view word : line.tokens) {
            hold(!word.empty() && word.find_first_of(" \t\v\f\r\n") == std::string_view::npos,
                 "a word has no blanks");
            hold(asciiUpper(word) == word, "words are in upper case");
            hold(word.find("/*") == std::string_view::npos &&
                     word.find("//") == std::string_view::npos,
                 "comments are gone");
        }
    }
}

/// Whether the checker says in its own words what the compiler stopped at.
bool isNoted(const CompileResult& result, const Diagnostics& diagnostics) {
    const std::string_view message = result.errorMessage;
    const bool isCount = message.find(" argument(s), found ") != std::string_view::npos ||
                         message == "FUNC requires exactly one function name.";
    return std::ranges::any_of(diagnostics, [&](const CodeDiagnostic& diagnostic) {
        const std::string_view noted = diagnostic.message;
        return diagnostic.line == result.errorLine &&
               (isCount ? noted.ends_with(" argument(s).") : noted.ends_with(message));
    });
}

void checkAgreement(const CompileResult& result, const Diagnostics& diagnostics,
                    const ChipDocument& document, bool hasLines) {
    const bool isSuccess = result.errorMessage.empty();
    hold(isSuccess == diagnostics.empty(), "the checker is silent exactly when it compiles");
    hold(isSuccess != result.bytes.empty(), "bytes or an error, never both");
    hold(result.bytes.size() % instructionSize == 0, "instructions are whole");
    hold(std::ranges::is_sorted(diagnostics, {}, &CodeDiagnostic::line), "sorted by line");
    const auto isEmpty = [](const CodeDiagnostic& diagnostic) {
        return diagnostic.message == "No executable instructions.";
    };
    hold(diagnostics.size() <= 1 || std::ranges::none_of(diagnostics, isEmpty),
         "a faulty program is not called empty");
    if (isSuccess) {
        hold(result.errorLine == 0, "no line without an error");
    } else if (hasLines || document.pins >= 1) {
        // With an endless comment the checker looks at nothing else, not even at the pins.
        hold(isNoted(result, diagnostics), "the checker finds what the compiler finds");
    }
}

bool hasMark(const Diagnostics& diagnostics, std::uint32_t line) {
    return std::ranges::any_of(diagnostics, [&](const CodeDiagnostic& diagnostic) {
        return std::cmp_equal(diagnostic.line, line) &&
               !diagnostic.message.starts_with("Unclosed ");
    });
}

/// The numbers and marks that the lines of a text must have.
Gutter expectedGutter(const LineList& lines, const Diagnostics& diagnostics) {
    Gutter gutter(lines.sourceLineCount());
    int number = 0;
    for (const Line& line : lines) {
        if (line.tokens.front() == "DIM") {
            continue;
        }
        GutterLine& entry = gutter[line.line - 1];
        entry.text = isInstruction(line) ? std::to_string(++number) : "";
        entry.hasError = hasMark(diagnostics, line.line);
    }
    return gutter;
}

/// The compiled instructions stand in the order of the gutter's numbers.
void checkNumbers(const CompileResult& result, const LineList& lines, const Gutter& gutter) {
    std::size_t at = 0;
    for (const Line& line : lines) {
        if (gutter[line.line - 1].text.empty()) {
            continue;
        }
        const Definition* definition = definitionNamed(line.tokens.front());
        const std::uint32_t opcode =
            definition != nullptr ? definition->opcode : *rawOpcode(line.tokens.front());
        hold(at < result.bytes.size() && u32At(result.bytes, at) == opcode,
             "the gutter numbers what the compiler numbers");
        if (line.tokens.front() == "CALL") {
            const std::uint32_t target = u32At(result.bytes, at + 4);
            hold(u32At(result.bytes, (target - 1) * instructionSize) == 0xC1, "a call finds FUNC");
        }
        at += instructionSize;
    }
    hold(at == result.bytes.size(), "every instruction has a number");
}

void checkGutter(const CompileResult& result, const std::optional<LineList>& lines,
                 const Diagnostics& diagnostics, const ChipDocument& document) {
    const Gutter gutter = instructionGutter(document.code, document.pins);
    if (!lines) {
        Gutter expected(sourceLineCount(document.code));
        expected.at(static_cast<std::size_t>(diagnostics.at(0).line - 1)).hasError = true;
        hold(gutter == expected, "an endless comment marks its first line only");
        return;
    }
    hold(gutter == expectedGutter(*lines, diagnostics), "the gutter shows numbers and marks");
    if (result.errorMessage.empty()) {
        checkNumbers(result, *lines, gutter);
    }
    for (const CodeDiagnostic& diagnostic : diagnostics) {
        const std::int32_t shown = diagnosticInstructionLine(gutter, diagnostic.line);
        hold(diagnostic.line == 0 ? shown == 0 : shown >= 1, "a diagnostic is shown somewhere");
        const auto at = static_cast<std::size_t>(std::max(diagnostic.line, 1) - 1);
        hold(diagnostic.line == 0 || gutter.at(at).text.empty() ||
                 gutter[at].text == std::to_string(shown),
             "an instruction's diagnostic is shown at its number");
    }
}

/// Whether the words of `lines` come back from their bytecode: raw words need not, and of a
/// function's name the bytecode keeps printable characters only.
bool isDecompilable(const LineList& lines) {
    return std::ranges::all_of(lines, [](const Line& line) {
        const bool isName =
            std::ranges::all_of(line.tokens.back(), [](char c) { return c >= 33 && c <= 126; });
        return !rawOpcode(line.tokens.front()) && (line.tokens.front() != "FUNC" || isName);
    });
}

void checkRoundTrip(const CompileResult& result, const LineList& lines, std::int32_t pins) {
    ChipDocument decompiled;
    decompiled.pins = pins;
    const bool isRead = failureOf([&] { decompiled.code = decompileChip(result.bytes); }).empty();
    if (isDecompilable(lines)) {
        hold(isRead && compileChip(decompiled).bytes == result.bytes,
             "compiling the decompiled text gives the same bytes");
    }
}

/// The same text with other line ends, and all in upper case, means the same.
void checkSpelling(const CompileResult& result, ChipDocument document) {
    if (document.code.find('\r') != std::string::npos) {
        return;
    }
    document.code = withCarriageReturns(asciiUpper(document.code));
    const CompileResult again = compileChip(document);
    hold(again.bytes == result.bytes && again.errorLine == result.errorLine &&
             again.errorMessage == result.errorMessage,
         "neither case nor line ends matter");
}

} // namespace

/// A program for 14 pins; behind 0xF8 to 0xFF for other counts.
void fuzzOne(Input input) {
    ChipDocument document;
    if (const auto mark = input.mark(0xF8)) {
        document.pins = pinCounts[*mark - 0xF8];
    }
    document.code = input.text();
    const std::optional<LineList> lines = linesOf(document.code);
    if (lines) {
        checkLines(*lines, sourceLineCount(document.code));
    }
    const CompileResult result = compileChip(document);
    const Diagnostics diagnostics = validateChip(document);
    checkAgreement(result, diagnostics, document, lines.has_value());
    checkGutter(result, lines, diagnostics, document);
    if (result.errorMessage.empty()) {
        checkRoundTrip(result, *lines, document.pins);
    }
    // Not for every program: it takes as long as all else together.
    if (document.code.size() % 4 == 0) {
        checkSpelling(result, document);
    }
}

} // namespace pivex::fuzzing
