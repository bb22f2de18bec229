#include "simulator/BoardFile.h"

#include "base/Text.h"
#include "device/DeviceRecords.h"
#include "simulator/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <span>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace pivex {

namespace {

constexpr std::string_view versionLine = "pivex-board storage 1";
constexpr std::string_view checkWord = "check ";
constexpr char emptyBytes[] = "-";

/// FNV-1a over `text`, 32 bits.
std::uint32_t checksum(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619U;
    }
    return hash;
}

template<typename Range>
std::string hexOf(const Range& bytes) {
    std::string hex;
    for (const auto byte : bytes) {
        constexpr std::string_view digits = "0123456789ABCDEF";
        hex += digits[static_cast<std::uint8_t>(byte) >> 4];
        hex += digits[static_cast<std::uint8_t>(byte) & 15];
    }
    return hex.empty() ? emptyBytes : hex;
}

/// One line: `words` with a blank between each two.
void addLine(std::string& text, std::initializer_list<std::string> words) {
    for (const std::string& word : words) {
        text += word + ' ';
    }
    text.back() = '\n';
}

void addChip(std::string& text, const StoredChip& chip) {
    addLine(text, {"chip", std::to_string(chip.type), std::to_string(chip.pins),
                   std::to_string(chip.imageIndex), hexOf(chip.name), hexOf(chip.code)});
    for (std::size_t i = 0; i < chip.strings.size(); ++i) {
        if (!chip.strings[i].empty()) {
            addLine(text, {"string", std::to_string(i), hexOf(chip.strings[i])});
        }
    }
}

/// Reads the words of one line in their order; every access throws if the word is not fit.
class LineReader {
public:
    explicit LineReader(std::string_view line) : rest(line) {}

    std::string_view word() {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        const std::string_view next = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        return next;
    }

    template<typename Number>
    Number number(std::uint64_t smallest = 0,
                  std::uint64_t largest = std::numeric_limits<Number>::max()) {
        const auto value = parseDigits(word(), 10, largest);
        if (!value || *value < smallest) {
            throw std::runtime_error("a number is missing or out of range");
        }
        return static_cast<Number>(*value);
    }

    Bytes bytes() {
        const std::string_view hex = word();
        Bytes bytes;
        if (hex == emptyBytes) {
            return bytes;
        }
        for (std::size_t i = 0; i < std::max<std::size_t>(hex.size(), 1); i += 2) {
            const std::string_view digits = hex.substr(i, 2);
            const auto value = parseDigits(digits, 16, 255);
            if (!value || digits.size() != 2) {
                throw std::runtime_error("bytes are missing or not hexadecimal");
            }
            bytes.push_back(static_cast<std::uint8_t>(*value));
        }
        return bytes;
    }

    std::string text() {
        const Bytes content = bytes();
        return {content.begin(), content.end()};
    }

    void end() const {
        if (!rest.empty()) {
            throw std::runtime_error("there is something behind the end of the line");
        }
    }

private:
    std::string_view rest;
};

void readSettings(LineReader& line, BoardStorage& storage) {
    const Bytes record = line.bytes();
    if (record.size() != storage.settings.size()) {
        throw std::runtime_error("the settings record has a wrong length");
    }
    std::ranges::copy(record, storage.settings.begin());
}

void readChip(LineReader& line, BoardStorage& storage) {
    StoredChip chip;
    chip.type = line.number<std::uint16_t>();
    chip.pins = line.number<std::uint8_t>();
    chip.imageIndex = line.number<std::uint8_t>();
    chip.name = line.text();
    chip.code = line.bytes();
    storage.chips.push_back(chip);
}

void readString(LineReader& line, BoardStorage& storage) {
    if (storage.chips.empty()) {
        throw std::runtime_error("a string stands in front of every chip");
    }
    auto& strings = storage.chips.back().strings;
    const auto number = line.number<std::size_t>(0, strings.size() - 1);
    strings[number] = line.text();
}

void readImage(LineReader& line, BoardStorage& storage) {
    StoredImage& image = storage.images[line.number<int>(1, imageSlotCount)];
    image.width = line.number<std::uint8_t>();
    image.height = line.number<std::uint8_t>();
    image.name = line.text();
    image.rle = line.bytes();
}

