#pragma once

#include "device/BoardCalls.h"
#include "device/BoardQuery.h"

#include <QByteArrayList>

#include <stdexcept>

namespace pivex::testing {

inline Bytes fromHex(const QByteArray& hex) {
    const QByteArray bytes = QByteArray::fromHex(hex);
    return {bytes.begin(), bytes.end()};
}

inline QByteArray toHex(const Bytes& bytes) {
    return QByteArray(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<qsizetype>(bytes.size()))
        .toHex();
}

/// A board whose answers are written down and that notes what it was asked.
class ScriptedBoard {
public:
    /// `script` holds the answers in their order, separated by commas: response code and payload
    /// in hexadecimal, "*N" behind an answer that comes N times. When they run out, a request
    /// fails with "no answer".
    explicit ScriptedBoard(const QByteArray& script) {
        for (const QByteArray& entry : script.isEmpty() ? QByteArrayList() : script.split(',')) {
            const QByteArrayList parts = entry.split('*');
            for (int i = 0; i < (parts.size() > 1 ? parts[1].toInt() : 1); ++i) {
                answers.append(parts[0]);
            }
        }
    }

    Query query() {
        return [this](Command command, Response expected, const Bytes& payload) {
            return answer(command, expected, payload);
        };
    }

    Send send() { return sendThrough(query()); }

    /// The requests so far in the same notation, repetitions in a row counted.
    QByteArray sent() const {
        QByteArrayList runs;
        for (qsizetype i = 0, next = 0; i < requests.size(); i = next) {
            for (next = i; next < requests.size() && requests[next] == requests[i]; ++next) {
            }
            runs.append(next - i > 1 ? requests[i] + '*' + QByteArray::number(next - i)
                                     : requests[i]);
        }
        return runs.join(',');
    }

private:
    Bytes answer(Command command, Response expected, const Bytes& payload) {
        Bytes request{static_cast<std::uint8_t>(command)};
        request.insert(request.end(), payload.begin(), payload.end());
        requests.append(toHex(request));
        if (answers.isEmpty()) {
            throw std::runtime_error("no answer");
        }
        Bytes packet = fromHex(answers.takeFirst());
        packet.insert(packet.begin() + 1, 0);
        if (expected != Response::Any && packet[0] != static_cast<unsigned>(expected)) {
            throw std::runtime_error("Unexpected PCB response: " + std::to_string(packet[0]));
        }
        return packet;
    }

    QByteArrayList answers;
    QByteArrayList requests;
};

} // namespace pivex::testing
