#include "app/PinDiagram.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <stdexcept>

namespace pivex {

namespace {

using Texts = std::vector<std::string>;

constexpr std::size_t listEntries = 4; ///< pins in one packed pin list

std::optional<std::uint32_t> literalIn(std::string_view text) {
    unsigned base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
    } else if (text.starts_with("0b") || text.starts_with("0B")) {
        base = 2;
    }
    const auto number = parseDigits(text.substr(base == 10 ? 0 : 2), base,
                                    std::numeric_limits<std::uint32_t>::max());
    return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

/// The indexes of the arguments of `tool` that have the given kind, in argument order.
std::vector<std::size_t> fieldsOf(const OpcodeTool& tool, ToolArgKind kind) {
    std::vector<std::size_t> fields;
    for (std::size_t i = 0; i < tool.args.size(); ++i) {
        if (tool.args[i].kind == kind) {
            fields.push_back(i);
        }
    }
    return fields;
}

/// The fields that hold one pin number. SETPIN and RDPIN also take a register there, so their
/// first argument is a plain value.
std::vector<std::size_t> pinFields(const OpcodeTool& tool) {
    if (tool.opcode == "SETPIN" || tool.opcode == "RDPIN") {
        return {0};
    }
    return fieldsOf(tool, ToolArgKind::pin);
}

/// The two fields of the given kind, or none where there are not exactly two.
std::vector<std::size_t> pairOf(const OpcodeTool& tool, ToolArgKind kind) {
    std::vector<std::size_t> fields = fieldsOf(tool, kind);
    return fields.size() == 2 ? fields : std::vector<std::size_t>{};
}

/// Which of the two side masks holds a pin (0 left, 1 right) and at which bit.
struct SideBit {
    std::size_t side;
    int bit;
};

SideBit sideBitOf(int pin, int pinCount) {
    return pin <= pinCount / 2 ? SideBit{0, pin - 1} : SideBit{1, pinCount - pin};
}

bool hasBit(std::uint32_t mask, int bit) {
    return bit >= 0 && bit < 32 && (mask >> bit & 1) != 0;
}

std::uint32_t listEntry(std::uint32_t list, std::size_t entry) {
    return list >> 8 * entry & 0xFF;
}

std::string pinMark(std::string_view text, int pin) {
    return literalIn(text) == static_cast<std::uint32_t>(pin) ? "  *" : "";
}

std::string sideMark(std::string_view text, std::size_t side, int pin, int pinCount) {
    const auto mask = literalIn(text);
    const SideBit place = sideBitOf(pin, pinCount);
    return mask && place.side == side && hasBit(*mask, place.bit) ? "  ON" : "";
}

/// The mark of a pin in the list whose first position is `position`.
std::string listMark(std::string_view text, std::uint64_t position, int pin) {
    const auto list = literalIn(text);
    for (std::size_t entry = 0; list && entry < listEntries; ++entry) {
        if (listEntry(*list, entry) == static_cast<std::uint32_t>(pin)) {
            return "  A" + std::to_string(position + entry);
        }
    }
    return {};
}

/// What the positions of a pin list count from; 0 where there is no base or none can be read.
std::uint64_t addressBase(const OpcodeTool& tool, const Texts& texts) {
    const bool hasBase = !tool.args.empty() && tool.args.front().kind == ToolArgKind::addressGroup;
    return hasBase ? literalIn(texts.front()).value_or(0) : 0;
}

/// The place of `field` among `fields`, or nothing.
std::optional<std::size_t> placeOf(std::size_t field, const std::vector<std::size_t>& fields) {
    const auto found = std::ranges::find(fields, field);
    return found == fields.end() ? std::nullopt
                                 : std::optional(static_cast<std::size_t>(found - fields.begin()));
}

/// What follows the number of `pin` when argument `field` refers to it; empty otherwise.
std::string markBy(const OpcodeTool& tool, const Texts& texts, std::size_t field, int pin,
                   int pinCount) {
    if (placeOf(field, pinFields(tool))) {
        return pinMark(texts[field], pin);
    }
    if (const auto side = placeOf(field, pairOf(tool, ToolArgKind::sideBitfield))) {
        return sideMark(texts[field], *side, pin, pinCount);
    }
    if (const auto list = placeOf(field, pairOf(tool, ToolArgKind::pinList))) {
        return listMark(texts[field], addressBase(tool, texts) + *list * listEntries, pin);
    }
    return {};
}

void clickSide(Texts& texts, const std::vector<std::size_t>& masks, int pin, int pinCount,
               int& activeField) {
    const SideBit place = sideBitOf(pin, pinCount);
    const std::size_t field = masks[place.side];
    texts[field] = pinHex(pinLiteral(texts[field]) ^ 1U << place.bit);
    activeField = static_cast<int>(field);
}

using Entries = std::array<std::uint32_t, 2 * listEntries>;

/// Moves a listed pin to the next empty entry, or off the list; puts another into the first empty
/// one, if there is one.
void movePin(Entries& entries, std::uint32_t pin) {
    auto from = std::ranges::find(entries, pin);
    if (from == entries.end()) {
        from = entries.begin();
    } else {
        *from++ = 0;
    }
    const auto empty = std::find(from, entries.end(), 0U);
    if (empty != entries.end()) {
        *empty = pin;
    }
}

void clickList(Texts& texts, const std::vector<std::size_t>& lists, int pin) {
    const std::array words{pinLiteral(texts[lists[0]]), pinLiteral(texts[lists[1]])};
    Entries entries{};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        entries[i] = listEntry(words[i / listEntries], i % listEntries);
    }
    movePin(entries, static_cast<std::uint32_t>(pin));
    std::array<std::uint32_t, 2> packed{};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        packed[i / listEntries] |= entries[i] << 8 * (i % listEntries);
    }
    texts[lists[0]] = pinHex(packed[0]);
    texts[lists[1]] = pinHex(packed[1]);
}

