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

/// Whether a document of UTF-8 texts comes back from its file as it went in.
bool isKept(const ChipDocument& document) {
    const std::string_view code = document.code;
    return !document.name.empty() && isOneLine(document.name) &&
           trimmed(document.name, " \t\v\f") == document.name &&
           code.find('\r') == std::string_view::npos && trimmed(code, "\n") == code &&
           !hasSectionHeader(code) && std::ranges::all_of(document.strings, isOneLine);
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
    if (isKept(document) && isUtf8(saved)) {
        hold(loaded == document, "a document comes back as it was saved");
    }
    if (loaded) {
        checkLoaded(*loaded);
    }
}

} // namespace

/// A file as it is; behind 0xFF, the fields of a document.
void fuzzOne(Input input) {
    if (input.mark(0xFF)) {
        checkDocument(documentFrom(input));
    } else if (const auto document = resultOf([&] { return decodeChip(input.text()); })) {
        checkLoaded(*document);
    }
}

} // namespace pivex::fuzzing
