#pragma once

#include <array>
#include <cstdint>

namespace pivex {

/// The board's commands. No other byte is ever sent.
enum class Command : std::uint8_t {
    ImageBegin = 0xA0,
    ImageMetadataChunk = 0xA1,
    ImageMetadataCommit = 0xA2,
    ImageDataSize = 0xA3,
    ImageDataChunk = 0xA4,
    ImageDataCommit = 0xA5,
    UploadStringsStart = 0xAC,
    UploadStringChunk = 0xAD,
    UploadModeCheck = 0xAF,
    FontBegin = 0xC0,
    FontMetadataChunk = 0xC1,
    FontMetadataCommit = 0xC2,
    FontDataSize = 0xC3,
    FontDataChunk = 0xC4,
    FontDataCommit = 0xC5,
    PermanentSave = 0xC6,
    ChipName = 0xC7,
    ChipCount = 0xC8,
    UploadMetadata = 0xCA,
    UploadCodeChunk = 0xCB,
    UploadCodeLength = 0xCD,
    BatchFinish = 0xCF,
    DeleteAllChips = 0xD3,
    ImageName = 0xD4,
    ReadChipMetadata = 0xD6,
    ReadChipCode = 0xD7,
    ReadChipString = 0xD8,
    UploadStringsDone = 0xD9,
    DeleteSelectedChip = 0xDA,
    Identify = 0xDC,
    FontSlotRead = 0xDE,
    Settings = 0xE4,
    FontDelete = 0xE6,
    ImageMetadata = 0xE7,
    ImageChunk = 0xE8,
    ImageDelete = 0xEB,
    ImageSelectSlot = 0xEC,
};

/// All 37 commands, in the order of their codes.
inline constexpr std::array<Command, 37> commandSet{
    Command::ImageBegin,         Command::ImageMetadataChunk, Command::ImageMetadataCommit,
    Command::ImageDataSize,      Command::ImageDataChunk,     Command::ImageDataCommit,
    Command::UploadStringsStart, Command::UploadStringChunk,  Command::UploadModeCheck,
    Command::FontBegin,          Command::FontMetadataChunk,  Command::FontMetadataCommit,
    Command::FontDataSize,       Command::FontDataChunk,      Command::FontDataCommit,
    Command::PermanentSave,      Command::ChipName,           Command::ChipCount,
    Command::UploadMetadata,     Command::UploadCodeChunk,    Command::UploadCodeLength,
    Command::BatchFinish,        Command::DeleteAllChips,     Command::ImageName,
    Command::ReadChipMetadata,   Command::ReadChipCode,       Command::ReadChipString,
    Command::UploadStringsDone,  Command::DeleteSelectedChip, Command::Identify,
    Command::FontSlotRead,       Command::Settings,           Command::FontDelete,
    Command::ImageMetadata,      Command::ImageChunk,         Command::ImageDelete,
    Command::ImageSelectSlot,
};

/// The board's response codes.
enum class Response : std::uint8_t {
    Any = 0x00, ///< never sent by the board: as an expectation it accepts every code
    InUploadMode = 0x05,
    NotInUploadMode = 0x06,
    ToolAccepted = 0xB0,
    Busy = 0xB1,
    Acknowledged = 0xB2,
    ImageSlotEmpty = 0xB3,
    ChipCount = 0xB9,
    ChipName = 0xBA,
    ImageName = 0xBB,
    ChipMetadata = 0xBC,
    ChipCode = 0xBD,
    ChipString = 0xBE,
    Identity = 0xE0,
    FontSlotEmpty = 0xE1,
    FontSlot = 0xE2,
    Settings = 0xE5,
    ImageMetadata = 0xE9,
    ImageChunk = 0xEA,
};

/// How an answer to a packet that changes the board is judged.
enum class Acknowledgement { Accepted, Busy, Refused };

/// Whether `code` is one of the 37 commands.
bool isCommand(std::uint8_t code);

/// Chip upload packets: 0xB2 accepted, 0xB1 busy, anything else refused.
Acknowledgement uploadAcknowledgement(Response response);

/// Image and font packets: 0xB0 and 0xB2 accepted, 0xB1 busy, anything else refused.
Acknowledgement toolAcknowledgement(Response response);

/// Saves, deletions and the end of a batch: only 0xB2 counts, a busy answer does not.
bool isDone(Response response);

} // namespace pivex
