#pragma once

#include "device/BoardCalls.h"
#include "support/Hex.h"

#include <QByteArrayList>

#include <stdexcept>

namespace pivex::testing {

/// A board whose answers are written down and that notes what it was asked.
class ScriptedBoard {
public:
    /// `script` holds the answers in their order, separated by commas: response code and payload
    /// in hexadecimal words, "00x9" for nine zeros, and "*N" behind an answer that comes N times.
    /// When they run out, a request fails with "no answer".
    explicit ScriptedBoard(const QByteArray& script) {
        for (const QByteArray& entry : script.simplified().split(',')) {
            const QByteArrayList parts = entry.split('*');
            QByteArray answer;
            for (const QByteArray& word : parts[0].split(' ')) {
                answer += word.contains('x') ? word.first(2).repeated(word.mid(3).toInt()) : word;
            }
            answers.append(QByteArrayList(parts.size() > 1 ? parts[1].toInt() : 1, answer));
        }
        answers.removeAll(QByteArray());
    }

    Query query() {
        return [this](Command command, Response expected, const Bytes& payload) {
            requests.append(toHex({static_cast<std::uint8_t>(command)}) + toHex(payload));
            if (answers.isEmpty()) {
                throw std::runtime_error("no answer");
            }
            Bytes packet = fromHex(answers.takeFirst());
            packet.insert(packet.begin() + 1, 0);
            if (expected != Response::Any && Response{packet[0]} != expected) {
                throw std::runtime_error("Unexpected PCB response: " + std::to_string(packet[0]));
            }
            return packet;
        };
    }

    /// The requests so far, separated by commas, repetitions in a row counted.
    QByteArray sent() const {
        QByteArrayList runs;
        for (qsizetype i = 0, next = 0; i < requests.size(); i = next) {
            while (next < requests.size() && requests[next] == requests[i]) {
                ++next;
            }
            runs.append(requests[i] + (next - i > 1 ? '*' + QByteArray::number(next - i) : ""));
        }
        return runs.join(',');
    }

private:
    QByteArrayList answers;
    QByteArrayList requests;
};

} // namespace pivex::testing
