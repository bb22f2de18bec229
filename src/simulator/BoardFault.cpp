#include "simulator/BoardFault.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace pivex {

namespace {

constexpr std::array<std::pair<std::string_view, Command>, commandSet.size()> commandNames{{
    {"ImageBegin", Command::ImageBegin},
    {"ImageMetadataChunk", Command::ImageMetadataChunk},
    {"ImageMetadataCommit", Command::ImageMetadataCommit},
    {"ImageDataSize", Command::ImageDataSize},
    {"ImageDataChunk", Command::ImageDataChunk},
    {"ImageDataCommit", Command::ImageDataCommit},
    {"UploadStringsStart", Command::UploadStringsStart},
    {"UploadStringChunk", Command::UploadStringChunk},
    {"UploadModeCheck", Command::UploadModeCheck},
    {"FontBegin", Command::FontBegin},
    {"FontMetadataChunk", Command::FontMetadataChunk},
    {"FontMetadataCommit", Command::FontMetadataCommit},
    {"FontDataSize", Command::FontDataSize},
    {"FontDataChunk", Command::FontDataChunk},
    {"FontDataCommit", Command::FontDataCommit},
    {"PermanentSave", Command::PermanentSave},
    {"ChipName", Command::ChipName},
    {"ChipCount", Command::ChipCount},
    {"UploadMetadata", Command::UploadMetadata},
    {"UploadCodeChunk", Command::UploadCodeChunk},
    {"UploadCodeLength", Command::UploadCodeLength},
    {"BatchFinish", Command::BatchFinish},
    {"DeleteAllChips", Command::DeleteAllChips},
    {"ImageName", Command::ImageName},
    {"ReadChipMetadata", Command::ReadChipMetadata},
    {"ReadChipCode", Command::ReadChipCode},
    {"ReadChipString", Command::ReadChipString},
    {"UploadStringsDone", Command::UploadStringsDone},
    {"DeleteSelectedChip", Command::DeleteSelectedChip},
    {"Identify", Command::Identify},
    {"FontSlotRead", Command::FontSlotRead},
    {"Settings", Command::Settings},
    {"FontDelete", Command::FontDelete},
    {"ImageMetadata", Command::ImageMetadata},
    {"ImageChunk", Command::ImageChunk},
    {"ImageDelete", Command::ImageDelete},
    {"ImageSelectSlot", Command::ImageSelectSlot},
}};

/// `Replace` needs an answer to give and is for tests only.
constexpr std::array<std::pair<std::string_view, FaultKind>, 14> kindNames{{
    {"Busy", FaultKind::Busy},
    {"Refuse", FaultKind::Refuse},
    {"Silent", FaultKind::Silent},
    {"Late", FaultKind::Late},
    {"Stale", FaultKind::Stale},
    {"Corrupt", FaultKind::Corrupt},
    {"Split", FaultKind::Split},
    {"Glued", FaultKind::Glued},
    {"Oversized", FaultKind::Oversized},
    {"WrongEcho", FaultKind::WrongEcho},
    {"Short", FaultKind::Short},
    {"TooLong", FaultKind::TooLong},
    {"HangUp", FaultKind::HangUp},
    {"Flood", FaultKind::Flood},
}};

/// The value that `names` has for `word`; throws for any other word.
template<typename Names>
auto named(const Names& names, std::string_view word) {
    const auto found = std::ranges::find(names, word, &Names::value_type::first);
    if (found == names.end()) {
        throw std::runtime_error("Unknown name \"" + std::string(word) + "\".");
    }
    return found->second;
}

std::size_t countIn(std::string_view digits) {
    const auto value = parseDigits(digits, 10, 1'000'000'000);
    if (value.value_or(0) == 0) {
        throw std::runtime_error("\"" + std::string(digits) + "\" is not a count from 1.");
    }
    return *value;
}

std::vector<std::string_view> fieldsOf(std::string_view text) {
    std::vector<std::string_view> fields;
    for (std::size_t colon = text.find(':'); colon != std::string_view::npos;
         colon = text.find(':')) {
        fields.push_back(text.substr(0, colon));
        text.remove_prefix(colon + 1);
    }
    fields.push_back(text);
    return fields;
}

} // namespace

std::string_view commandName(Command command) {
    const auto found =
        std::ranges::find(commandNames, command, &std::pair<std::string_view, Command>::second);
    return found == commandNames.end() ? "unknown" : found->first;
}

Fault parseFault(std::string_view text) {
    const auto fields = fieldsOf(text);
    if (fields.size() != 3 && fields.size() != 4) {
        throw std::runtime_error("A fault is COMMAND:PACKET:KIND or COMMAND:PACKET:KIND:COUNT.");
    }
    return {.command = named(commandNames, fields[0]),
            .packet = countIn(fields[1]),
            .kind = named(kindNames, fields[2]),
            .count = fields.size() == 4 ? countIn(fields[3]) : 1};
}

} // namespace pivex
