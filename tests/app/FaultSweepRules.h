#pragma once

#include "FaultSweepStation.h"
#include "device/SerialProtocol.h"

#include <map>
#include <optional>
#include <set>
#include <span>

namespace pivex::testing {

/// How the program judges an answer: by what it holds (a listing complains for itself, whatever
/// went before), or by its code alone.
enum class Judged { Content, Listing, Done, Upload, Tool };

/// What the program makes of a bad answer to one of some commands. A null complaint says that it
/// takes no notice; a null `wrongEcho`, that the answer echoes nothing.
struct Rule {
    std::vector<Command> commands;
    Judged by;
    std::size_t busyAllowed;
    const char* refused; ///< %1 is the answer's code
    const char* cutShort = nullptr;
    const char* tooLong = nullptr;
    const char* wrongEcho = nullptr;
};

inline Rule ruleOf(Command command) {
    using enum Command;
    using enum Judged;
    static constexpr auto unexpected = "Unexpected PCB response: %1";
    static constexpr auto count = "Invalid chip count response.";
    static constexpr auto metadata = "Invalid image metadata response.";
    static constexpr auto chunk = "Invalid image chunk offset or length.";
    static constexpr auto slot = "Invalid font slot response.";
    static constexpr auto settings = "Pivex returned an invalid settings response.";
    static constexpr auto image = "Image command rejected; stopped without retrying a commit.";
    static constexpr auto font =
        "Font command rejected; operation stopped. Inspect the slot before retrying.";
    static const std::vector<Rule> rules{
        {{Identify}, Content, 0, unexpected, "Pivex returned an empty identity."},
        {{ChipCount}, Listing, 0, unexpected, count, count},
        {{ChipName}, Listing, 0, unexpected},
        {{ReadChipMetadata}, Content, 0, unexpected, "Empty metadata continuation."},
        {{ReadChipCode}, Content, 0, unexpected, "Empty code continuation."},
        {{ReadChipString}, Content, 0, unexpected, nullptr, "Oversized chip string response."},
        {{ImageName}, Listing, 0, "Unexpected image name response."},
        {{ImageMetadata}, Content, 0, metadata, metadata},
        {{ImageChunk}, Content, 0, chunk, chunk, chunk, chunk},
        {{FontSlotRead}, Listing, 0, slot, slot, nullptr, slot},
        {{Settings},
         Content,
         2,
         settings,
         settings,
         nullptr,
         "PCB returned a different setting value. Refresh settings before retrying."},
        {{UploadModeCheck}, Done, 0, "Unexpected upload-mode response."},
        {{PermanentSave},
         Done,
         0,
         "Permanent save was not acknowledged. Inspect device storage before retrying."},
        {{BatchFinish}, Done, 0, "Batch finish was not acknowledged."},
        {{DeleteSelectedChip, DeleteAllChips}, Done, 0, "PCB did not acknowledge deletion."},
        {{UploadMetadata, UploadStringsStart, UploadStringChunk, UploadStringsDone,
          UploadCodeLength, UploadCodeChunk},
         Upload,
         3,
         "PCB rejected upload packet (response %1). Do not run a partial upload."},
        {{ImageBegin, ImageSelectSlot, ImageMetadataChunk, ImageDataSize, ImageDataChunk},
         Tool,
         2,
         image},
        {{ImageMetadataCommit, ImageDataCommit}, Tool, 0, image},
        {{ImageDelete}, Tool, 2, "PCB rejected image deletion. The selected slot was not cleared."},
        {{FontBegin, FontMetadataChunk, FontDataSize, FontDataChunk}, Tool, 2, font},
        {{FontMetadataCommit, FontDataCommit, FontDelete}, Tool, 0, font},
    };
    return *std::ranges::find_if(rules, [&](const Rule& rule) {
        return std::ranges::find(rule.commands, command) != rule.commands.end();
    });
}

/// One way to misbehave at one request.
struct Misbehaviour {
    const char* name;
    FaultKind kind;
    const char* complaint = nullptr;      ///< the same for every command
    const char* Rule::*special = nullptr; ///< or the command's own
    std::size_t extra = 0;                ///< for `Busy`: more often than the program puts up with
};

inline constexpr auto timedOut = "PCB query timed out. Check USB connection and device mode.";

inline constexpr Misbehaviour misbehaviours[] = {
    {"silent", FaultKind::Silent, timedOut},
    {"corrupted", FaultKind::Corrupt, timedOut},
    {"oversized", FaultKind::Oversized, "Oversized serial frame."},
    {"hung up", FaultKind::HangUp, "Serial connection failed: Input/output error"},
    {"stale, then right", FaultKind::Stale},
    {"split into bytes", FaultKind::Split},
    {"glued to noise", FaultKind::Glued},
    {"busy as often as allowed", FaultKind::Busy},
    {"busy once too often", FaultKind::Busy, nullptr, &Rule::refused, 1},
    {"refused", FaultKind::Refuse, nullptr, &Rule::refused},
    {"acknowledged otherwise", FaultKind::Replace, nullptr, &Rule::refused},
    {"too short", FaultKind::Short, nullptr, &Rule::cutShort},
    {"too long", FaultKind::TooLong, nullptr, &Rule::tooLong},
    {"echoed wrongly", FaultKind::WrongEcho, nullptr, &Rule::wrongEcho},
};

/// The first, a middle and the last request of each command.
inline std::set<std::size_t> sweptRequests(const std::vector<BoardRequest>& requests) {
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

/// What has to come of a fault.
struct Expectation {
    Fault fault{};
    QString text{};             ///< last text of the output
    bool succeeds = true;       ///< as if nothing had been
    bool staysConnected = true; ///< nothing is lost but the operation
    std::size_t repeats = 0;    ///< how often the request is sent again
    bool isReceived = true;     ///< the board gets the request
    bool isResized = false;     ///< the answer's length changes what is asked for afterwards
};

inline const Misbehaviour& misbehaviour(FaultKind kind) {
    return *std::ranges::find(misbehaviours, kind, &Misbehaviour::kind);
}

/// What has to come of `how` at the request `index` of `operation`, whose requests are `clean`
/// without a fault; empty where the fault makes no difference.
inline std::optional<Expectation> expectationOf(const Operation& operation,
                                                const std::vector<BoardRequest>& clean,
                                                std::size_t index, const Misbehaviour& how) {
    using enum FaultKind;
    const Command command = clean[index].command;
    const auto before = [&](Command wanted) {
        return std::ranges::count(std::span(clean).first(index), wanted, &BoardRequest::command);
    };
    Rule rule = ruleOf(command);
    if (command == Command::ReadChipCode && before(command) == 0) {
        rule.cutShort = rule.tooLong = "Invalid code length response.";
    } else if (command == Command::Settings && clean[index].payload.size() == 1) {
        rule.wrongEcho = nullptr;
    }
    const bool isRead = rule.by == Judged::Content || rule.by == Judged::Listing;
    const bool isMode = command == Command::UploadModeCheck;
    const bool isTool = rule.by == Judged::Tool;
    const bool isBusy = how.kind == Busy;
    const std::size_t hits = isBusy ? rule.busyAllowed + how.extra : 1;
    if (hits == 0 || (isRead && how.kind == Replace) || (!isRead && how.kind == Short) ||
        (rule.wrongEcho == nullptr && how.kind == WrongEcho)) {
        return std::nullopt;
    }
    const Response otherCode = isMode   ? Response::NotInUploadMode
                               : isTool ? Response::Acknowledged
                                        : Response::ToolAccepted;
    const Response code = isBusy                ? Response::Busy
                          : how.kind == Replace ? otherCode
                                                : refusedResponse;
    const char* complaint = how.special == nullptr          ? how.complaint
                            : isTool && how.kind == Replace ? nullptr
                            : isBusy && rule.by == Judged::Upload
                                ? "PCB retry limit exceeded. Do not run a partial upload."
                                : rule.*how.special;
    const bool isSave = operation.task == Task::Save;
    const bool isNoMode = isMode && how.special != nullptr && complaint == rule.refused &&
                          (how.kind == Replace || isSave);
    const bool isHarmless = isNoMode && operation.task != Task::Other;
    QString text = QString::fromUtf8(isNoMode ? operation.noMode : complaint)
                       .replace(u"%1"_s, QString::number(static_cast<int>(code)));
    if (rule.by != Judged::Listing && !isHarmless && !(isMode && isSave)) {
        const QString saves = QString::number(before(Command::PermanentSave));
        text = QString::fromUtf8(operation.before).replace(u"%1"_s, saves) + text +
               QString::fromUtf8(operation.after);
    }
    const bool succeeds = complaint == nullptr;
    return Expectation{
        .fault = {command, std::size_t(before(command)) + 1, how.kind, hits, code},
        .text = succeeds ? QString::fromUtf8(operation.success) : text,
        .succeeds = succeeds,
        .staysConnected = succeeds || isHarmless,
        .repeats = isBusy ? rule.busyAllowed : 0,
        .isResized = how.special != &Rule::refused && how.special != nullptr &&
                     (command == Command::ReadChipMetadata || command == Command::ReadChipCode)};
}

/// Whether the board got the requests of an undisturbed run up to the spoilt one, the repetitions
/// of that one, and then the rest if the operation went on, else nothing.
inline bool isRightTraffic(const std::vector<BoardRequest>& seen,
                           const std::vector<BoardRequest>& clean, std::size_t index,
                           const Expectation& expected) {
    std::vector<BoardRequest> wanted = clean;
    wanted.resize(expected.succeeds ? clean.size() : index + (expected.isReceived ? 1 : 0));
    wanted.insert(wanted.begin() + static_cast<std::ptrdiff_t>(index), expected.repeats,
                  clean[index]);
    return std::ranges::equal(seen, wanted, [](const auto& left, const auto& right) {
        return left.command == right.command && left.payload == right.payload;
    });
}

/// What is wrong with a run that met `expected` at the request `index`.
inline QStringList findings(const Operation& operation, const Observation& seen,
                            const Observation& clean, std::size_t index,
                            const Expectation& expected) {
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

/// The undisturbed run of each operation.
using CleanRuns = std::map<const Operation*, Observation>;

/// Runs every operation of `side` undisturbed and gives what was wrong.
inline QString runUndisturbed(Fleet& fleet, Side side, CleanRuns& clean) {
    std::vector<Trial> trials;
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
    return fleet.run(std::move(trials));
}

/// What stands in a frame, of a request or of an answer.
struct Content {
    std::uint8_t code;
    Bytes payload;

    Bytes frame(std::uint8_t sequence) const { return encodePacket(code, sequence, payload); }
};

/// What passes the line in one direction during an operation.
using Stream = std::vector<Content>;

/// What the program asks and the board answers in the undisturbed run of `operation`.
inline std::pair<Stream, Stream> streamsOf(const Operation& operation, const Observation& clean) {
    BoardModel board = sweptBoard();
    if (operation.needsUpload()) {
        for (const UploadPacket& packet : prepareUpload(sweptChip()).packets) {
            board.answer(packet.command, packet.payload);
        }
    }
    std::pair<Stream, Stream> streams;
    for (const BoardRequest& request : clean.requests) {
        const BoardAnswer answer = board.answer(request.command, request.payload).value();
        streams.first.push_back({static_cast<std::uint8_t>(request.command), request.payload});
        streams.second.push_back({static_cast<std::uint8_t>(answer.code), answer.payload});
    }
    return streams;
}

/// One test row for each window that operations start from.
inline void addSides() {
    QTest::addColumn<Side>("side");
    QTest::newRow("chips") << Side::Chips;
    QTest::newRow("images") << Side::Images;
    QTest::newRow("fonts") << Side::Fonts;
    QTest::newRow("settings") << Side::Settings;
}

} // namespace pivex::testing
