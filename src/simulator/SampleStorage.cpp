#include "simulator/SampleStorage.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace pivex {

namespace {

/// One instruction of a stored test; unused arguments are 0.
struct Instruction {
    std::uint32_t opcode;
    std::array<std::uint32_t, 3> arguments{};
};

constexpr std::uint32_t readPin = 0x03;
constexpr std::uint32_t setPin = 0x01;
constexpr std::uint32_t setIn = 0x02;
constexpr std::uint32_t setOut = 0x09;
constexpr std::uint32_t allSafe = 0x0B;
constexpr std::uint32_t loop = 0x10;
constexpr std::uint32_t endLoop = 0x11;
constexpr std::uint32_t delayMs = 0x17;
constexpr std::uint32_t loadRegister = 0x40;
constexpr std::uint32_t ifBlock = 0x50;
constexpr std::uint32_t endIf = 0x51;
constexpr std::uint32_t showString = 0x60;
constexpr std::uint32_t fillScreen = 0x61;
constexpr std::uint32_t textColour = 0x63;
constexpr std::uint32_t waitButton = 0x6B;
constexpr std::uint32_t ledOn = 0x6C;
constexpr std::uint32_t ledOff = 0x6D;
constexpr std::uint32_t updateScreen = 0x6F;
constexpr std::uint32_t showImage = 0x71;
constexpr std::uint32_t function = 0xC1;
constexpr std::uint32_t endFunction = 0xC2;
constexpr std::uint32_t call = 0xC3;
constexpr std::uint32_t endTest = 0xF0;
constexpr std::uint32_t passFail = 0xF2;

constexpr std::uint32_t notEqual = 1;
constexpr std::uint32_t register0 = 0x80000000;
constexpr std::uint32_t register1 = 0x80000001;
constexpr std::uint16_t white = 0xFFFF;

/// The first gate of a quad NAND: pins 1 and 2 in, pin 3 out. Register 0 keeps the verdict.
constexpr std::array nandTest{
    Instruction{setOut, {1}},
    Instruction{setOut, {2}},
    Instruction{setIn, {3}},
    Instruction{loadRegister, {0, 1}},
    Instruction{setPin, {1, 1}},
    Instruction{setPin, {2, 1}},
    Instruction{delayMs, {1}},
    Instruction{readPin, {3, 1}},
    Instruction{ifBlock, {notEqual, register1, 0}},
    Instruction{loadRegister, {0, 0}},
    Instruction{endIf},
    Instruction{setPin, {2, 0}},
    Instruction{delayMs, {1}},
    Instruction{readPin, {3, 1}},
    Instruction{ifBlock, {notEqual, register1, 1}},
    Instruction{loadRegister, {0, 0}},
    Instruction{endIf},
    Instruction{allSafe},
    Instruction{passFail, {register0}},
    Instruction{endTest},
};

/// The first gate of a hex inverter, pulsed by a function called DRIVE.
constexpr std::array inverterTest{
    Instruction{setOut, {1}},
    Instruction{setIn, {2}},
    Instruction{loadRegister, {0, 1}},
    Instruction{loop, {10}},
    Instruction{call, {12}},
    Instruction{ifBlock, {notEqual, register1, 1}},
    Instruction{loadRegister, {0, 0}},
    Instruction{endIf},
    Instruction{endLoop},
    Instruction{passFail, {register0}},
    Instruction{endTest},
    Instruction{function, {0x56495244, 0x45}},
    Instruction{setPin, {1, 1}},
    Instruction{delayMs, {1}},
    Instruction{setPin, {1, 0}},
    Instruction{delayMs, {1}},
    Instruction{readPin, {2, 1}},
    Instruction{endFunction},
};

/// Greets on the display, shows image 14 and blinks until a button is pressed.
constexpr std::array displayTest{
    Instruction{fillScreen, {0}},
    Instruction{textColour, {white, 0}},
    Instruction{showString, {0, 8, 8}},
    Instruction{showImage, {14, 32, 40}},
    Instruction{updateScreen},
    Instruction{loop, {5}},
    Instruction{ledOn},
    Instruction{delayMs, {250}},
    Instruction{ledOff},
    Instruction{delayMs, {250}},
    Instruction{endLoop},
    Instruction{showString, {7, 8, 104}},
    Instruction{updateScreen},
    Instruction{waitButton, {0}},
    Instruction{endTest},
};

Bytes codeOf(std::span<const Instruction> instructions) {
    Bytes code;
    for (const Instruction& instruction : instructions) {
        Bytes words(16);
        putU32(words, 0, instruction.opcode);
        for (std::size_t i = 0; i < instruction.arguments.size(); ++i) {
            putU32(words, 4 + 4 * i, instruction.arguments[i]);
        }
        code.insert(code.end(), words.begin(), words.end());
    }
    return code;
}

void addRun(Bytes& rle, std::size_t pixels, std::uint16_t colour) {
    for (; pixels > 0; pixels -= std::min<std::size_t>(pixels, 255)) {
        rle.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(pixels, 255)));
        rle.push_back(static_cast<std::uint8_t>(colour >> 8));
        rle.push_back(static_cast<std::uint8_t>(colour & 0xFF));
    }
}

