#include "Fuzz.h"
#include "tools/FontDocument.h"
#include "tools/FontUploadPlan.h"

namespace pivex::fuzzing {

namespace {

void checkPlan(const FontDocument& font, std::int32_t slot) {
    const auto plan = resultOf([&] { return fontUploadPlan(font, slot); });
    const std::size_t chunks = (font.columns.size() + 47) / 48;
    hold(!plan || plan->size() == 7 + chunks, "a plan carries the whole font");
}

/// A font of whole glyphs, with a name that its file keeps.
void checkFont(const FontDocument& font) {
    hold(std::cmp_equal(font.columns.size(), font.glyphCount() * font.width), "glyphs are whole");
    const std::string text = font.text();
    const auto again = resultOf([&] { return parseFont(text); });
    hold(again == font, "a font comes back as it was saved");
    hold(again->text() == text, "a second save is byte-equal");
    checkPlan(font, 0);
}

FontDocument fontFrom(Input& input) {
    FontDocument font;
    font.width = static_cast<std::int32_t>(1 + input.below(20));
    font.height = static_cast<std::int32_t>(1 + input.below(maxFontHeight));
    font.name = fontTrim(input.field());
    font.columns = input.bytes(maxFontColumns);
    return font;
}

void checkFields(FontDocument font) {
    // May lack a name or hold half a glyph or pixels above its height.
    checkPlan(font, font.height - 2);
    const bool isName = !font.name.empty() && font.name.find('\n') == std::string::npos &&
                        font.name.find('\0') == std::string::npos;
    const auto width = static_cast<std::size_t>(font.width);
    font.columns.resize(font.columns.size() / width * width);
    for (std::uint8_t& column : font.columns) {
        column = static_cast<std::uint8_t>(column >> (maxFontHeight - font.height));
    }
    if (isName && !font.columns.empty()) {
        checkFont(font);
    }
}

} // namespace

/// A file as it is; behind 0xFF, the fields of a font.
void fuzzOne(Input input) {
    if (input.mark(0xFF)) {
        checkFields(fontFrom(input));
        return;
    }
    const std::string text = input.text();
    if (const auto font = resultOf([&] { return parseFont(text); })) {
        hold(fontTrim(font->name) == font->name, "a name is trimmed");
        hold(font->name.find('\0') == std::string::npos, "a name holds no zero");
        const auto other = fromOtherSystem(text, true);
        hold(!other || parseFont(*other) == font, "line ends and a mark do not matter");
        hold(std::ranges::all_of(font->columns,
                                 [&](unsigned column) { return column >> font->height == 0; }),
             "no column exceeds its height");
        checkFont(*font);
    }
}

} // namespace pivex::fuzzing
