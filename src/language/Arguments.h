#pragma once

#include "language/InstructionSet.h"
#include "language/Lexer.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace pivex {

/// By this bit of an argument word the board tells a register reference from a literal.
inline constexpr std::uint32_t registerBit = 0x80000000;

/// The highest register number.
inline constexpr std::uint32_t lastRegister = 31;

/// What an argument word stands for; a register reference #Rn is `registerBit` + n.
struct Value {
    std::uint32_t value = 0;
    bool isRegister = false;

    bool operator==(const Value&) const = default;
};

/// The named constants of a program; the names belong to the text they were read from.
using DimTable = std::unordered_map<std::string_view, Value>;

/// The value of `word` (upper case): a DIM name, a register reference #R0 to #R31, or an unsigned
/// 32-bit number, decimal, hexadecimal (0X) or binary (0B), with at most one "+" before the
/// digits. Throws `Error`.
Value valueOf(std::string_view word, const DimTable& dims, std::uint32_t line);

/// Like `valueOf`, but in a condition position the condition names come first.
Value argumentValue(std::string_view word, const DimTable& dims, Arg kind, std::uint32_t line);

/// The argument word that `value` gives in a position of this kind. Throws `Error`: first for a
/// register reference where a literal is needed, then for a literal out of range.
std::uint32_t argument(Value value, Arg kind, std::int32_t pins, std::uint32_t line);

/// Checks a literal that instruction `name` takes as argument `index` (from 0) if it is one of the
/// two that talk to the add-on board. Throws `Error`.
void boardArgument(std::string_view name, std::size_t index, Value value, std::uint32_t line);

/// The argument word that `word` gives as argument `index` (from 0) of a named instruction, after
/// all checks above. Throws `Error`.
std::uint32_t argumentWord(const Definition& definition, std::size_t index, std::string_view word,
                           const DimTable& dims, std::int32_t pins, std::uint32_t line);

/// Adds the constant of a DIM line to `dims`. Checks in this order and throws `Error`: word count,
/// name, duplicate, value (which may use the constants that stand in `dims` already).
void defineDim(const Line& line, DimTable& dims);

} // namespace pivex
