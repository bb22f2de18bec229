#include "FaultSweepRules.h"
#include "support/Hex.h"

#include <iostream>

using namespace pivex;
using namespace pivex::testing;

namespace {

using Direction = LineFault::Direction;
using Kind = LineFault::Kind;

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

Fate fateOf(const Bytes& frame, std::size_t at, const LineFault& fault) {
    Bytes damaged = frame;
    const auto byte = damaged.begin() + static_cast<std::ptrdiff_t>(at);
    if (fault.kind == Kind::Drop) {
        damaged.erase(byte);
    } else if (fault.kind == Kind::Flip) {
        *byte = static_cast<std::uint8_t>(*byte ^ 1U << fault.bit);
    } else if (fault.kind != Kind::Cut) {
        damaged.insert(byte, fault.kind == Kind::Insert ? fault.value : *byte);
    }
    Fate fate = Fate::Lost;
    Bytes sent;
    Bytes packet;
    Bytes part;
    decodePacket({frame.begin(), frame.end() - 1}, sent);
    for (const std::uint8_t each : damaged) {
        if (each != 0) {
            part.push_back(each);
        } else if (decodePacket(std::exchange(part, {}), packet)) {
            fate = packet == sent ? Fate::Arrives : Fate::Altered;
        }
    }
    return fault.kind == Kind::Cut ? Fate::Lost : fate;
}

/// What has to come of damage to the byte `at` of a frame of the place.
Expectation expectationOf(const Place& place, const Bytes& frame, std::size_t at,
                          const LineFault& fault) {
    const Fate fate = fateOf(frame, at, fault);
    Expectation expected = *expectationOf(place, fault.kind == Kind::Cut ? hangUp
                                                 : fate == Fate::Arrives ? split
                                                                         : silence);
    expected.isReceived = fault.direction == Direction::Answer;
    expected.isOpen = fate == Fate::Altered;
    return expected;
}

} // namespace

class FaultSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void endsEveryOperationAsItShould_data() {
        QTest::addColumn<Side>("side");
        int side = 0;
        for (const char* name : {"chips", "images", "fonts", "settings"}) {
            QTest::newRow(name) << Side(side++);
        }
    }

    /// Runs every operation of a window undisturbed, and then once with each thing that can go
    /// wrong.
    void endsEveryOperationAsItShould() {
        QFETCH(const Side, side);
        Fleet fleet(side);
        clean.clear();
        for (const Operation& operation : operations) {
            const auto judge = [this, &operation](const Observation& seen) {
                clean[&operation] = seen;
                return findings(seen, {operation, seen, 0},
                                {.text = QString::fromUtf8(operation.success)});
            };
            if (operation.side == side) {
                trials.push_back(
                    {&operation, QString::fromUtf8(operation.button), [](BoardServer&) {}, judge});
            }
        }
        QCOMPARE(fleet.run(std::exchange(trials, {})), QString());
        for (const auto& [operation, seen] : clean) {
            addTrials(*operation);
        }
        // Not as a message of the test, of which there may be too many already.
        std::cout << trials.size() << " runs" << std::endl;
        QCOMPARE(fleet.run(std::exchange(trials, {})), QString());
    }

