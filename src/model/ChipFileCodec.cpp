#include "model/ChipFileCodec.h"

#include "base/Text.h"
#include "model/Utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>

namespace pivex {

namespace {

constexpr std::string_view blanks = " \t\v\f";

constexpr std::string_view fileHeader = "[chipfile]\n"
                                        "type = single\n"
                                        "\n"
                                        "[chips]\n"
                                        "\n"
                                        "---\n"
                                        "\n"
                                        "[meta]\n"
                                        "\n";

/// `text` with every CR LF pair, lone CR and lone LF as one `replacement`.
std::string normalize(std::string_view text, char replacement) {
    std::string normal;
    normal.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isPair = text.substr(at, 2) == "\r\n";
        const bool isBreak = text[at] == '\r' || text[at] == '\n';
        normal += isBreak ? replacement : text[at];
        at += isPair ? 1 : 0;
    }
    return normal;
}

std::string_view trim(std::string_view text) {
    return trimmed(text, blanks);
}

std::string_view withoutEmptyEnds(std::string_view code) {
    return trimmed(code, "\n");
}

bool isSectionHeader(std::string_view trimmedLine) {
    return trimmedLine.starts_with('[') && trimmedLine.ends_with(']');
}

/// Fills a document line by line.
class Reader {
public:
    void readLine(std::string_view line) {
        const std::string_view content = trim(line);
        if (isSectionHeader(content)) {
            enterSection(asciiLower(content));
        } else if (section == "[code]") {
            document.code += line;
            document.code += '\n';
        } else if (const std::size_t equals = line.find('='); equals != std::string_view::npos) {
            readEntry(asciiLower(trim(line.substr(0, equals))), line.substr(equals + 1));
        }
    }

    /// The document, if the file had all that it needs.
    ChipDocument finish() {
        if (fileType && *fileType != "single") {
            throw std::runtime_error("Unsupported chip file type: " + *fileType);
        }
        if (!hasChips) {
            throw std::runtime_error("The file does not contain a [chips] section.");
        }
        if (!hasMeta) {
            throw std::runtime_error("The file does not contain a [meta] section.");
        }
        if (document.name.empty()) {
            throw std::runtime_error("The chip name is missing from the [meta] section.");
        }
        document.code = std::string(withoutEmptyEnds(document.code));
        return std::move(document);
    }

private:
    void enterSection(std::string name) {
        hasChips = hasChips || name == "[chips]";
        hasMeta = hasMeta || name == "[meta]";
        section = std::move(name);
    }

    /// `text` is what stands after the equals sign, with its blanks.
    void readEntry(const std::string& key, std::string_view text) {
        if (section == "[chipfile]" && key == "type") {
            fileType = asciiLower(trim(text));
        } else if (section == "[meta]") {
            readMeta(key, trim(text));
        } else if (section == "[strings]") {
            readString(key, text);
        }
    }

    void readMeta(const std::string& key, std::string_view value) {
        if (key == "name") {
            document.name = value;
        } else if (key == "pins") {
            document.pins = metaNumber(key, value);
        } else if (key == "type") {
            document.type = metaNumber(key, value);
        } else if (key == "imageindex") {
            document.imageIndex = metaNumber(key, value);
        }
    }

    static std::int32_t metaNumber(const std::string& key, std::string_view value) {
        const auto number = parseInt32(value, "+-");
        if (!number) {
            throw std::runtime_error("Invalid " + key + " in the chip file: " + std::string(value));
        }
        return *number;
    }

    void readString(std::string_view key, std::string_view text) {
        const auto index = parseInt32(key, "+-");
        if (index && *index >= 0 && *index < static_cast<int>(document.strings.size())) {
            document.strings[static_cast<std::size_t>(*index)] = text;
        }
    }

    ChipDocument document;
    std::string section; ///< name of the current section with its brackets, in lower case
    std::optional<std::string> fileType;
    bool hasChips = false;
    bool hasMeta = false;
};

void appendMeta(std::string_view key, std::string_view value, std::string& text) {
    text.append(key).append(" = ").append(value).append("\n");
}

void appendStrings(const ChipDocument& document, std::string& text) {
    char digit = '0';
    for (const std::string& each : document.strings) {
        text += digit++;
        text.append("=").append(normalize(each, ' ')).append("\n");
    }
}

} // namespace

std::string encodeChip(const ChipDocument& document) {
    std::string text(fileHeader);
    appendMeta("name", document.name, text);
    appendMeta("pins", std::to_string(document.pins), text);
    appendMeta("type", std::to_string(document.type), text);
    appendMeta("imageIndex", std::to_string(document.imageIndex), text);
    text += "\n[code]\n\n";
    const std::string code = normalize(document.code, '\n');
    if (const std::string_view lines = withoutEmptyEnds(code); !lines.empty()) {
        text.append(lines).append("\n");
    }
    text += "\n[strings]\n\n";
    appendStrings(document, text);
    text += "\n[ENDCHIPS]\n";
    return text;
}

ChipDocument decodeChip(std::string_view bytes) {
    if (!isUtf8(bytes)) {
        throw std::runtime_error("The chip file could not be read as UTF-8 text.");
    }
    const std::string_view content = withoutByteOrderMark(bytes);
    if (content.empty()) {
        throw std::runtime_error("The chip file is empty.");
    }
    const std::string text = normalize(content, '\n');
    Reader reader;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        reader.readLine(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return reader.finish();
}

} // namespace pivex
