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
            answers.append(
                QByteArrayList(parts.size() > 1 ? parts[1].toInt() : 1, hexOf(parts[0])));
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

    /// The requests so far, separated by commas: equal ones in a row counted, others of one command
    /// and length as "first..last".
    QByteArray sent() const {
        QByteArrayList runs;
        for (qsizetype i = 0, next = 0; i < requests.size(); i = next) {
            const auto isLike = [&](const QByteArray& request) {
                return request.first(2) == requests[i].first(2) &&
                       request.size() == requests[i].size();
            };
            const bool isSame = requests.value(i + 1) == requests[i];
            while (next < requests.size() &&
                   (isSame ? requests[next] == requests[i] : isLike(requests[next]))) {
                ++next;
            }
            const QByteArray rest =
                isSame ? '*' + QByteArray::number(next - i) : ".." + requests[next - 1];
            runs.append(requests[i] + (next - i > 1 ? rest : QByteArray()));
        }
        return runs.join(',');
    }

private:
    QByteArrayList answers;
    QByteArrayList requests;
};

} // namespace pivex::testing
