#include "Fuzz.h"
#include "app/CodeColors.h"
#include "app/OpcodeTools.h"
#include "app/PinDiagram.h"
#include "base/Text.h"
#include "language/InstructionSet.h"
#include "language/Lexer.h"

#include <array>
#include <bit>
#include <iterator>

namespace pivex::fuzzing {

namespace {

using Texts = std::vector<std::string>;

/// Code points beyond ASCII that the bytes from 0x80 on stand for: blanks, breaks, letters, two
/// UTF-16 units, the last one and a lone surrogate.
constexpr std::array<char32_t, 8> wideCharacters{0x85,  0xA0,    0x3000,   0x2028,
                                                 0x3B1, 0x1F600, 0x10FFFF, 0xD800};

std::u32string lineFrom(const std::string& bytes) {
    std::u32string line(bytes.size(), U'\0');
    std::ranges::transform(bytes, line.begin(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x80 ? char32_t{byte} : wideCharacters[byte % wideCharacters.size()];
    });
    return line;
}

/// Every line's first word is an opcode exactly if the compiler knows it.
void checkFirstWords(const std::string& text, std::span<const ColorSpan> spans) {
    std::vector<ColorSpan> first;
    std::ranges::copy_if(spans, std::back_inserter(first),
                         [&](const ColorSpan& span) { return text[span.start] != '#'; });
    std::size_t at = 0;
    for (const Line& line : tokenize(text)) {
        const std::string_view word = line.tokens.front();
        if (word.starts_with('#')) {
            continue;
        }
        const bool isKnown = word == "DIM" || definitionNamed(word) != nullptr || rawOpcode(word);
        hold(at < first.size() && first[at].kind == (isKnown ? 0U : 3U) &&
                 asciiUpper(text.substr(first[at].start, first[at].length)) == word,
             "a first word has the colour that the compiler gives it");
        ++at;
    }
    hold(at == first.size(), "nothing else is coloured");
}

void checkColors(const std::string& bytes) {
    const std::u32string line = lineFrom(bytes);
    const std::vector<ColorSpan> spans = codeColors(line);
    std::size_t end = 0;
    bool hasComment = false;
    for (const ColorSpan& span : spans) {
        hold(span.start >= end && span.length > 0 && span.start + span.length <= line.size(),
             "spans lie side by side within the line");
        end = span.start + span.length;
        const std::u32string_view text = std::u32string_view(line).substr(span.start, span.length);
        const bool isComment = text.starts_with(U"//") || text.starts_with(U"/*");
        hold(isComment == (span.kind == 2) && span.kind <= 3, "comments are coloured as such");
        hold(span.kind != 1 || text.starts_with(U"#R") || text.starts_with(U"#r"), "a register");
        hasComment = hasComment || isComment;
    }
    const bool isAscii = std::ranges::all_of(line, [](char32_t c) { return c < 0x80; });
    if (isAscii && !hasComment) {
        checkFirstWords(bytes, spans);
    }
}

void checkInstruction(Input& input) {
    const OpcodeTool& tool = opcodeTools[input.below(opcodeTools.size())];
    Texts texts;
    while (!input.isEmpty()) {
        texts.push_back(input.field());
    }
    const auto line = resultOf([&] { return toolInstruction(tool, texts); });
    // A vertical tab or a form feed is a blank to the compiler but passes as part of a token.
    if (!line || line->find_first_of("\v\f") != std::string::npos) {
        return;
    }
    const LineList lines = tokenize(*line);
    hold(lines.size() == 1 && lines[0].tokens.size() == texts.size() + 1 &&
             lines[0].tokens.front() == tool.opcode,
         "an inserted line is one instruction");
    for (std::size_t i = 0; i < texts.size(); ++i) {
        hold(lines[0].tokens[i + 1] == asciiUpper(texts[i]), "its words are the arguments");
    }
}

std::size_t countOf(const OpcodeTool& tool, ToolArgKind kind) {
    return static_cast<std::size_t>(std::ranges::count(tool.args, kind, &ToolArg::kind));
}

/// A click on a side's bit or on the only pin field shows at once; a second one on a bit undoes it.
void checkClicked(const OpcodeTool& tool, const Texts& before, Texts after, int pin, int pins,
                  int field) {
    hold(after.size() == before.size() && field >= -1 && std::cmp_less(field, tool.args.size()),
         "the fields stay as many");
    const std::string number = std::to_string(pin);
    hold(pinLabel(tool, after, pin, pins).starts_with(number), "a label begins with the pin");
    if (countOf(tool, ToolArgKind::sideBitfield) == 2) {
        const auto at = static_cast<std::size_t>(field);
        const std::uint32_t was = pinLiteral(before[at]);
        hold(std::has_single_bit(was ^ pinLiteral(after[at])), "a click changes one bit");
        clickPin(tool, after, pin, pins, field);
        hold(pinLiteral(after[at]) == was, "a second click undoes the first");
    } else if (countOf(tool, ToolArgKind::pinList) == 0 && countOf(tool, ToolArgKind::pin) == 1) {
        hold(pinLabel(tool, after, pin, pins) == number + "  *", "the pin is marked");
    }
}

void checkClicks(Input& input) {
    const OpcodeTool& tool = opcodeTools[input.below(opcodeTools.size())];
    const auto pins = static_cast<int>(input.below(44));
    int field = static_cast<int>(input.below(tool.args.size() + 1)) - 1;
    Texts texts;
    for (std::size_t count = input.below(5); texts.size() < std::min(count, tool.args.size());) {
        texts.push_back(input.field());
    }
    for (int clicks = 0; clicks < 16 && !input.isEmpty(); ++clicks) {
        const auto pin = static_cast<int>(input.below(44));
        pinLabel(tool, texts, pin, pins);
        const Texts before = texts;
        const int fieldBefore = field;
        const std::string failure = failureOf([&] { clickPin(tool, texts, pin, pins, field); });
        const bool isPin = pin >= 1 && pin <= pins && pins % 2 == 0 && pins <= 40;
        hold((failure == "Invalid pin diagram configuration.") ==
                 !(isPin && texts.size() == tool.args.size()),
             "exactly the pins of a package can be clicked");
        if (failure.empty()) {
            hold(field == fieldBefore || field >= 0, "a click chooses a field of the tool");
            checkClicked(tool, before, texts, pin, pins, std::max(field, -1));
        } else {
            hold(texts == before && field == fieldBefore, "a refused click changes nothing");
        }
    }
}

} // namespace

/// The first byte chooses: a line to colour, an instruction to insert, pins to click.
void fuzzOne(Input input) {
    switch (input.below(3)) {
    case 0:
        checkColors(input.text());
        return;
    case 1:
        checkInstruction(input);
        return;
    default:
        checkClicks(input);
        return;
    }
}

} // namespace pivex::fuzzing
