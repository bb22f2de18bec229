#pragma once

#include "base/Bytes.h"
#include "device/DeviceCommands.h"

#include <QByteArray>

#include <string>

/// `plan` as "command payload" in hexadecimal, with "!" at commits, divided by commas.
template<typename Plan>
QByteArray packetText(const Plan& plan) {
    QByteArray text;
    for (const auto& packet : plan) {
        text += text.isEmpty() ? "" : ", ";
        text += QByteArray::number(static_cast<int>(packet.command), 16);
        text += packet.payload.empty() ? "" : " ";
        const std::string payload(packet.payload.begin(), packet.payload.end());
        text += QByteArray::fromStdString(payload).toHex();
        text += packet.commit ? "!" : "";
    }
    return text;
}

/// The payloads of all packets of `command`, one after another.
template<typename Plan>
pivex::Bytes joined(const Plan& plan, pivex::Command command) {
    pivex::Bytes bytes;
    for (const auto& packet : plan) {
        if (packet.command == command) {
            bytes.insert(bytes.end(), packet.payload.begin(), packet.payload.end());
        }
    }
    return bytes;
}

/// `count` zero bytes in hexadecimal.
inline QByteArray zeros(int count) {
    return QByteArray(2 * count, '0');
}