private:
    using Expect = std::function<Expectation(const Observation&)>;

    void addTrials(const Operation& operation) {
        const Observation& run = clean[&operation];
        BoardModel board = sweptBoard();
        if (operation.needsUpload()) {
            for (const UploadPacket& packet : prepareUpload(sweptChip()).packets) {
                board.answer(packet.command, packet.payload);
            }
        }
        LineFault inRequest{.direction = Direction::Request};
        LineFault inAnswer{.direction = Direction::Answer};
        for (std::size_t index = 0; index < run.requests.size(); ++index) {
            const Place place{operation, run, index};
            const auto& [command, payload, sequence] = run.requests[index];
            const BoardAnswer answer = board.answer(command, payload).value();
            const auto request = static_cast<std::uint8_t>(command);
            const auto code = static_cast<std::uint8_t>(answer.code);
            if (place.isTypical()) {
                addFaults(place, answer.code);
            }
            // Of the 239 image names three are enough.
            if (place.isTypical() || command != Command::ImageName) {
                addDamages(place, inRequest, request, payload);
                addDamages(place, inAnswer, code, answer.payload);
            }
            inRequest.position += encodePacket(request, 1, payload).size();
            inAnswer.position += encodePacket(code, 1, answer.payload).size();
        }
    }

    /// Adds every misbehaviour, and absurd answers of the right `code`. Noise without end takes the
    /// time of all other boards, so each operation meets it once.
    void addFaults(const Place& place, Response code) {
        const auto armed = [](const Fault& fault) {
            return [fault](BoardServer& board) {
                board.withModel([&](BoardModel& model) { model.addFault(fault); });
            };
        };
        const auto anything = [](const Observation&) { return Expectation{.isOpen = true}; };
        const Command command = place.request().command;
        if (place.index == 0) {
            add(place, u"followed by noise"_s, armed({command, 1, FaultKind::Flood}), anything);
        }
        for (const Misbehaviour& how : misbehaviours) {
            if (const auto expected = expectationOf(place, how)) {
                add(place, QString::fromUtf8(how.name), armed(expected->fault),
                    [expected](const Observation&) { return *expected; });
            }
        }
        Fault absurd{command, place.before(command) + 1, FaultKind::Replace, 1, code};
        for (const int pairs : {0, 1, 7, 19, 20, 64, 2000}) {
            // The metadata of a chip are only believed behind their mark.
            for (const QByteArray& pair : QByteArrayList{"0000", "ffff", "5aa5"}) {
                absurd.payload = fromHex(pair.repeated(pairs));
                if (isSampled(17)) {
                    add(place, u"answered with %1 times "_s.arg(pairs) + QString::fromUtf8(pair),
                        armed(absurd), anything);
                }
            }
        }
    }

    /// Adds each damage to each byte of the frame of `code` and `payload` that begins at `fault`.
    void addDamages(const Place& place, LineFault fault, std::uint8_t code, const Bytes& payload) {
        const std::size_t size = encodePacket(code, 1, payload).size();
        for (std::size_t at = 0; at < size; ++at, ++fault.position) {
            for (LineFault each : everyDamage()) {
                each.direction = fault.direction;
                each.position = fault.position;
                const auto expect = [=](const Observation& seen) {
                    const auto sequence =
                        static_cast<std::uint8_t>(seen.firstSequence + place.index);
                    return expectationOf(place, encodePacket(code, sequence, payload), at, each);
                };
                if (isSampled(701)) {
                    const QString what = u"%1, byte %2, damage %3 %4"_s.arg(code)
                                             .arg(at)
                                             .arg(static_cast<int>(each.kind))
                                             .arg(each.bit + each.value);
                    add(
                        place, what, [each](BoardServer& board) { board.setLineFault(each); },
                        expect);
                }
            }
        }
    }

    void add(const Place& place, const QString& what, const std::function<void(BoardServer&)>& arm,
             const Expect& expect) {
        const Command command = place.request().command;
        const QString name =
            u"%1, command %2 no. %3, %4"_s.arg(QString::fromUtf8(place.operation.button),
                                               QString::number(static_cast<int>(command), 16),
                                               QString::number(place.before(command) + 1), what);
        const auto judge = [place, expect](const Observation& seen) {
            return findings(seen, place, expect(seen));
        };
        // What may stay behind on a line that survives depends on the fault alone.
        trials.push_back({&place.operation, name, arm, judge, place.index == 0});
    }

    /// Whether the next of many cases is to be run.
    bool isSampled(int stride) { return sampled++ % sweepStride(stride) == 0; }

    std::map<const Operation*, Observation> clean; ///< the undisturbed runs
    std::vector<Trial> trials;
    int sampled = 0;
};

QTEST_MAIN(FaultSweepTest)
#include "FaultSweepTest.moc"
