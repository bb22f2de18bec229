#include "FaultSweepRules.h"

#include <map>
#include <set>

using namespace pivex;
using namespace pivex::testing;

namespace {

/// The first, a middle and the last request of each command.
std::set<std::size_t> sweptRequests(const std::vector<BoardRequest>& requests) {
    std::map<Command, std::vector<std::size_t>> places;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        places[requests[i].command].push_back(i);
    }
    std::set<std::size_t> swept;
    for (const auto& [command, all] : places) {
        swept.insert({all.front(), all[all.size() / 2], all.back()});
    }
    return swept;
}

/// Whether the board got the requests of an undisturbed run up to the spoilt one, the repetitions
/// of that one, and then the rest if the operation went on, else nothing.
bool isRightTraffic(const std::vector<BoardRequest>& seen, const std::vector<BoardRequest>& clean,
                    std::size_t index, const Expectation& expected) {
    std::vector<BoardRequest> wanted = clean;
    wanted.resize(expected.succeeds ? clean.size() : index + 1);
    wanted.insert(wanted.begin() + static_cast<std::ptrdiff_t>(index), expected.repeats,
                  clean[index]);
    return std::ranges::equal(seen, wanted, [](const auto& left, const auto& right) {
        return left.command == right.command && left.payload == right.payload;
    });
}

/// What is wrong with a run that met `expected` at the request `index`.
QStringList findings(const Operation& operation, const Observation& seen, const Observation& clean,
                     std::size_t index, const Expectation& expected) {
    QStringList found;
    const auto expect = [&](bool isRight, const QString& finding) {
        found << (isRight ? QStringList() : QStringList(finding));
    };
    expect(seen.outcome() == expected.text, u"ends in "_s + seen.outcome());
    // Everything but the last text has been progress as in an undisturbed run.
    const qsizetype steps = std::max<qsizetype>(seen.texts.size() - 1, 0);
    expect(seen.texts.first(steps) == clean.texts.first(std::min(steps, clean.texts.size() - 1)) &&
               (!expected.succeeds || seen.texts.size() == clean.texts.size()),
           u"shows "_s + seen.texts.join(u" / "_s));
    expect(expected.isResized || isRightTraffic(seen.requests, clean.requests, index, expected),
           u"sends %1 requests"_s.arg(seen.requests.size()));
    expect(!expected.succeeds || seen.storage == clean.storage, u"stores something else"_s);
    const bool isSavable = expected.succeeds && operation.leavesUpload();
    expect(seen.state == idleState(expected.staysConnected, isSavable), u"leaves "_s + seen.state);
    expect(!expected.text.contains(QString::fromUtf8(timedOut)) ||
               seen.milliseconds >= sweepTimings.answer.count(),
           u"gives up after %1 ms"_s.arg(seen.milliseconds));
    return found;
}

} // namespace

class FaultSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endsEveryOperationAsItShould_data();
    void endsEveryOperationAsItShould();

private:
    void addFaults(const Operation& operation);

    std::map<const Operation*, Observation> clean;
    std::vector<Trial> trials;
};

/// Adds a trial for every misbehaviour at every request that is swept.
void FaultSweepTest::addFaults(const Operation& operation) {
    const std::vector<BoardRequest>& requests = clean[&operation].requests;
    for (const std::size_t index : sweptRequests(requests)) {
        for (const Misbehaviour& how : misbehaviours) {
            const auto expected = expectationOf(operation, requests, index, how);
            if (!expected) {
                continue;
            }
            const QString name = u"%1, command %2 no. %3, %4"_s.arg(
                QString::fromUtf8(operation.button),
                QString::number(static_cast<int>(requests[index].command), 16),
                QString::number(expected->fault.packet), QString::fromUtf8(how.name));
            const auto arm = [fault = expected->fault](BoardServer& board) {
                board.withModel([&](BoardModel& model) { model.addFault(fault); });
            };
            const auto judge = [this, &operation, index, expected](const Observation& seen) {
                return findings(operation, seen, clean[&operation], index, *expected);
            };
            // What may stay behind on a line that survives depends on the fault alone.
            trials.push_back({&operation, name, arm, judge, index == 0});
        }
    }
}

void FaultSweepTest::endsEveryOperationAsItShould_data() {
    QTest::addColumn<Side>("side");
    QTest::newRow("chips") << Side::Chips;
    QTest::newRow("images") << Side::Images;
    QTest::newRow("fonts") << Side::Fonts;
    QTest::newRow("settings") << Side::Settings;
}

void FaultSweepTest::endsEveryOperationAsItShould() {
    QFETCH(const Side, side);
    Fleet fleet(side);
    trials.clear();
    for (const Operation& operation : operations) {
        const auto judge = [&](const Observation& seen) {
            clean[&operation] = seen;
            return findings(operation, seen, seen, 0,
                            {.text = QString::fromUtf8(operation.success), .isResized = true});
        };
        if (operation.side == side) {
            trials.push_back(
                {&operation, QString::fromUtf8(operation.button), [](BoardServer&) {}, judge});
        }
    }
    QCOMPARE(fleet.run(std::exchange(trials, {})), QString());
    for (const Operation& operation : operations) {
        if (operation.side == side) {
            addFaults(operation);
        }
    }
    QCOMPARE(fleet.run(trials), QString());
}

QTEST_MAIN(FaultSweepTest)
#include "FaultSweepTest.moc"
