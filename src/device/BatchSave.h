#pragma once

#include "device/ChipUpload.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace pivex {

/// Told the number of tests saved so far and what happens next.
using BatchProgress = std::function<void(std::uint64_t, std::string)>;

/// Reads, decodes and plans every `.chip` file of `files`, in order. Throws std::runtime_error
/// that names the first bad file; nothing is sent here.
std::vector<UploadPlan> prepareBatchFiles(const std::vector<std::filesystem::path>& files);

/// Sends and saves every plan in order, then closes the batch. Throws std::runtime_error that says
/// how many saves were acknowledged; those are not rolled back.
void saveBatch(const std::vector<UploadPlan>& plans, const Send& send,
               const BatchProgress& progress);

} // namespace pivex
