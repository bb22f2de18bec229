#include "language/Arguments.h"

#include "base/Text.h"

#include <limits>
#include <optional>
#include <string>

namespace pivex {

namespace {

constexpr std::uint32_t largestLiteral = std::numeric_limits<std::uint32_t>::max();

/// How a number is written. A prefix has two characters or none.
struct NumberForm {
    std::string_view prefix;
    unsigned base;
    std::uint32_t limit;
    bool isRegister;
};

constexpr std::array<NumberForm, 3> prefixedForms{{
    {"#R", 10, lastRegister, true},
    {"0X", 16, largestLiteral, false},
    {"0B", 2, largestLiteral, false},
}};

constexpr NumberForm decimalForm{"", 10, largestLiteral, false};

const NumberForm& formOf(std::string_view word) {
    if (word.size() >= 2) {
        for (const NumberForm& form : prefixedForms) {
            if (word[0] == form.prefix[0] && word[1] == form.prefix[1]) {
                return form;
            }
        }
    }
    return decimalForm;
}

bool isLetterOrUnderscore(char c) {
    return (c >= 'A' && c <= 'Z') || c == '_';
}

bool isDimName(std::string_view name) {
    const auto continues = [](char c) { return isLetterOrUnderscore(c) || (c >= '0' && c <= '9'); };
    return isLetterOrUnderscore(name.front()) && std::ranges::all_of(name, continues) &&
           name != "DIM" && definitionNamed(name) == nullptr;
}

/// Without a result slot the command is one byte; with one it stands above the slot's byte.
bool isBoardCommand(std::uint32_t value) {
    return value < 0x100 || (value < 0x10000 && (value & 0xC0) == 0);
}

} // namespace

Value valueOf(std::string_view word, const DimTable& dims, std::uint32_t line) {
    // Most words are numbers, and no name begins like one: they are spared the search.
    if (isLetterOrUnderscore(word.front())) {
        if (const auto known = dims.find(word); known != dims.end()) {
            return known->second;
        }
    }
    const NumberForm& form = formOf(word);
    std::string_view digits = word.substr(form.prefix.size());
    if (digits.starts_with('+')) {
        digits.remove_prefix(1);
    }
    const auto number = parseDigits(digits, form.base, form.limit);
    if (!number) {
        fail(line, "Invalid value '" + std::string(word) +
                       "'. Use UInt32 decimal/hex/binary, #R0..#R31, or a DIM name.");
    }
    const auto value = static_cast<std::uint32_t>(*number);
    return {form.isRegister ? registerBit + value : value, form.isRegister};
}

Value argumentValue(std::string_view word, const DimTable& dims, Arg kind, std::uint32_t line) {
    if (kind == Arg::condition) {
        if (const auto code = conditionCode(word)) {
            return {.value = *code};
        }
    }
    return valueOf(word, dims, line);
}

std::uint32_t argument(Value value, Arg kind, std::int32_t pins, std::uint32_t line) {
    const std::uint32_t word = value.value;
    if (kind == Arg::value || kind == Arg::condition) {
        return word;
    }
    if (value.isRegister) {
        fail(line, "This argument requires a literal, not a runtime #Rn reference.");
    }
    if ((kind == Arg::registerSlot || kind == Arg::addressIndex) && word > lastRegister) {
        fail(line, "Register slot / address index must be 0 through 31.");
    }
    if (kind == Arg::addressGroup && (word > 24 || word % 8 != 0)) {
        fail(line, "Address group must be 0, 8, 16, or 24.");
    }
    if (kind == Arg::pin && (word < 1 || word > static_cast<std::uint32_t>(pins))) {
        fail(line, "Pin must be 1 through " + std::to_string(pins) + ".");
    }
    return word;
}

void boardArgument(std::string_view name, std::size_t index, Value value, std::uint32_t line) {
    if (value.isRegister) {
        return;
    }
    if (name == "BRD_GET_RSLT" && index == 0 && value.value > 63) {
        fail(line, "Result slot must be from 0 through 63.");
    }
    if (name != "BRD_SEND_CMD") {
        return;
    }
    if (index == 0 && !isBoardCommand(value.value)) {
        fail(line, "Use a command byte, or a command byte followed by a result slot from 0 through "
                   "63 (for example 0x0101).");
    }
    if (index > 0 && value.value >= registerBit) {
        fail(line, "A literal with bit 31 set is interpreted as a register reference by the "
                   "firmware. Use #Rn to send a full 32-bit register value.");
    }
}

std::uint32_t argumentWord(const Definition& definition, std::size_t index, std::string_view word,
                           const DimTable& dims, std::int32_t pins, std::uint32_t line) {
    const Arg kind = definition.args[index];
    const Value value = argumentValue(word, dims, kind, line);
    boardArgument(definition.name, index, value, line);
    return argument(value, kind, pins, line);
}

void defineDim(const Line& line, DimTable& dims) {
    if (line.tokens.size() != 3) {
        fail(line.line, "DIM requires exactly a name and a value.");
    }
    const std::string_view name = line.tokens[1];
    if (!isDimName(name)) {
        fail(line.line, "Invalid or reserved DIM name '" + std::string(name) + "'.");
    }
    if (dims.contains(name)) {
        fail(line.line, "Duplicate DIM name '" + std::string(name) + "'.");
    }
    dims.emplace(name, valueOf(line.tokens[2], dims, line.line));
}

} // namespace pivex
