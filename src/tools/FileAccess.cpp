#include "tools/FileAccess.h"

#include <QFile>
#include <QSaveFile>

#include <stdexcept>

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

} // namespace

std::string readFileBytes(const QString& path, const std::optional<FileLimit>& limit) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(file);
    }
    refuseAbove(limit, file.size());
    // A device has no size but may have no end either.
    const QByteArray bytes =
        limit ? file.read(static_cast<qint64>(limit->bytes) + 1) : file.readAll();
    if (file.error() != QFileDevice::NoError) {
        fail(file);
    }
    refuseAbove(limit, bytes.size());
    return bytes.toStdString();
}

void writeFileAtomically(const QString& path, const std::string& bytes) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        fail(file);
    }
    const auto size = static_cast<qint64>(bytes.size());
    // On a full disk the write only fills a buffer and commit() alone reports success: what counts
    // is that the buffer reached the disk without an error.
    const bool written = file.write(bytes.data(), size) == size && file.flush() &&
                         file.error() == QFileDevice::NoError;
    if (!written) {
        const std::string reason = file.errorString().toStdString();
        file.cancelWriting();
        throw std::runtime_error(reason);
    }
    if (!file.commit()) {
        fail(file);
    }
}

} // namespace pivex
