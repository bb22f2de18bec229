#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace pivex {

/// What one argument position of an instruction accepts.
enum class Arg : std::uint8_t {
    value,        ///< a number, a register reference or a DIM name
    condition,    ///< a condition name, or anything that `value` accepts
    registerSlot, ///< a literal from 0 to 31
    pin,          ///< a literal from 1 to the pin count of the chip
    addressGroup, ///< a literal 0, 8, 16 or 24
    addressIndex, ///< a literal from 0 to 31
    pinList,      ///< any literal
    sideBitfield, ///< any literal
    functionName, ///< the name of a function; FUNC and CALL only
};

/// The most arguments that an instruction can hold.
inline constexpr std::size_t maxArguments = 3;

/// The argument kinds of one instruction in their order, none to `maxArguments`.
class ArgList {
public:
    constexpr ArgList() = default;

    constexpr ArgList(std::initializer_list<Arg> list) : count(list.size()) {
        std::ranges::copy(list, kinds.begin());
    }

    constexpr std::size_t size() const { return count; }

    constexpr bool empty() const { return count == 0; }

    constexpr Arg operator[](std::size_t index) const { return kinds[index]; }

    constexpr const Arg* begin() const { return kinds.data(); }

    constexpr const Arg* end() const { return kinds.data() + count; }

private:
    std::array<Arg, maxArguments> kinds{};
    std::size_t count = 0;
};

/// One named instruction: the board's number for it and the arguments it takes, all required.
struct Definition {
    std::string_view name; ///< upper case
    std::uint32_t opcode;  ///< 1 to 255
    ArgList args;
};

