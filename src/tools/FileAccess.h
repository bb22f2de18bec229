#pragma once

#include <QString>

#include <cstddef>
#include <optional>
#include <string>

namespace pivex {

/// How many bytes a file may have, and the sentence when it has more.
struct FileLimit {
    std::size_t bytes;
    const char* message;
};

/// The whole content of the file at `path`. Throws std::runtime_error with the system's error text
/// when it cannot be opened or read, with a sentence of its own for a pipe or a device, and with
/// the limit's message, before reading, when the file is larger than `limit`.
std::string readFileBytes(const QString& path, const std::optional<FileLimit>& limit = {});

/// Puts `bytes` into the file at `path` through a temporary file and a rename, so that the file is
/// afterwards either the old one or the new one, and on the disk. Throws std::runtime_error with
/// the system's error text, its own for a pipe or a device, or that of `limit` when such a file
/// would not be read again; the old file is then untouched.
void writeFileAtomically(const QString& path, const std::string& bytes,
                         const std::optional<FileLimit>& limit = {});

} // namespace pivex
