#include "app/OpcodeTools.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

namespace pivex {

namespace {

using enum ToolArgKind;

/// An argument as it is written down; a bare label is a value that starts at 0.
struct Field : ToolArg {
    constexpr Field() = default;

    // NOLINTNEXTLINE(google-explicit-constructor): a table of bare labels reads as a table.
    constexpr Field(const char* name, ToolArgKind meaning = value, const char* first = "0")
        : ToolArg{name, meaning, first} {}
};

/// A tool as it is written down; fields without a label are not there.
struct Row {
    std::string_view category;
    std::string_view opcode;
    std::string_view description;
    std::array<ToolArg, 3> args;

    constexpr Row(const char* button, const char* name, const char* meaning, Field first = {},
                  Field second = {}, Field third = {})
        : category(button), opcode(name), description(meaning), args{first, second, third} {}
};

constexpr Field outputReg{"Output Reg", registerSlot};

constexpr Row rows[] = {
    Row("Control Flow", "GOSTRT", "Go to code start"),
    Row("Control Flow", "LOOP", "Start counted loop", "Loops"),
    Row("Control Flow", "ENDLOOP", "End counted loop"),
    Row("Control Flow", "BRKLOOP", "Break loop"),
    Row("Control Flow", "WHILE", "Start while loop", {"Operator", condition, "EQ"}, "Value1",
        "Value2"),
    Row("Control Flow", "ENDWHL", "End while loop"),
    Row("Control Flow", "JMP", "Jump to line number", "Line"),
    Row("Control Flow", "DOUNTIL", "Start DoUntil loop"),
    Row("Control Flow", "ENDUNTIL", "End DoUntil loop", {"Operator", condition, "EQ"}, "Value1",
        "Value2"),
    Row("Control Flow", "IF", "Start an IF statement", {"Operator", condition, "EQ"}, "Value1",
        "Value2"),
    Row("Control Flow", "ENDIF", "End IF statement"),
    Row("Control Flow", "FUNC", "Start function code", {"Function Name", text, "myFunc"}),
    Row("Control Flow", "ENDFUNC", "End function code"),
    Row("Control Flow", "CALL", "Call function", {"Function Name", text, "myFunc"}),
    Row("Control Flow", "PASSFAIL", "Set pass or fail", "PassFail"),
    Row("Control Flow", "ENDTEST", "End test"),
    Row("GPIO", "SETPIN", "Set pin high/low", "Pin Num", "Level"),
    Row("GPIO", "RDPIN", "Read pin level", "Pin Num", "Output Reg"),
    Row("GPIO", "SETIN", "Set pin as input", {"Pin Num", pin}),
    Row("GPIO", "SETOUT", "Set pin as output", {"Pin Num", pin}),
    Row("GPIO", "MULTIO", "Multiple pins out", {"Pin 1", pin}, {"Pin 2", pin}, {"Pin 3", pin}),
    Row("GPIO", "MULTII", "Multiple pins in", {"Pin 1", pin}, {"Pin 2", pin}, {"Pin 3", pin}),
    Row("GPIO", "MULTIHI", "Set multiple pins high", {"Pin 1", pin}, {"Pin 2", pin},
        {"Pin 3", pin}),
    Row("GPIO", "MULTILO", "Set multiple pins low", {"Pin 1", pin}, {"Pin 2", pin}, {"Pin 3", pin}),
    Row("GPIO", "ASAFE", "Set all pins to Hi-Z"),
    Row("GPIO", "ALLDIR", "Set all pins direction", {"Side A", sideBitfield},
        {"Side B", sideBitfield}),
    Row("GPIO", "ALLEVEL", "Set all pins levels", {"Side A", sideBitfield},
        {"Side B", sideBitfield}),
    Row("GPIO", "PHIZ", "Set a pin to Hi-Z", {"Pin Num", pin}),
    Row("GPIO", "TOGPIN", "Toggle a pin", {"Pin Num", pin}, "Low->Hi?"),
    Row("Timing", "DELUS", "Delay for microseconds", "Microseconds"),
    Row("Timing", "DELMS", "Delay for milliseconds", "Milliseconds"),
    Row("Timing", "CLKST", "Start pulse clock", {"Pin Num", pin}, "KHz"),
    Row("Timing", "CLKSTP", "Stop pulse clock"),
    Row("Timing", "BTNWT", "Wait for button press", "Button Num"),
    Row("Timing", "BTNPR", "Button press jump to line", "Button Num", "Line Num"),
    Row("Memory", "DEFADDR", "Define address pins", {"Base", addressGroup}, {"Low Bytes", pinList},
        {"Hi Bytes", pinList}),
    Row("Memory", "SETADDR", "Set 32 bit address", "Num Bits", "Address", "Input/Output"),
    Row("Memory", "GETADDR", "Get 32 bit address value", "Num Bits", outputReg),
    Row("Memory", "REGLOD", "Load value into register", {"Reg Num", registerSlot}, "Value"),
    Row("Memory", "REGINC", "Increment register value by 1", {"Reg Num", registerSlot}),
    Row("Memory", "REGDEC", "Decrement register value by 1", {"Reg Num", registerSlot}),
    Row("Memory", "ARRADD", "Add values to array", "Array A/B", "Array index", "Value"),
    Row("Memory", "PIN2ARR", "Add pin to pin array", "Array A/B", {"Lower 4", pinList},
        {"Upper 4", pinList}),
    Row("Memory", "ARRGET", "Get an array index value", "Array A/B", "Array Index", outputReg),
    Row("Memory", "DEF8", "Define 8 bit address pins", {"Index", addressIndex},
        {"Low Bytes", pinList}, {"High Bytes", pinList}),
    Row("Memory", "SET8", "Set 8 bit address", "Index", "Address", "Input/Output"),
    Row("Memory", "GET8", "Get value of 8 bit address", "Index", outputReg),
    Row("Math", "ADD", "Add", "Num 1", "Num 2", outputReg),
    Row("Math", "SUBTR", "Subtract", "Num 1", "Num 2", outputReg),
    Row("Math", "MULT", "Multiply", "Num 1", "Num 2", outputReg),
    Row("Math", "DIV", "Divide", "Num 1", "Num 2", outputReg),
    Row("Math", "RNG", "Random number generator", "Min", "Max", outputReg),
    Row("Math", "AND", "Bitwise AND operation", "Left Value", "Right Value", outputReg),
    Row("Math", "OR", "Bitwise OR operator", "Left Value", "Right Value", outputReg),
    Row("Math", "XOR", "Bitwise XOR operator", "Left value", "Right Value", outputReg),
    Row("Math", "NOT", "Bitwise NOT operator", "Value", outputReg),
    Row("Math", "SHL", "Shift bits left", "Value", "Shift Amount", outputReg),
    Row("Math", "SHR", "Shift bits right", "Value", "Shift Amount", outputReg),
    Row("Add-on Boards", "BRD_ON", "Turn on add-on board power"),
    Row("Add-on Boards", "BRD_OFF", "Turn off add-on board power"),
    Row("Add-on Boards", "BRD_SEND_CMD", "Send command and two data values",
        {"Command", value, "0x0101"}, "Data 1", "Data 2"),
    Row("Add-on Boards", "BRD_GET_RSLT", "Read add-on result into a register",
        {"Result Slot", value, "1"}, outputReg),
    Row("Display", "LEDON", "Turn on LED"),
    Row("Display", "LEDOFF", "Turn off LED"),
    Row("Display", "BLINKON", "Start LED blink", "Speed ms"),
    Row("Display", "BLINKOFF", "Stop LED blink"),
    Row("Display", "FILSCR", "Fill screen with color", "RGB565"),
    Row("Display", "SHOWIMG",
        "Show stored image (zero-based index); follow with UDSCRN and DELMS 10", "Image Number",
        "Pos X", "Pos Y"),
    Row("Display", "SHOSTR", "Show string", "Str Index", "Pos X", "Pos Y"),
    Row("Display", "SEVSEG", "Show pseudo 7 segment display", "Number", "Pos X,Y", "Size/Color"),
    Row("Display", "TXTCOL", "Set text color", "Fore Color", "Back Color"),
    Row("Display", "PROG", "Show progress bar", "Percent", "Fill Color", "Back Color"),
    Row("Display", "UDSCRN", "Refresh Display"),
};

constexpr OpcodeTool toolOf(const Row& row) {
    const auto count =
        std::ranges::count_if(row.args, [](const ToolArg& arg) { return !arg.label.empty(); });
    return {row.category, row.opcode, row.description,
            std::span(row.args).first(static_cast<std::size_t>(count))};
}

constexpr auto tools = [] {
    std::array<OpcodeTool, std::size(rows)> all;
    std::ranges::transform(rows, all.begin(), toolOf);
    return all;
}();

bool isToken(std::string_view text) {
    return !text.empty() && text.find_first_of(" \t\r\n") == std::string_view::npos &&
           text.find("//") == std::string_view::npos && text.find("/*") == std::string_view::npos;
}

} // namespace

constinit const std::span<const OpcodeTool> opcodeTools = tools;

std::string toolInstruction(const OpcodeTool& tool, const std::vector<std::string>& texts) {
    if (texts.size() != tool.args.size()) {
        throw std::runtime_error("Argument count does not match selected opcode.");
    }
    std::string line(tool.opcode);
    for (const std::string& text : texts) {
        if (!isToken(text)) {
            throw std::runtime_error("Each argument must be one nonempty token.");
        }
        line += ' ';
        line += text;
    }
    return line;
}

} // namespace pivex