namespace instruction_table {

using enum Arg;

/// Every named instruction in the order of the board's opcode numbers.
inline constexpr std::array<Definition, 73> byOpcode{{
    {"SETPIN", 0x01, {value, value}},
    {"SETIN", 0x02, {pin}},
    {"RDPIN", 0x03, {value, value}},
    {"MULTIO", 0x05, {pin, pin, pin}},
    {"MULTII", 0x06, {pin, pin, pin}},
    {"MULTIHI", 0x07, {pin, pin, pin}},
    {"MULTILO", 0x08, {pin, pin, pin}},
    {"SETOUT", 0x09, {pin}},
    {"ASAFE", 0x0B, {}},
    {"GOSTRT", 0x0D, {}},
    {"ALLDIR", 0x0E, {sideBitfield, sideBitfield}},
    {"ALLEVEL", 0x0F, {sideBitfield, sideBitfield}},
    {"LOOP", 0x10, {value}},
    {"ENDLOOP", 0x11, {}},
    {"BRKLOOP", 0x13, {}},
    {"DELUS", 0x16, {value}},
    {"DELMS", 0x17, {value}},
    {"WHILE", 0x18, {condition, value, value}},
    {"ENDWHL", 0x19, {}},
    {"JMP", 0x1A, {value}},
    {"DOUNTIL", 0x1B, {}},
    {"ENDUNTIL", 0x1C, {condition, value, value}},
    {"CLKST", 0x1D, {pin, value}},
    {"CLKSTP", 0x1E, {}},
    {"SETADDR", 0x21, {value, value, value}},
    {"DEFADDR", 0x22, {addressGroup, pinList, pinList}},
    {"ARRADD", 0x25, {value, value, value}},
    {"ARRGET", 0x26, {value, value, registerSlot}},
    {"GETADDR", 0x27, {value, registerSlot}},
    {"PHIZ", 0x28, {pin}},
    {"TOGPIN", 0x29, {pin, value}},
    {"PIN2ARR", 0x2A, {value, pinList, pinList}},
    {"DEF8", 0x2B, {addressIndex, pinList, pinList}},
    {"SET8", 0x2C, {value, value, value}},
    {"GET8", 0x2D, {value, registerSlot}},
    {"REGLOD", 0x40, {registerSlot, value}},
    {"REGINC", 0x42, {registerSlot}},
    {"REGDEC", 0x43, {registerSlot}},
    {"ADD", 0x44, {value, value, registerSlot}},
    {"SUBTR", 0x45, {value, value, registerSlot}},
    {"MULT", 0x46, {value, value, registerSlot}},
    {"DIV", 0x47, {value, value, registerSlot}},
    {"RNG", 0x49, {value, value, registerSlot}},
    {"AND", 0x4A, {value, value, registerSlot}},
    {"OR", 0x4B, {value, value, registerSlot}},
    {"SHL", 0x4C, {value, value, registerSlot}},
    {"SHR", 0x4D, {value, value, registerSlot}},
    {"NOT", 0x4E, {value, registerSlot}},
    {"XOR", 0x4F, {value, value, registerSlot}},
    {"IF", 0x50, {condition, value, value}},
    {"ENDIF", 0x51, {}},
    {"SHOSTR", 0x60, {value, value, value}},
    {"FILSCR", 0x61, {value}},
    {"TXTCOL", 0x63, {value, value}},
    {"PROG", 0x64, {value, value, value}},
    {"BLINKON", 0x68, {value}},
    {"BLINKOFF", 0x69, {}},
    {"BTNPR", 0x6A, {value, value}},
    {"BTNWT", 0x6B, {value}},
    {"LEDON", 0x6C, {}},
    {"LEDOFF", 0x6D, {}},
    {"UDSCRN", 0x6F, {}},
    {"SEVSEG", 0x70, {value, value, value}},
    {"SHOWIMG", 0x71, {value, value, value}},
    {"BRD_ON", 0xA0, {}},
    {"BRD_OFF", 0xA1, {}},
    {"BRD_SEND_CMD", 0xA3, {value, value, value}},
    {"BRD_GET_RSLT", 0xA4, {value, registerSlot}},
    {"FUNC", 0xC1, {functionName}},
    {"ENDFUNC", 0xC2, {}},
    {"CALL", 0xC3, {functionName}},
    {"ENDTEST", 0xF0, {}},
    {"PASSFAIL", 0xF2, {value}},
}};

constexpr auto sortedByName() {
    auto rows = byOpcode;
    std::ranges::sort(rows, std::ranges::less{}, &Definition::name);
    return rows;
}

} // namespace instruction_table

/// Every named instruction, ordered by name.
inline constexpr std::array<Definition, 73> definitions = instruction_table::sortedByName();

/// The instruction called `name` (upper case), or null.
const Definition* definitionNamed(std::string_view name);

/// The instruction with this opcode, or null.
const Definition* definitionWithOpcode(std::uint32_t opcode);

/// An instruction that opens a block and the one that closes it.
struct BlockPair {
    std::string_view opener;
    std::string_view closer;
};

/// The five kinds of blocks.
inline constexpr std::array<BlockPair, 5> blockPairs{{
    {"LOOP", "ENDLOOP"},
    {"WHILE", "ENDWHL"},
    {"DOUNTIL", "ENDUNTIL"},
    {"IF", "ENDIF"},
    {"FUNC", "ENDFUNC"},
}};

/// The kind of block that `instruction` opens, or null.
const BlockPair* blockOpenedBy(const Definition& instruction);

/// The kind of block that `instruction` closes, or null.
const BlockPair* blockClosedBy(const Definition& instruction);

/// The name of condition `code`, 0 to 6; empty for any other code.
std::string_view conditionToken(std::uint32_t code);

/// The code of the condition called `word` (upper case), 0 to 6; empty for any other word.
std::optional<std::uint32_t> conditionCode(std::string_view word);

/// The opcode, 0 to 255, of a raw word: "~0X" (upper case) and exactly two hexadecimal digits.
/// Empty for any other word.
std::optional<std::uint32_t> rawOpcode(std::string_view word);

} // namespace pivex