void readFont(LineReader& line, BoardStorage& storage) {
    StoredFont& font = storage.fonts[line.number<int>(0, fontSlotCount - 1)];
    font.width = line.number<std::uint8_t>();
    font.height = line.number<std::uint8_t>();
    font.glyphs = line.number<std::uint8_t>();
    font.name = line.text();
    font.columns = line.bytes();
}

struct LineRule {
    std::string_view word;
    void (*read)(LineReader&, BoardStorage&);
};

constexpr std::array<LineRule, 5> lineRules{{
    {"settings", readSettings},
    {"chip", readChip},
    {"string", readString},
    {"image", readImage},
    {"font", readFont},
}};

void readLine(std::string_view text, BoardStorage& storage) {
    LineReader line(text);
    const auto rule = std::ranges::find(lineRules, line.word(), &LineRule::word);
    if (rule == lineRules.end()) {
        throw std::runtime_error("the line is of an unknown kind");
    }
    rule->read(line, storage);
    line.end();
}

/// The part of `text` that the check line at its end vouches for.
std::string_view checkedPart(std::string_view text) {
    const std::size_t check = text.rfind(checkWord);
    if (check == std::string_view::npos ||
        text.substr(check) !=
            std::string(checkWord) + upperHex(checksum(text.substr(0, check))) + '\n') {
        throw std::runtime_error("the check line does not match");
    }
    return text.substr(0, check);
}

[[noreturn]] void failWith(const std::string& path, const std::string& what) {
    throw std::runtime_error("Cannot write the storage file " + path + ": " + what);
}

[[noreturn]] void failWithErrno(const std::string& path) {
    failWith(path, std::generic_category().message(errno));
}

/// A file beside the real one that is gone again unless it was renamed.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target) : path(target + ".XXXXXX") {
        file.reset(mkstemp(path.data()));
        if (file.get() < 0) {
            failWithErrno(target);
        }
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile() {
        if (!path.empty()) {
            unlink(path.c_str());
        }
    }

    bool write(std::string_view text) {
        while (!text.empty()) {
            const ssize_t count = ::write(file.get(), text.data(), text.size());
            if (count < 0 && errno != EINTR) {
                return false;
            }
            text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        return fchmod(file.get(), 0644) == 0 && fsync(file.get()) == 0;
    }

    bool moveTo(const std::string& target) {
        if (std::rename(path.c_str(), target.c_str()) != 0) {
            return false;
        }
        path.clear();
        return true;
    }

private:
    std::string path;
    FileDescriptor file;
};

} // namespace

std::string encodeStorage(const BoardStorage& storage) {
    std::string text = std::string(versionLine) + '\n';
    addLine(text, {"settings", hexOf(storage.settings)});
    for (const StoredChip& chip : storage.chips) {
        addChip(text, chip);
    }
    for (const auto& [slot, image] : storage.images) {
        addLine(text, {"image", std::to_string(slot), std::to_string(image.width),
                       std::to_string(image.height), hexOf(image.name), hexOf(image.rle)});
    }
    for (const auto& [slot, font] : storage.fonts) {
        addLine(text, {"font", std::to_string(slot), std::to_string(font.width),
                       std::to_string(font.height), std::to_string(font.glyphs), hexOf(font.name),
                       hexOf(font.columns)});
    }
    return text + std::string(checkWord) + upperHex(checksum(text)) + '\n';
}

BoardStorage decodeStorage(std::string_view text) {
    BoardStorage storage;
    std::string_view rest = checkedPart(text);
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        try {
            if (number > 1) {
                readLine(line, storage);
            } else if (line != versionLine) {
                throw std::runtime_error("the file is of another kind or version");
            }
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return storage;
}

std::optional<BoardStorage> loadStorage(const std::string& path) {
    if (!std::filesystem::exists(path)) {
        return std::nullopt;
    }
    try {
        std::ifstream file(path, std::ios::binary);
        return decodeStorage(std::string(std::istreambuf_iterator<char>(file), {}));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("The storage file " + path + " cannot be used (" + error.what() +
                                 "). It was left as it is.");
    }
}

void saveStorage(const std::string& path, const BoardStorage& storage) {
    std::error_code error;
    const std::string target = std::filesystem::weakly_canonical(path, error).string();
    if (error) {
        failWith(path, error.message());
    }
    TemporaryFile file(target);
    if (!file.write(encodeStorage(storage)) || !file.moveTo(target)) {
        failWithErrno(path);
    }
}

} // namespace pivex
