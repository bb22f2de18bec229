#include "tools/FileAccess.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <climits>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace pivex {

namespace {

[[noreturn]] void fail(const QFileDevice& file) {
    throw std::runtime_error(file.errorString().toStdString());
}

void refuseAbove(const std::optional<FileLimit>& limit, qint64 size) {
    if (limit && static_cast<std::size_t>(size) > limit->bytes) {
        throw std::runtime_error(limit->message);
    }
}

/// Opening a pipe would wait for somebody at its other end, a device may have no end, and what
/// replaces either would not be one any more. A folder fails by itself, in the system's words.
void refuseSpecialFile(const QString& path) {
    const QFileInfo info(path);
    if (info.exists() && !info.isFile() && !info.isDir()) {
        throw std::runtime_error("This is a pipe or a device, not a file.");
    }
}

/// The new file has a longer name at first; the toolkit cannot say why that fails.
void refuseLongName(const QString& path) {
    constexpr qsizetype longest = NAME_MAX - 7; // ".XXXXXX"
    if (QFile::encodeName(QFileInfo(path).fileName()).size() > longest) {
        throw std::runtime_error(std::generic_category().message(ENAMETOOLONG));
    }
}

void writeToDisk(QSaveFile& file, const std::string& bytes) {
    // On a full disk the write only fills a buffer, and what counts is that it left the buffer
    // without an error.
    const auto size = static_cast<qint64>(bytes.size());
    if (file.write(bytes.data(), size) != size || !file.flush() ||
        file.error() != QFileDevice::NoError) {
        fail(file);
    }
    // Some file systems find out only now that they have no room or that the disk is broken, and
    // commit() does not ask. Those that cannot tell say that the request makes no sense.
    if (fdatasync(file.handle()) != 0 && errno != EINVAL && errno != ENOSYS) {
        throw std::runtime_error(std::generic_category().message(errno));
    }
}

} // namespace

std::string readFileBytes(const QString& path, const std::optional<FileLimit>& limit) {
    refuseSpecialFile(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(file);
    }
    refuseAbove(limit, file.size());
    // The system's own files tell no size before they are read.
    const QByteArray bytes =
        limit ? file.read(static_cast<qint64>(limit->bytes) + 1) : file.readAll();
    if (file.error() != QFileDevice::NoError) {
        fail(file);
    }
    refuseAbove(limit, bytes.size());
    return bytes.toStdString();
}

void writeFileAtomically(const QString& path, const std::string& bytes,
                         const std::optional<FileLimit>& limit) {
    refuseAbove(limit, static_cast<qint64>(bytes.size()));
    refuseSpecialFile(path);
    refuseLongName(path);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        fail(file);
    }
    // The new file has the permissions of the old one, or none at all where those cannot be read.
    if (!(file.permissions() & (QFileDevice::ReadOwner | QFileDevice::WriteOwner))) {
        throw std::runtime_error("The permissions of the file cannot be read.");
    }
    // A file that is left without a commit is thrown away.
    writeToDisk(file, bytes);
    if (!file.commit()) {
        fail(file);
    }
}

} // namespace pivex
