#include "simulator/BoardModel.h"

#include "device/DeviceRecords.h"

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace pivex {

namespace {

/// Index that asks for the next piece of what is being read.
constexpr std::uint16_t continuationMarker = 0xAAAA;
constexpr std::size_t largestCount = 65535;
constexpr std::size_t nameField = 32;
constexpr std::size_t stringCount = 8;
constexpr std::size_t shortestMetadata = 40;
constexpr std::uint8_t erasedByte = 0xFF;

Bytes textBytes(std::string_view text) {
    return {text.begin(), text.end()};
}

/// Writes `name` at `offset`; what does not fit its field is cut off.
void putName(Bytes& block, std::size_t offset, std::string_view name) {
    std::ranges::copy(name.substr(0, nameField),
                      block.begin() + static_cast<std::ptrdiff_t>(offset));
}

Bytes metadataRecord(const StoredChip& chip, std::size_t size) {
    Bytes record(std::max(size, shortestMetadata + 1));
    record[0] = 0x5A;
    record[1] = 0xA5;
    putName(record, 2, chip.name);
    putU16(record, 34, chip.type);
    record[36] = chip.pins;
    record[37] = chip.imageIndex;
    putU16(record, 38, static_cast<std::uint32_t>(chip.code.size()));
    record[40] = static_cast<std::uint8_t>(
        std::ranges::count_if(chip.strings, [](const auto& text) { return !text.empty(); }));
    return record;
}

/// The code as it lies in the board's memory: whole blocks, the rest erased.
Bytes physicalCode(const StoredChip& chip, const BoardTraits& traits) {
    const std::size_t blocks = (chip.code.size() + traits.codeBlock - 1) / traits.codeBlock;
    const std::size_t size = blocks * traits.codeBlock + traits.codeExtra;
    Bytes code = chip.code;
    code.resize(std::min(std::max(size, code.size()), largestCount), erasedByte);
    return code;
}

template<typename Stored>
const Stored* storedIn(const std::map<int, Stored>& slots, int slot) {
    const auto found = slots.find(slot);
    return found == slots.end() ? nullptr : &found->second;
}

bool isImageSlot(int slot) {
    return slot >= 1 && slot <= imageSlotCount;
}

} // namespace

const BoardModel::CommandRule* BoardModel::ruleOf(Command command) {
    using Model = BoardModel;
    static constexpr std::array<CommandRule, commandSet.size()> rules{{
        {Command::Identify, 0, 0, &Model::identify},
        {Command::ChipCount, 0, 0, &Model::chipCount},
        {Command::ChipName, 2, 2, &Model::chipName},
        {Command::ReadChipMetadata, 2, 2, &Model::readChipMetadata},
        {Command::ReadChipCode, 2, 2, &Model::readChipCode},
        {Command::ReadChipString, 3, 3, &Model::readChipString},
        {Command::DeleteSelectedChip, 2, 2, &Model::deleteSelectedChip},
        {Command::DeleteAllChips, 0, 0, &Model::deleteAllChips},
        {Command::UploadModeCheck, 0, 0, &Model::uploadModeCheck},
        {Command::UploadMetadata, 41, 41, &Model::uploadPacket},
        {Command::UploadStringsStart, 0, 0, &Model::uploadPacket},
        {Command::UploadStringChunk, 1, 63, &Model::uploadPacket},
        {Command::UploadStringsDone, 0, 0, &Model::uploadPacket},
        {Command::UploadCodeLength, 2, 2, &Model::uploadPacket},
        {Command::UploadCodeChunk, 1, 63, &Model::uploadPacket},
        {Command::PermanentSave, 0, 0, &Model::permanentSave},
        {Command::BatchFinish, 0, 0, &Model::batchFinish},
        {Command::ImageName, 2, 2, &Model::imageName},
        {Command::ImageMetadata, 2, 2, &Model::imageMetadata},
        {Command::ImageChunk, 4, 4, &Model::imageChunk},
        {Command::ImageDelete, 2, 2, &Model::imageDelete},
        {Command::ImageBegin, 2, 2, &Model::artworkBegin},
        {Command::ImageSelectSlot, 2, 2, &Model::artworkPacket},
        {Command::ImageMetadataChunk, 1, 48, &Model::artworkPacket},
        {Command::ImageMetadataCommit, 0, 0, &Model::artworkPacket},
        {Command::ImageDataSize, 2, 2, &Model::artworkPacket},
        {Command::ImageDataChunk, 1, 48, &Model::artworkPacket},
        {Command::ImageDataCommit, 0, 0, &Model::artworkCommit},
        {Command::FontSlotRead, 1, 1, &Model::fontSlotRead},
        {Command::FontBegin, 3, 3, &Model::artworkBegin},
        {Command::FontMetadataChunk, 1, 48, &Model::artworkPacket},
        {Command::FontMetadataCommit, 0, 0, &Model::artworkPacket},
        {Command::FontDataSize, 2, 2, &Model::artworkPacket},
        {Command::FontDataChunk, 1, 48, &Model::artworkPacket},
        {Command::FontDataCommit, 0, 0, &Model::artworkCommit},
        {Command::FontDelete, 1, 1, &Model::fontDelete},
        {Command::Settings, 1, 3, &Model::exchangeSettings},
    }};
    const auto rule = std::ranges::find(rules, command, &CommandRule::command);
    return rule == rules.end() ? nullptr : rule;
}

std::optional<BoardAnswer> BoardModel::answer(Command command, const Bytes& payload) {
    const CommandRule* rule = ruleOf(command);
    if (rule == nullptr) {
        return std::nullopt;
    }
    if (payload.size() < rule->shortest || payload.size() > rule->longest) {
        return BoardAnswer{};
    }
    return (this->*rule->handler)(command, payload);
}

void BoardModel::addFault(const Fault& fault) {
    faults.push_back({fault});
}

void BoardModel::clearFaults() {
    faults.clear();
    flooding = false;
}

std::optional<Fault> BoardModel::takeFault(Command command) {
    std::optional<Fault> hit;
    for (CountedFault& counted : faults) {
        const Fault& fault = counted.fault;
        if (fault.command.value_or(command) != command) {
            continue;
        }
        ++counted.seen;
        if (!hit && counted.seen >= fault.packet && counted.seen - fault.packet < fault.count) {
            hit = fault;
        }
    }
    flooding = flooding || (hit && hit->kind == FaultKind::Flood);
    return hit;
}

BoardAnswer BoardModel::identify(Command, const Bytes&) {
    return {Response::Identity, textBytes(identity)};
}

BoardAnswer BoardModel::chipCount(Command, const Bytes&) {
    const std::size_t count = std::min(storage.chips.size(), largestCount);
    return {Response::ChipCount, u16Bytes(static_cast<std::uint32_t>(count))};
}

BoardAnswer BoardModel::chipName(Command, const Bytes& payload) {
    const StoredChip* chip = chipAt(u16At(payload, 0));
    return chip == nullptr ? BoardAnswer{} : BoardAnswer{Response::ChipName, textBytes(chip->name)};
}

BoardAnswer BoardModel::readChipMetadata(Command, const Bytes& payload) {
    if (const std::uint16_t index = u16At(payload, 0); index != continuationMarker) {
        const StoredChip* chip = chipAt(index);
        metadataReading.reset();
        if (chip != nullptr) {
            metadataReading = Reading{metadataRecord(*chip, traits.metadataSize)};
        }
    }
    return nextPiece(Response::ChipMetadata, metadataReading, traits.metadataPiece);
}

BoardAnswer BoardModel::readChipCode(Command, const Bytes& payload) {
    const std::uint16_t index = u16At(payload, 0);
    if (index == continuationMarker) {
        return nextPiece(Response::ChipCode, codeReading, traits.codePiece);
    }
    const StoredChip* chip = chipAt(index);
    if (chip == nullptr) {
        codeReading.reset();
        return {};
    }
    codeReading = Reading{physicalCode(*chip, traits)};
    const auto length = static_cast<std::uint32_t>(codeReading->bytes.size());
    return {Response::ChipCode, u16Bytes(length)};
}

BoardAnswer BoardModel::readChipString(Command, const Bytes& payload) {
    const StoredChip* chip = chipAt(u16At(payload, 0));
    if (chip == nullptr || payload[2] >= stringCount) {
        return {};
    }
    return {Response::ChipString, textBytes(chip->strings[payload[2]])};
}

BoardAnswer BoardModel::deleteSelectedChip(Command, const Bytes& payload) {
    const std::uint16_t index = u16At(payload, 0);
    if (chipAt(index) == nullptr) {
        return {};
    }
    return change(Response::Acknowledged,
                  [&](BoardStorage& next) { next.chips.erase(next.chips.begin() + index); });
}

BoardAnswer BoardModel::deleteAllChips(Command, const Bytes&) {
    return change(Response::Acknowledged, [](BoardStorage& next) { next.chips.clear(); });
}

BoardAnswer BoardModel::uploadModeCheck(Command, const Bytes&) {
    return {uploadMode ? Response::InUploadMode : Response::NotInUploadMode};
}

BoardAnswer BoardModel::uploadPacket(Command command, const Bytes& payload) {
    if (!uploadMode) {
        return {};
    }
    if (command == Command::UploadMetadata) {
        staging = ChipStaging();
    }
    auto* chip = std::get_if<ChipStaging>(&staging);
    if (chip == nullptr || !chip->take(command, payload)) {
        staging = {};
        return {};
    }
    return {Response::Acknowledged};
}

BoardAnswer BoardModel::permanentSave(Command, const Bytes&) {
    const auto* chip = std::get_if<ChipStaging>(&staging);
    if (!uploadMode || chip == nullptr || !chip->isComplete() ||
        storage.chips.size() >= largestCount) {
        return {};
    }
    const StoredChip saved = chip->chip();
    staging = {};
    return change(Response::Acknowledged, [&](BoardStorage& next) { next.chips.push_back(saved); });
}

BoardAnswer BoardModel::batchFinish(Command, const Bytes&) {
    return uploadMode ? BoardAnswer{Response::Acknowledged} : BoardAnswer{};
}

BoardAnswer BoardModel::imageName(Command, const Bytes& payload) {
    const int slot = u16At(payload, 0);
    if (!isImageSlot(slot)) {
        return {};
    }
    const StoredImage* image = storedIn(storage.images, slot);
    return image == nullptr ? BoardAnswer{Response::ImageSlotEmpty}
                            : BoardAnswer{Response::ImageName, textBytes(image->name)};
}

BoardAnswer BoardModel::imageMetadata(Command, const Bytes& payload) {
    const StoredImage* image = storedIn(storage.images, u16At(payload, 0));
    if (image == nullptr) {
        return {};
    }
    Bytes metadata(38);
    putName(metadata, 0, image->name);
    metadata[32] = image->width;
    metadata[33] = image->height;
    putU32(metadata, 34, static_cast<std::uint32_t>(image->rle.size()));
    return {Response::ImageMetadata, metadata};
}

BoardAnswer BoardModel::imageChunk(Command, const Bytes& payload) {
    const StoredImage* image = storedIn(storage.images, u16At(payload, 0));
    const std::size_t offset = u16At(payload, 2);
    if (image == nullptr || offset >= image->rle.size()) {
        return {};
    }
    const auto rest = std::span(image->rle).subspan(offset);
    const auto piece = rest.first(std::min(rest.size(), traits.imagePiece));
    Bytes answer(payload.begin() + 2, payload.end());
    answer.insert(answer.end(), piece.begin(), piece.end());
    return {Response::ImageChunk, answer};
}

BoardAnswer BoardModel::imageDelete(Command, const Bytes& payload) {
    const int slot = u16At(payload, 0);
    if (slot < firstDeletableImageSlot || !isImageSlot(slot)) {
        return {};
    }
    return change(Response::ToolAccepted, [&](BoardStorage& next) { next.images.erase(slot); });
}

BoardAnswer BoardModel::artworkBegin(Command command, const Bytes& payload) {
    using Kind = ArtworkStaging::Kind;
    staging = ArtworkStaging(command == Command::ImageBegin ? Kind::Image : Kind::Font);
    return artworkPacket(command, payload);
}

BoardAnswer BoardModel::artworkPacket(Command command, const Bytes& payload) {
    auto* artwork = std::get_if<ArtworkStaging>(&staging);
    if (artwork == nullptr || !artwork->take(command, payload)) {
        staging = {};
        return {};
    }
    return {Response::ToolAccepted};
}

BoardAnswer BoardModel::artworkCommit(Command command, const Bytes& payload) {
    if (BoardAnswer taken = artworkPacket(command, payload); taken.code != Response::ToolAccepted) {
        return taken;
    }
    const ArtworkStaging artwork = std::get<ArtworkStaging>(std::exchange(staging, {}));
    return change(Response::ToolAccepted, [&](BoardStorage& next) {
        if (command == Command::ImageDataCommit) {
            next.images[artwork.slot()] = artwork.image();
        } else {
            next.fonts[artwork.slot()] = artwork.font();
        }
    });
}

BoardAnswer BoardModel::fontSlotRead(Command, const Bytes& payload) {
    const int slot = payload[0];
    if (slot >= fontSlotCount) {
        return {};
    }
    const StoredFont* font = storedIn(storage.fonts, slot);
    if (font == nullptr) {
        return {Response::FontSlotEmpty, payload};
    }
    Bytes answer(40);
    answer[0] = payload[0];
    answer[1] = font->width;
    answer[2] = font->height;
    answer[3] = font->glyphs;
    putName(answer, 8, font->name);
    return {Response::FontSlot, answer};
}

BoardAnswer BoardModel::fontDelete(Command, const Bytes& payload) {
    const int slot = payload[0];
    if (slot >= fontSlotCount) {
        return {};
    }
    return change(Response::ToolAccepted, [&](BoardStorage& next) { next.fonts.erase(slot); });
}

BoardAnswer BoardModel::exchangeSettings(Command, const Bytes& payload) {
    if (payload == Bytes{0}) {
        return {Response::Settings, Bytes(storage.settings.begin(), storage.settings.end())};
    }
    const auto rule = std::ranges::find_if(settingRules, [&](const SettingRule& candidate) {
        return payload.size() == 3 && payload[0] == 1 && payload[1] == candidate.setting &&
               payload[2] <= candidate.largest;
    });
    if (rule == settingRules.end()) {
        return {};
    }
    const BoardAnswer written = change(Response::Settings, [&](BoardStorage& next) {
        next.settings[rule->recordByte] = payload[2];
    });
    return written.code == Response::Settings ? exchangeSettings(Command::Settings, {0}) : written;
}

const StoredChip* BoardModel::chipAt(std::uint16_t index) const {
    return index < storage.chips.size() ? &storage.chips[index] : nullptr;
}

BoardAnswer BoardModel::nextPiece(Response code, std::optional<Reading>& reading,
                                  std::size_t piece) {
    if (!reading) {
        return {};
    }
    const auto rest = std::span(reading->bytes).subspan(reading->delivered);
    const auto next = rest.first(std::min(rest.size(), piece));
    reading->delivered += next.size();
    return {code, Bytes(next.begin(), next.end())};
}

BoardAnswer BoardModel::change(Response done, const std::function<void(BoardStorage&)>& edit) {
    if (!keep) {
        edit(storage);
        return {done};
    }
    BoardStorage next = storage;
    edit(next);
    try {
        keep(next);
    } catch (const std::runtime_error&) {
        return {};
    }
    storage = std::move(next);
    return {done};
}

} // namespace pivex