/// An image of horizontal bands of equal height.
StoredImage bands(std::string name, std::uint8_t width, std::uint8_t height,
                  std::initializer_list<std::uint16_t> colours) {
    StoredImage image{.name = std::move(name), .width = width, .height = height};
    for (const std::uint16_t colour : colours) {
        addRun(image.rle, std::size_t{width} * height / colours.size(), colour);
    }
    return image;
}

/// A dual in-line package seen from above, with four pixels of width for every two pins.
StoredImage package(std::string name, std::size_t pins) {
    constexpr std::uint16_t body = 0x2104;
    constexpr std::uint16_t leg = 0xC618;
    constexpr std::uint8_t height = 24;
    constexpr std::size_t legRows = 4;
    const std::size_t columns = pins / 2;
    StoredImage image{
        .name = std::move(name), .width = static_cast<std::uint8_t>(4 * columns), .height = height};
    for (std::size_t row = 0; row < height; ++row) {
        if (row >= legRows && row < height - legRows) {
            addRun(image.rle, 4 * columns, body);
            continue;
        }
        for (std::size_t column = 0; column < columns; ++column) {
            addRun(image.rle, 1, 0);
            addRun(image.rle, 2, leg);
            addRun(image.rle, 1, 0);
        }
    }
    return image;
}

/// The digits 0 to 9, five columns each, the top row in bit 6.
constexpr std::array<std::array<std::uint8_t, 5>, 10> digits{{
    {0x3E, 0x51, 0x49, 0x45, 0x3E},
    {0x00, 0x21, 0x7F, 0x01, 0x00},
    {0x21, 0x43, 0x45, 0x49, 0x31},
    {0x42, 0x41, 0x51, 0x69, 0x46},
    {0x0C, 0x14, 0x24, 0x7F, 0x04},
    {0x72, 0x51, 0x51, 0x51, 0x4E},
    {0x1E, 0x29, 0x49, 0x49, 0x06},
    {0x40, 0x47, 0x48, 0x50, 0x60},
    {0x36, 0x49, 0x49, 0x49, 0x36},
    {0x30, 0x49, 0x49, 0x4A, 0x3C},
}};

StoredFont digitFont() {
    constexpr std::size_t glyphsBeforeDigits = '0' - ' ';
    StoredFont font{.name = "Digits 5x7",
                    .width = 5,
                    .height = 7,
                    .glyphs = glyphsBeforeDigits + digits.size(),
                    .columns = Bytes(glyphsBeforeDigits * 5)};
    for (const auto& digit : digits) {
        font.columns.insert(font.columns.end(), digit.begin(), digit.end());
    }
    return font;
}

/// Four glyphs that fill from the bottom, for level meters.
StoredFont meterFont() {
    constexpr std::array<std::uint8_t, 4> levels{0x00, 0x07, 0x1F, 0xFF};
    StoredFont font{.name = "Meter", .width = 4, .height = 8, .glyphs = levels.size()};
    for (const std::uint8_t level : levels) {
        font.columns.insert(font.columns.end(), font.width, level);
    }
    return font;
}

} // namespace

BoardStorage sampleStorage() {
    BoardStorage storage;
    storage.chips = {
        {.name = "7400 quad NAND, gate 1",
         .type = 4,
         .pins = 14,
         .imageIndex = 1,
         .code = codeOf(nandTest),
         .strings = {"7400 NAND"}},
        {.name = "7404 inverter, gate 1",
         .type = 4,
         .pins = 14,
         .imageIndex = 1,
         .code = codeOf(inverterTest),
         .strings = {"7404 inverter", "pulsed ten times"}},
        {.name = "Display greeting",
         .type = 6,
         .pins = 6,
         .imageIndex = 0,
         .code = codeOf(displayTest),
         .strings = {"Hello from Pivex", "", "", "", "", "", "", "Press a button"}},
    };
    storage.images = {
        {1, package("DIP14", 14)},
        {2, package("DIP16", 16)},
        {15, bands("Three bands", 96, 48, {0xF800, 0x07E0, 0x001F})},
        {20, bands("Night sky", 160, 128, {0x0000, 0x0008, 0x0010, 0x0018})},
    };
    storage.fonts = {{0, digitFont()}, {2, meterFont()}};
    return storage;
}

void addGeneratedChips(BoardStorage& storage, std::size_t count) {
    constexpr std::array idle{Instruction{ledOn}, Instruction{delayMs, {10}}, Instruction{endTest}};
    const Bytes code = codeOf(idle);
    for (std::size_t i = 1; i <= count; ++i) {
        storage.chips.push_back(
            {.name = "Generated test " + std::to_string(i), .type = 6, .code = code});
    }
}

} // namespace pivex