/// The place among `numbers` that a further pin goes to.
std::size_t targetPlace(const std::vector<std::size_t>& fields,
                        const std::vector<std::uint32_t>& numbers, int activeField) {
    const auto active = std::ranges::find(fields, static_cast<std::size_t>(activeField));
    if (activeField >= 0 && active != fields.end()) {
        return static_cast<std::size_t>(active - fields.begin());
    }
    const auto empty = std::ranges::find(numbers, 0U);
    return empty == numbers.end() ? 0 : static_cast<std::size_t>(empty - numbers.begin());
}

void clickPins(Texts& texts, const std::vector<std::size_t>& fields, int pin, int& activeField) {
    std::vector<std::uint32_t> numbers(fields.size());
    std::ranges::transform(fields, numbers.begin(),
                           [&](std::size_t field) { return pinLiteral(texts[field]); });
    const auto holder = std::ranges::find(numbers, static_cast<std::uint32_t>(pin));
    if (holder != numbers.end()) {
        const std::size_t field = fields[static_cast<std::size_t>(holder - numbers.begin())];
        texts[field] = "0";
        activeField = static_cast<int>(field);
        return;
    }
    const std::size_t place = targetPlace(fields, numbers, activeField);
    texts[fields[place]] = std::to_string(pin);
    activeField = static_cast<int>(fields[std::min(place + 1, fields.size() - 1)]);
}

} // namespace

std::string pinLabel(const OpcodeTool& tool, const Texts& texts, int pin, int pinCount) {
    std::string label = std::to_string(pin);
    for (std::size_t field = 0; field < std::min(texts.size(), tool.args.size()); ++field) {
        const std::string mark = markBy(tool, texts, field, pin, pinCount);
        if (!mark.empty()) {
            return label + mark;
        }
    }
    return label;
}

void clickPin(const OpcodeTool& tool, Texts& texts, int pin, int pinCount, int& activeField) {
    if (texts.size() != tool.args.size() || pinCount % 2 != 0 || pinCount < 2 || pinCount > 40 ||
        pin < 1 || pin > pinCount) {
        throw std::runtime_error("Invalid pin diagram configuration.");
    }
    const auto masks = pairOf(tool, ToolArgKind::sideBitfield);
    const auto lists = pairOf(tool, ToolArgKind::pinList);
    const auto pins = pinFields(tool);
    if (!masks.empty()) {
        clickSide(texts, masks, pin, pinCount, activeField);
    } else if (!lists.empty()) {
        clickList(texts, lists, pin);
    } else if (pins.size() == 1) {
        texts[pins.front()] = std::to_string(pin);
        activeField = static_cast<int>(pins.front());
    } else if (!pins.empty()) {
        clickPins(texts, pins, pin, activeField);
    }
}

std::uint32_t pinLiteral(std::string_view text) {
    const auto number = literalIn(text);
    if (!number) {
        throw std::runtime_error("Pin diagram needs literal values in the fields it changes. Enter "
                                 "numbers instead of DIM names or register references first.");
    }
    return *number;
}

std::string pinHex(std::uint32_t value) {
    return "0x" + upperHex(value);
}

} // namespace pivex
