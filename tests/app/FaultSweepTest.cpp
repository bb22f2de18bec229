#include "FaultSweepFleet.h"

#include <map>
#include <set>
#include <span>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

using Observations = std::map<const Operation*, Observation>;

/// The first, a middle and the last request of each command.
std::vector<std::size_t> sweptRequests(const std::vector<BoardRequest>& requests) {
    std::map<Command, std::vector<std::size_t>> places;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        places[requests[i].command].push_back(i);
    }
    std::vector<std::size_t> swept;
    for (const auto& [command, all] : places) {
        const std::set<std::size_t> some{all.front(), all[all.size() / 2], all.back()};
        swept.insert(swept.end(), some.begin(), some.end());
    }
    return swept;
}

RequestPlace placeOf(const std::vector<BoardRequest>& requests, std::size_t index) {
    const auto before = std::span(requests).first(index);
    const Command command = requests[index].command;
    const auto count = [&](Command wanted) {
        return std::ranges::count(before, wanted, &BoardRequest::command);
    };
    return {command, static_cast<std::size_t>(count(command)) + 1,
            static_cast<int>(count(Command::PermanentSave))};
}

bool isSame(const BoardRequest& left, const BoardRequest& right) {
    return left.command == right.command && left.payload == right.payload;
}

bool matches(const QString& text, const QString& pattern) {
    const QStringList parts = pattern.split(u'*');
    return parts.size() == 1 ? text == pattern
                             : text.startsWith(parts.first()) && text.endsWith(parts.last());
}

/// The requests that the board is to get: those of an undisturbed run up to the spoiled one, the
/// repetitions of that one, and the rest if the operation goes on.
std::vector<BoardRequest> expectedRequests(const std::vector<BoardRequest>& clean,
                                           std::size_t index, const Expectation& expected) {
    std::vector<BoardRequest> requests(clean.begin(), clean.begin() + std::ptrdiff_t(index) + 1);
    requests.insert(requests.end(), expected.repeats, clean[index]);
    if (expected.succeeds) {
        requests.insert(requests.end(), clean.begin() + std::ptrdiff_t(index) + 1, clean.end());
    }
    return requests;
}

QStringList findings(const Observation& seen, const Observation& clean, std::size_t index,
                     const Operation& operation, const Expectation& expected) {
    QStringList found;
    const auto expect = [&](bool isRight, const QString& finding) {
        found << (isRight ? QStringList() : QStringList(finding));
    };
    expect(matches(seen.outcome(), expected.text), u"ends in \"%1\""_s.arg(seen.outcome()));
    // Everything but the last text has been progress, and none of it went wrong.
    const QStringList progress = seen.texts.first(std::max<qsizetype>(seen.texts.size() - 1, 0));
    expect(progress == clean.texts.first(std::min(progress.size(), clean.texts.size() - 1)) &&
               (!expected.succeeds || seen.texts.size() == clean.texts.size()),
           u"on the way shows \"%1\""_s.arg(seen.texts.join(u"\", \""_s)));
    const auto wanted = expectedRequests(clean.requests, index, expected);
    expect(!expected.sameRequests || std::ranges::equal(seen.requests, wanted, isSame),
           u"sends %1 requests, not %2"_s.arg(seen.requests.size()).arg(wanted.size()));
    expect(!expected.succeeds || seen.storage == clean.storage, u"leaves another storage"_s);
    const bool isSavable = expected.succeeds && leavesUpload(operation);
    expect(seen.state == idleState(expected.staysConnected, isSavable),
           u"leaves %1"_s.arg(seen.state));
    const bool isTimeOut = expected.text.contains(u"timed out"_s);
    expect(!isTimeOut || seen.milliseconds >= sweepTimings.answer.count(),
           u"gives up after %1 ms"_s.arg(seen.milliseconds));
    return found;
}

/// Every operation of `side` without any fault; what it shows goes into `clean`.
std::vector<Trial> undisturbed(Side side, Observations& clean) {
    std::vector<Trial> trials;
    for (const Operation& operation : operations) {
        const auto judge = [&clean, &operation](const Observation& seen) {
            clean[&operation] = seen;
            const QString state = idleState(true, leavesUpload(operation));
            const bool isRight =
                seen.outcome() == QString::fromUtf8(operation.success) && seen.state == state;
            return isRight ? QStringList() : QStringList{seen.outcome(), seen.state};
        };
        if (operation.side == side) {
            trials.push_back({.operation = &operation,
                              .name = QString::fromUtf8(operation.name),
                              .arm = [](BoardServer&) {},
                              .judge = judge});
        }
    }
    return trials;
}

Trial disturbed(const Operation& operation, const Observation& clean, std::size_t index,
                const Expectation& expected, const char* how) {
    const RequestPlace place = placeOf(clean.requests, index);
    const std::string_view command = commandName(place.command);
    return {.operation = &operation,
            .name =
                u"%1, %2 %3 %4"_s.arg(QString::fromUtf8(operation.name),
                                      QString::fromUtf8(command.data(), qsizetype(command.size())),
                                      QString::number(place.number), QString::fromUtf8(how)),
            .arm =
                [fault = expected.fault](BoardServer& board) {
                    board.withModel([&](BoardModel& model) { model.addFault(fault); });
                },
            .judge =
                [&, index, expected](const Observation& seen) {
                    return findings(seen, clean, index, operation, expected);
                },
            // What may stay behind on the line depends on the fault alone.
            .reconnects = index == 0};
}

/// Every operation of `clean` with every misbehaviour at every request that is swept.
std::vector<Trial> disturbed(const Observations& clean) {
    std::vector<Trial> trials;
    for (const auto& [operation, seen] : clean) {
        for (const std::size_t index : sweptRequests(seen.requests)) {
            for (const Misbehaviour& how : misbehaviours) {
                const auto expected = expectationOf(*operation, placeOf(seen.requests, index), how);
                if (expected) {
                    trials.push_back(disturbed(*operation, seen, index, *expected, how.name));
                }
            }
        }
    }
    return trials;
}

} // namespace

class FaultSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endsEveryOperationAsItShould_data();
    void endsEveryOperationAsItShould();
};

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
    Observations clean;
    QCOMPARE(fleet.run(undisturbed(side, clean)), QString());
    QCOMPARE(fleet.run(disturbed(clean)), QString());
}

QTEST_MAIN(FaultSweepTest)
#include "FaultSweepTest.moc"
