#pragma once

#include "device/BoardCalls.h"
#include "device/DeviceRecords.h"
#include "tools/FontUploadPlan.h"
#include "tools/ImageUploadPlan.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace pivex {

/// Told the number of accepted packets and the number of all.
using PacketProgress = std::function<void(std::uint64_t, std::uint64_t)>;

/// The names of all 239 image slots. Throws std::runtime_error for an unknown answer.
ImageSlots readImageSlots(const Query& query);

/// The image in `slot` (1 to 239). Throws std::runtime_error with the sentence to show.
ImageDocument readImage(int slot, const Query& query);

/// Sends an image plan; a busy packet up to three times, a commit once. Throws
/// std::runtime_error that says what the board may hold.
void sendImage(const std::vector<ImagePacket>& packets, const Send& send,
               const PacketProgress& progress);

/// Empties image slot `slot` (15 to 239; checked before anything is sent). Throws
/// std::runtime_error that says that the slot was not cleared.
void deleteImage(int slot, const Send& send);

/// The six font slots, each told to `loaded` with its number as soon as it is read.
void readFontSlots(const Query& query, const std::function<void(int, FontSlot)>& loaded);

/// The font slot in the board's answer about slot `slot`. Throws std::runtime_error.
FontSlot parseFontSlot(const Bytes& answer, int slot);

/// Sends a font plan or deletion; rules of `sendImage`.
void sendFont(const std::vector<FontPacket>& packets, const Send& send);

/// Whether `request` has the form of a settings write, allowed or not: 0x01, number, value.
bool isSettingsWrite(const Bytes& request);

/// Reads all settings (request 0x00) or writes one (0x01, number, value) and gives the record that
/// the board confirmed. A bad request is refused before anything is sent. Throws
/// std::runtime_error.
DeviceSettings exchangeSettings(const Bytes& request, const Query& query);

} // namespace pivex
