#pragma once

#include "base/Bytes.h"

#include <QByteArray>

namespace pivex::testing {

inline Bytes fromHex(const QByteArray& hex) {
    const QByteArray bytes = QByteArray::fromHex(hex);
    return {bytes.begin(), bytes.end()};
}

inline QByteArray toHex(const Bytes& bytes) {
    return QByteArray::fromStdString({bytes.begin(), bytes.end()}).toHex();
}

} // namespace pivex::testing
