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
    std::string_view defaultText;
};

/// One entry of the Insert Code column.
struct OpcodeTool {
    std::string_view category;
    std::string_view opcode;
    std::string_view description;
    std::span<const ToolArg> args;
};

/// The 73 tools in menu order, the tools of a category side by side.
extern const std::span<const OpcodeTool> opcodeTools;

/// The instruction line of `tool` with the argument texts `texts`, without line break. Throws
/// std::runtime_error when their number differs or one is not a single token.
std::string toolInstruction(const OpcodeTool& tool, const std::vector<std::string>& texts);

} // namespace pivex
