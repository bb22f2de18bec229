#pragma once

#include "base/Bytes.h"
#include "model/ChipDocument.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pivex {

/// Size of one compiled instruction: opcode word and three argument words of 32 bits.
inline constexpr std::size_t instructionSize = 16;

/// What `compileChip` gives: the bytecode, or the first error with its source line.
struct CompileResult {
    Bytes bytes;
    std::int32_t errorLine = 0; ///< 1-based; 0 without an error and for the pin count
    std::string errorMessage;   ///< empty exactly on success
};

/// One problem that the checker found.
struct CodeDiagnostic {
    std::int32_t line = 0; ///< 1-based source line; 0 for the pin count
    std::string message;

    bool operator==(const CodeDiagnostic&) const = default;
};

/// What the gutter shows beside one source line.
struct GutterLine {
    std::string text; ///< the instruction number in decimal, or empty
    bool hasError = false;

    bool operator==(const GutterLine&) const = default;
};

/// Compiles `code` for `pins` pins; the other fields are not read. Stops at the first error.
/// Never throws for errors in the text. May run on any thread, like everything in this header.
CompileResult compileChip(const ChipDocument& document);

/// Every problem of the program, sorted by line; empty for a clean one.
std::vector<CodeDiagnostic> validateChip(const ChipDocument& document);

/// Source text for `code`, one instruction a line, blocks indented by five spaces. Throws
/// std::runtime_error for an incomplete instruction or an unprintable function name.
std::string decompileChip(const Bytes& code);

/// One entry per source line of `code`: instruction numbers and error marks.
std::vector<GutterLine> instructionGutter(std::string_view code, std::int32_t pins);

/// The instruction number to show for source line `line` of `code`: its own, else the next one's,
/// else the last one's, else 1. A line below 1 is returned as it is.
std::int32_t diagnosticInstructionLine(std::string_view code, std::int32_t line, std::int32_t pins);

/// The same from a gutter that is at hand.
std::int32_t diagnosticInstructionLine(std::span<const GutterLine> gutter, std::int32_t line);

/// The same for every line from 0 to the one after the last: the way for many diagnostics.
std::vector<std::int32_t> diagnosticInstructionLines(std::span<const GutterLine> gutter);

} // namespace pivex
