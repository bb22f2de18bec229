#include "FaultSweepRules.h"

using namespace pivex;
using namespace pivex::testing;

class FaultSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endsEveryOperationAsItShould_data();
    void endsEveryOperationAsItShould();

private:
    void addFaults(const Operation& operation);

    CleanRuns clean;
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
    addSides();
}

void FaultSweepTest::endsEveryOperationAsItShould() {
    QFETCH(const Side, side);
    Fleet fleet(side);
    QCOMPARE(runUndisturbed(fleet, side, clean), QString());
    trials.clear();
    for (const Operation& operation : operations) {
        if (operation.side == side) {
            addFaults(operation);
        }
    }
    QCOMPARE(fleet.run(trials), QString());
}

QTEST_MAIN(FaultSweepTest)
#include "FaultSweepTest.moc"
