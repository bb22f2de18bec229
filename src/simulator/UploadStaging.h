#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"
#include "simulator/BoardStorage.h"

#include <cstddef>

namespace pivex {

/// Bytes that arrive piece by piece up to a length known beforehand.
class PieceBuffer {
public:
    explicit PieceBuffer(std::size_t length = 0) : size(length) {}

    /// Appends `piece`; false, with nothing appended, if it would reach past the end.
    bool add(const Bytes& piece);

    bool isComplete() const { return content.size() == size; }

    const Bytes& bytes() const { return content; }

private:
    std::size_t size;
    Bytes content;
};

/// A chip test on its way into the board: metadata, 512 bytes of strings, code, in this order.
class ChipStaging {
public:
    /// Takes one upload packet; false if it is out of its order or contradicts what came before.
    /// Payloads must have the lengths that the command set allows. After a false, begin anew.
    bool take(Command command, const Bytes& payload);

    /// Whether every announced byte has come.
    bool isComplete() const { return step == Step::Code && code.isComplete(); }

    /// The complete test.
    StoredChip chip() const;

private:
    enum class Step { Empty, Metadata, Strings, StringsDone, Code };

    bool begin(const Bytes& block);
    bool areStringsGood() const;
    bool beginCode(std::size_t length);
    bool advance(Step from, Step to);

    Step step = Step::Empty;
    Bytes metadata;
    PieceBuffer strings;
    PieceBuffer code;
};

/// An image or a font on its way into the board: slot, metadata block, data, each committed.
class ArtworkStaging {
public:
    enum class Kind { Image, Font };

    explicit ArtworkStaging(Kind what) : kind(what) {}

    /// Takes one packet; false if it belongs to the other kind, is out of its order, or what it
    /// says cannot be stored. Payloads as in `ChipStaging`. After a false, begin anew.
    bool take(Command command, const Bytes& payload);

    /// Whether the data have been committed.
    bool isComplete() const { return step == Step::Finished; }

    int slot() const { return targetSlot; }

    StoredImage image() const; ///< the complete image
    StoredFont font() const;   ///< the complete font

private:
    enum class Step { Empty, Begun, Metadata, Committed, Data, Finished };

    bool begin(const Bytes& payload);
    bool selectSlot(int number, int first, int last);
    bool isMetadataGood() const;
    bool beginData(std::size_t length);
    bool isDataGood() const;
    bool advance(Step from, Step to);

    Kind kind;
    Step step = Step::Empty;
    int targetSlot = 0;
    PieceBuffer metadata;
    PieceBuffer data;
};

} // namespace pivex
