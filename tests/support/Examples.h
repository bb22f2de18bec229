#pragma once

#include <QByteArray>
#include <QDir>

#include <map>
#include <string>

/// What the files of examples/ hold whose path there matches `folder` and `pattern`, by name.
inline std::map<QByteArray, std::string> exampleFiles(const char* folder, const char* pattern) {
    const QDir files(QString::fromUtf8(PIVEX_EXAMPLES_DIR) + QString::fromUtf8(folder));
    std::map<QByteArray, std::string> contents;
    for (const QString& name : files.entryList({QString::fromUtf8(pattern)}, QDir::Files)) {
        QFile file(files.filePath(name));
        contents[name.toUtf8()] =
            file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "unreadable";
    }
    return contents;
}
