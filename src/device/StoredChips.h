#pragma once

#include "device/BoardCalls.h"
#include "model/ChipDocument.h"

#include <cstdint>
#include <functional>
#include <string>

namespace pivex {

namespace linux_read {

/// The stored test at `index` (0 to 65535), its code as source text. Throws std::runtime_error
/// with the sentence to show; never gives a partial document.
ChipDocument readChip(int index, const Query& query);

} // namespace linux_read

/// Told index and name of each stored test.
using ChipListed = std::function<void(int, std::string)>;

/// Reads the list of stored tests in its order and gives their number; an empty name is replaced
/// by "Unnamed chip " and its one-based number. Throws std::runtime_error for a bad count.
std::uint16_t listChips(const Query& query, const ChipListed& listed);

/// Deletes the stored test at `index` (0 to 65535). Sent once; throws std::runtime_error that says
/// what may have happened unless the board acknowledges.
void eraseSelectedChip(int index, const Send& send);

/// Deletes every stored test. Sent once; throws like `eraseSelectedChip`.
void eraseAllChips(const Send& send);

} // namespace pivex
