#include "Fuzz.h"
#include "base/Text.h"
#include "model/ChipFileCodec.h"
#include "model/Utf8.h"

namespace pivex::fuzzing {

namespace {

bool isOneLine(std::string_view text) {
    return text.find_first_of("\r\n") == std::string_view::npos;
}

/// Whether a file would take a line of `code` for the head of a section.
bool hasSectionHeader(std::string_view code) {
    while (!code.empty()) {
        const std::size_t end = std::min(code.find('\n'), code.size());
        const std::string_view line = trimmed(code.substr(0, end), " \t\v\f");
        if (line.starts_with('[') && line.ends_with(']')) {
            return true;
        }
        code.remove_prefix(std::min(end + 1, code.size()));
    }
    return false;
}

/// `text` with every line break as one `replacement`.
std::string withBreaks(std::string_view text, char replacement) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\n' && at > 0 && text[at - 1] == '\r') {
            continue;
        }
        const bool isBreak = text[at] == '\r' || text[at] == '\n';
        result += isBreak ? replacement : text[at];
    }
    return result;
}

/// What comes back from the file of a document of UTF-8 texts; nothing where its name or its code
/// would be read as something else.
std::optional<ChipDocument> kept(ChipDocument document) {
    const std::string code = withBreaks(document.code, '\n');
    if (document.name.empty() || !isOneLine(document.name) || hasSectionHeader(code) ||
        trimmed(document.name, " \t\v\f") != document.name) {
        return std::nullopt;
    }
    document.code = trimmed(code, "\n");
    for (std::string& text : document.strings) {
        text = withBreaks(text, ' ');
    }
    return document;
}

ChipDocument documentFrom(Input& input) {
    const auto number = [&] {
        const Bytes bytes = input.bytes(4);
        return bytes.size() < 4 ? 0 : static_cast<std::int32_t>(u32At(bytes, 0));
    };
    ChipDocument document;
    document.pins = number();
    document.type = number();
    document.imageIndex = number();
    document.name = input.field();
    document.code = input.field();
    for (std::string& text : document.strings) {
        text = input.field();
    }
    return document;
}

/// Saves what was loaded: it loads as the same document and saves as the same bytes.
void checkLoaded(const ChipDocument& document) {
    const std::string saved = encodeChip(document);
    const auto again = resultOf([&] { return decodeChip(saved); });
    hold(again.has_value(), "what was loaded and saved loads again");
    hold(*again == document, "a loaded document survives saving");
    hold(encodeChip(*again) == saved, "a second save is byte-equal");
}

void checkDocument(const ChipDocument& document) {
    const std::string saved = encodeChip(document);
    const auto loaded = resultOf([&] { return decodeChip(saved); });
    hold(!isOneLine(document.name) || saved.find('\r') == std::string::npos, "lines end in LF");
    const auto expected = kept(document);
    hold(!expected || !isUtf8(saved) || loaded == expected, "a document comes back from its file");
    if (loaded) {
        checkLoaded(*loaded);
    }
}

} // namespace

/// A file as it is; behind 0xFF, the fields of a document.
void fuzzOne(Input input) {
    if (input.mark(0xFF)) {
        checkDocument(documentFrom(input));
        return;
    }
    const std::string text = input.text();
    if (const auto document = resultOf([&] { return decodeChip(text); })) {
        hold(trimmed(document->name, " \t\v\f") == document->name, "a name is trimmed");
        const auto other = fromOtherSystem(text, text.size() % 2 == 0);
        hold(!other || decodeChip(*other) == document, "line ends and a mark do not matter");
        checkLoaded(*document);
    }
}

} // namespace pivex::fuzzing
