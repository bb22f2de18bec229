#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pivex {

/// What an argument field of the Insert Code dialog holds; read by the pin selector only.
enum class ToolArgKind {
    value,
    pin,
    pinList,
    sideBitfield,
    addressGroup,
    addressIndex,
    registerSlot,
    condition,
    text,
};

/// One argument of a tool.
struct ToolArg {
    std::string_view label;
    ToolArgKind kind = ToolArgKind::value;
    std::string_view defaultText = "0"; ///< what the dialog's field holds at first
};

/// One entry of the Insert Code column.
struct OpcodeTool {
    std::string_view category;
    std::string_view opcode;
    std::string_view description;
    std::span<const ToolArg> args;
};

/// The 73 tools in menu order, the tools of a category side by side. Their texts and argument
/// lists live as long as the program, so a copied tool stays valid.
extern const std::span<const OpcodeTool> opcodeTools;

/// The instruction line of `tool` with the argument texts `texts`, without line break. Throws
/// std::runtime_error when their number differs, else when one is empty or holds a space, a tab, a
/// line break or the start of a comment. The values themselves are left to the compiler.
std::string toolInstruction(const OpcodeTool& tool, const std::vector<std::string>& texts);

} // namespace pivex
