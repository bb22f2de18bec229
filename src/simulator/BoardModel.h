#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"
#include "simulator/BoardFault.h"
#include "simulator/BoardStorage.h"
#include "simulator/UploadStaging.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace pivex {

/// One answer of the board: response code and payload.
struct BoardAnswer {
    Response code = refusedResponse;
    Bytes payload{};

    bool operator==(const BoardAnswer&) const = default;
};

/// Sizes that differ from board to board; a test sets what it wants to see handled.
struct BoardTraits {
    std::size_t metadataSize = 128; ///< bytes of a chip's metadata record, at least 40
    std::size_t metadataPiece = 60; ///< most metadata bytes in one answer, at least 1
    std::size_t codePiece = 60;     ///< most code bytes in one answer, at least 1
    std::size_t codeBlock = 64;     ///< code is stored in whole blocks of this size, at least 1
    std::size_t codeExtra = 0;      ///< physical bytes beyond the last block
    std::size_t imagePiece = 200;   ///< most image bytes in one answer, at least 1
};

/// The board without its line: takes one request at a time and gives the answer. A plain value;
/// copy it to keep a state. Not thread-safe (`BoardServer` guards its own).
///
/// The public members are the board's state as a test or the start-up options set it; they may
/// be written at any time between two requests.
class BoardModel {
public:
    BoardStorage storage;                         ///< chips, images, fonts and settings
    std::string identity = "Pivex PCB simulator"; ///< answer to the identity request
    bool uploadMode = true;                       ///< whether chip tests may be uploaded
    BoardTraits traits;

    /// Called with the new content before a change of the storage counts. If it throws
    /// std::runtime_error, the change is dropped and the request refused.
    std::function<void(const BoardStorage&)> keep;

    /// Carries out one request. Gives a refusal (0xB4) for a payload of a wrong length, a packet
    /// out of order and anything out of range; gives nothing for an unknown command.
    std::optional<BoardAnswer> answer(Command command, const Bytes& payload);

    /// Orders a misbehaviour; its packets are counted from now on. Of several faults that hit
    /// the same request the one ordered first wins.
    void addFault(const Fault& fault);

    /// Forgets every fault, a flood that runs included.
    void clearFaults();

    /// Counts one request and gives the fault that hits it.
    std::optional<Fault> takeFault(Command command);

    /// Whether noise is to be sent while no request is being served.
    bool isFlooding() const { return flooding; }

private:
    /// What a read in pieces has left to deliver.
    struct Reading {
        Bytes bytes;
        std::size_t delivered = 0;
    };

    struct CountedFault {
        Fault fault;
        std::size_t seen = 0;
    };

    using Handler = BoardAnswer (BoardModel::*)(Command, const Bytes&);

    struct CommandRule {
        Command command;
        std::size_t shortest; ///< payload bytes
        std::size_t longest;
        Handler handler;
    };

    static const CommandRule* ruleOf(Command command);

    BoardAnswer identify(Command, const Bytes&);
    BoardAnswer chipCount(Command, const Bytes&);
    BoardAnswer chipName(Command, const Bytes& payload);
    BoardAnswer readChipMetadata(Command, const Bytes& payload);
    BoardAnswer readChipCode(Command, const Bytes& payload);
    BoardAnswer readChipString(Command, const Bytes& payload);
    BoardAnswer deleteSelectedChip(Command, const Bytes& payload);
    BoardAnswer deleteAllChips(Command, const Bytes&);
    BoardAnswer uploadModeCheck(Command, const Bytes&);
    BoardAnswer uploadPacket(Command command, const Bytes& payload);
    BoardAnswer permanentSave(Command, const Bytes&);
    BoardAnswer batchFinish(Command, const Bytes&);
    BoardAnswer imageName(Command, const Bytes& payload);
    BoardAnswer imageMetadata(Command, const Bytes& payload);
    BoardAnswer imageChunk(Command, const Bytes& payload);
    BoardAnswer imageDelete(Command, const Bytes& payload);
    BoardAnswer artworkBegin(Command command, const Bytes& payload);
    BoardAnswer artworkPacket(Command command, const Bytes& payload);
    BoardAnswer artworkCommit(Command command, const Bytes& payload);
    BoardAnswer fontSlotRead(Command, const Bytes& payload);
    BoardAnswer fontDelete(Command, const Bytes& payload);
    BoardAnswer exchangeSettings(Command, const Bytes& payload);

    const StoredChip* chipAt(std::uint16_t index) const;
    static BoardAnswer nextPiece(Response code, std::optional<Reading>& reading, std::size_t piece);
    BoardAnswer change(Response done, const std::function<void(BoardStorage&)>& edit);

    // One upload at a time: whatever begins drops what was staged before.
    std::variant<std::monostate, ChipStaging, ArtworkStaging> staging;
    std::optional<Reading> metadataReading;
    std::optional<Reading> codeReading;
    std::vector<CountedFault> faults;
    bool flooding = false;
};

} // namespace pivex
