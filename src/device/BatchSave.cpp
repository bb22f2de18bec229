#include "device/BatchSave.h"

#include "device/Failures.h"
#include "model/ChipFileCodec.h"

#include <array>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace pivex {

namespace {

std::string readWhole(const std::filesystem::path& path) {
    // Opening a pipe would wait for somebody at its other end, and a device may have no end.
    std::error_code unknown;
    require(!std::filesystem::is_other(path, unknown), "Cannot open file.");
    std::ifstream file(path, std::ios::binary);
    require(file.is_open(), "Cannot open file.");
    std::string bytes;
    std::array<char, 65536> piece{};
    while (file) {
        file.read(piece.data(), piece.size());
        bytes.append(piece.data(), static_cast<std::size_t>(file.gcount()));
        require(bytes.size() <= maxChipFileBytes, chipFileTooLarge);
    }
    // A folder opens like a file and only fails here.
    require(!file.bad(), "Cannot read file.");
    return bytes;
}

void saveOne(const UploadPlan& plan, const Send& send, std::uint64_t& done,
             const BatchProgress& progress) {
    const auto tell = [&](const std::string& step) {
        if (progress) {
            progress(done, step + plan.name);
        }
    };
    tell("Uploading ");
    require(executeUpload(plan, send), "PCB is not in Upload Mode.");
    tell("Permanently saving ");
    saveUploaded(send);
    ++done;
    tell("Saved ");
}

void saveAll(const std::vector<UploadPlan>& plans, const Send& send, std::uint64_t& done,
             const BatchProgress& progress) {
    for (const UploadPlan& plan : plans) {
        saveOne(plan, send, done, progress);
    }
    require(isDone(send(Command::BatchFinish, {})), "Batch finish was not acknowledged.");
}

} // namespace

std::vector<UploadPlan> prepareBatchFiles(const std::vector<std::filesystem::path>& files) {
    require(!files.empty(), "Add chip files to the list first.");
    std::vector<UploadPlan> plans;
    plans.reserve(files.size());
    for (const std::filesystem::path& file : files) {
        plans.push_back(explained(
            "Batch preflight failed for " + file.filename().string() + ": ",
            [&] { return prepareUpload(decodeChip(readWhole(file))); }, " No batch data sent."));
    }
    return plans;
}

void saveBatch(const std::vector<UploadPlan>& plans, const Send& send,
               const BatchProgress& progress) {
    require(!plans.empty(), "No chip files in batch.");
    std::uint64_t done = 0;
    try {
        saveAll(plans, send, done, progress);
    } catch (const std::exception& failure) {
        throw std::runtime_error("Batch stopped: " + std::to_string(done) + "/" +
                                 std::to_string(plans.size()) + " saves acknowledged. " +
                                 failure.what() +
                                 " Earlier saves are not rolled back. Inspect the PCB list before "
                                 "retrying; the last write may have succeeded even without an "
                                 "acknowledgment.");
    }
}

} // namespace pivex
