#include "FaultSweepRules.h"
#include "support/Sweep.h"

#include <iostream>

using namespace pivex;
using namespace pivex::testing;

namespace {

using Direction = LineFault::Direction;
using Kind = LineFault::Kind;

/// Damage to the byte `at` of the frame `index`.
struct Damage {
    std::size_t index;
    std::size_t at;
    LineFault fault;

    bool isRequest() const { return fault.direction == Direction::Request; }
};

/// What becomes of a frame that is damaged: it comes through all the same, it decodes no more, or
/// (the check byte is one of 256) it decodes to something else.
enum class Fate { Arrives, Lost, Altered };

/// Every damage to one byte; the line is only cut in front of a byte.
std::vector<LineFault> everyDamage() {
    std::vector<LineFault> all{{.kind = Kind::Drop},
                               {.kind = Kind::Duplicate},
                               {.kind = Kind::Insert, .value = 0},
                               {.kind = Kind::Insert, .value = 0x55},
                               {.kind = Kind::Cut}};
    for (unsigned bit = 0; bit < 8; ++bit) {
        all.push_back({.kind = Kind::Flip, .bit = bit});
    }
    return all;
}

Bytes damaged(Bytes frame, const Damage& damage) {
    const auto byte = frame.begin() + static_cast<std::ptrdiff_t>(damage.at);
    if (damage.fault.kind == Kind::Drop) {
        frame.erase(byte);
    } else if (damage.fault.kind == Kind::Flip) {
        *byte = static_cast<std::uint8_t>(*byte ^ 1U << damage.fault.bit);
    } else {
        frame.insert(byte, damage.fault.kind == Kind::Insert ? damage.fault.value : *byte);
    }
    return frame;
}

Fate fateOf(const Bytes& frame, const Damage& damage) {
    const auto decoded = [](std::span<const std::uint8_t> closed) {
        Bytes packet;
        decodePacket({closed.begin(), closed.end() - 1}, packet);
        return packet;
    };
    Fate fate = Fate::Lost;
    const Bytes bytes = damaged(frame, damage);
    for (auto begin = bytes.begin(), end = begin; end != bytes.end(); begin = end) {
        end = std::find(begin, bytes.end(), 0);
        if (end == bytes.end()) {
            break;
        }
        const Bytes packet = decoded({begin, ++end});
        if (!packet.empty()) {
            fate = packet == decoded(frame) ? Fate::Arrives : Fate::Altered;
        }
    }
    return fate;
}

/// Everything that can happen to one byte of `stream`. Of the 239 image names three are enough.
std::vector<Damage> damagesTo(const Stream& stream, const Observation& clean, Direction direction) {
    const std::set<std::size_t> swept = sweptRequests(clean.requests);
    std::vector<Damage> damages;
    std::size_t position = 0;
    for (std::size_t index = 0; index < stream.size(); ++index) {
        const std::size_t size = stream[index].frame(1).size();
        for (std::size_t at = 0; at < size; ++at, ++position) {
            for (LineFault fault : everyDamage()) {
                fault.direction = direction;
                fault.position = position;
                if (clean.requests[index].command != Command::ImageName || swept.contains(index)) {
                    damages.push_back({index, at, fault});
                }
            }
        }
    }
    return damages;
}

} // namespace

class LinkSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void survivesDamageToEveryByte_data() { addSides(); }

    void survivesDamageToEveryByte();

private:
    void addDamages(const Operation& operation);
    QStringList judged(const Operation& operation, const Content& content, const Damage& damage,
                       const Observation& seen);

    CleanRuns clean;
    std::vector<Trial> trials;
    int sampled = 0;
    int altered = 0;
    qint64 longest = 0; ///< milliseconds
};

/// What is wrong with a run in which the frame of `content` met `damage`.
QStringList LinkSweepTest::judged(const Operation& operation, const Content& content,
                                  const Damage& damage, const Observation& seen) {
    const auto sequence = static_cast<std::uint8_t>(seen.firstSequence + damage.index);
    const bool isCut = damage.fault.kind == Kind::Cut;
    const Fate fate = isCut ? Fate::Lost : fateOf(content.frame(sequence), damage);
    const Observation& undisturbed = clean[&operation];
    longest = std::max(longest, seen.milliseconds);
    if (fate == Fate::Altered) {
        // It may say anything, but it is a request or an answer like any other.
        ++altered;
        const bool isEnded = !seen.outcome().isEmpty() && !seen.state.startsWith(u"Connecting"_s) &&
                             seen.requests.size() <= undisturbed.requests.size();
        return isEnded ? QStringList() : QStringList(u"ends in "_s + seen.outcome());
    }
    Expectation expected =
        *expectationOf(operation, undisturbed.requests, damage.index,
                       misbehaviour(isCut                   ? FaultKind::HangUp
                                    : fate == Fate::Arrives ? FaultKind::Split
                                                            : FaultKind::Silent));
    expected.isReceived = !damage.isRequest();
    return findings(operation, seen, undisturbed, damage.index, expected);
}

/// Adds a trial for each damage to each byte, or for a sample of them.
void LinkSweepTest::addDamages(const Operation& operation) {
    const auto [requests, answers] = streamsOf(operation, clean[&operation]);
    for (const Direction direction : {Direction::Request, Direction::Answer}) {
        const Stream& stream = direction == Direction::Request ? requests : answers;
        for (const Damage& damage : damagesTo(stream, clean[&operation], direction)) {
            if (sampled++ % sweepStride(701) != 0) {
                continue;
            }
            const QString name = u"%1, %2 byte %3 of frame %4, damage %5 %6"_s
                                     .arg(QString::fromUtf8(operation.button))
                                     .arg(damage.isRequest() ? u"request"_s : u"answer"_s)
                                     .arg(damage.at)
                                     .arg(damage.index)
                                     .arg(static_cast<int>(damage.fault.kind))
                                     .arg(damage.fault.bit + damage.fault.value);
            const auto arm = [fault = damage.fault](BoardServer& board) {
                board.setLineFault(fault);
            };
            const auto judge = [this, &operation, content = stream[damage.index],
                                damage](const Observation& seen) {
                return judged(operation, content, damage, seen);
            };
            trials.push_back({&operation, name, arm, judge});
        }
    }
}

void LinkSweepTest::survivesDamageToEveryByte() {
    QFETCH(const Side, side);
    Fleet fleet(side, fullSweep() ? 96 : 48);
    QCOMPARE(runUndisturbed(fleet, side, clean), QString());
    trials.clear();
    altered = 0;
    longest = 0;
    for (const Operation& operation : operations) {
        if (operation.side == side) {
            addDamages(operation);
        }
    }
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(fleet.run(trials), QString());
    // Not as a message of the test, of which there may be too many already.
    std::cout << trials.size() << " runs in " << timer.elapsed() / 1000 << " s, the longest "
              << longest << " ms; the check byte missed " << altered << std::endl;
}

QTEST_MAIN(LinkSweepTest)
#include "LinkSweepTest.moc"
