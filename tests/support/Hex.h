#pragma once

#include "base/Bytes.h"

#include <QByteArray>
#include <QList>

namespace pivex::testing {

inline Bytes fromHex(const QByteArray& hex) {
    const QByteArray bytes = QByteArray::fromHex(hex);
    return {bytes.begin(), bytes.end()};
}

inline QByteArray toHex(const Bytes& bytes) {
    return QByteArray::fromStdString({bytes.begin(), bytes.end()}).toHex();
}

/// Words of hexadecimal digits as one; "00x9" stands for nine zeros.
inline QByteArray hexOf(const QByteArray& words) {
    QByteArray hex;
    for (const QByteArray& word : words.split(' ')) {
        hex += word.contains('x') ? word.first(2).repeated(word.mid(3).toInt()) : word;
    }
    return hex;
}

} // namespace pivex::testing
