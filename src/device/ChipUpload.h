#pragma once

#include "device/BoardCalls.h"
#include "model/ChipDocument.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pivex {

/// One request of an upload.
struct UploadPacket {
    Command command{};
    Bytes payload;

    bool operator==(const UploadPacket&) const = default;
};

/// Everything needed to send one chip test.
struct UploadPlan {
    std::string name; ///< exactly as in the document
    std::uint32_t codeLength = 0;
    std::vector<UploadPacket> packets; ///< in sending order
};

/// Told the number of acknowledged packets and the number of all.
using UploadProgress = std::function<void(std::uint64_t, std::uint64_t)>;

/// Checks, compiles and cuts `document` into packets. Throws std::runtime_error with the sentence
/// to show; checked in this order: name, pins, type and image index, strings, code, code size.
UploadPlan prepareUpload(const ChipDocument& document);

/// Sends the packets of `plan` in order once the board said that it is in Upload Mode; a busy one
/// up to four times. False when it is not in it, and then no packet was sent. Throws
/// std::runtime_error on a refusal or a fourth busy answer.
bool executeUpload(const UploadPlan& plan, const Send& send, const UploadProgress& progress = {});

/// Stores the upload for good. Throws std::runtime_error unless the board acknowledges.
void saveUploaded(const Send& send);

} // namespace pivex
