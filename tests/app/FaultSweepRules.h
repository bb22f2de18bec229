#pragma once

#include "FaultSweepStation.h"
#include "device/SerialProtocol.h"

#include <map>
#include <optional>
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
    static constexpr auto setting =
        "PCB returned a different setting value. Refresh settings before retrying.";
    static constexpr auto upload =
        "PCB rejected upload packet (response %1). Do not run a partial upload.";
    static constexpr auto save =
        "Permanent save was not acknowledged. Inspect device storage before retrying.";
    static constexpr auto image = "Image command rejected; stopped without retrying a commit.";
    static constexpr auto font =
        "Font command rejected; operation stopped. Inspect the slot before retrying.";
    static const std::vector chipPackets{UploadMetadata,    UploadStringsStart, UploadStringChunk,
                                         UploadStringsDone, UploadCodeLength,   UploadCodeChunk};
    static const std::vector imagePackets{ImageBegin, ImageSelectSlot, ImageMetadataChunk,
                                          ImageDataSize, ImageDataChunk};
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
        {{Settings}, Content, 2, settings, settings, nullptr, setting},
        {{UploadModeCheck}, Done, 0, "Unexpected upload-mode response."},
        {{PermanentSave}, Done, 0, save},
        {{BatchFinish}, Done, 0, "Batch finish was not acknowledged."},
        {{DeleteSelectedChip, DeleteAllChips}, Done, 0, "PCB did not acknowledge deletion."},
        {chipPackets, Upload, 3, upload},
        {imagePackets, Tool, 2, image},
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

inline constexpr Misbehaviour silence{"silent", FaultKind::Silent,
                                      "PCB query timed out. Check USB connection and device mode."};
inline constexpr Misbehaviour hangUp{"hung up", FaultKind::HangUp,
                                     "Serial connection failed: Input/output error"};
inline constexpr Misbehaviour split{"split into bytes", FaultKind::Split};

inline constexpr Misbehaviour misbehaviours[] = {
    silence,
    hangUp,
    split,
    {"oversized", FaultKind::Oversized, "Oversized serial frame."},
    {"stale, then right", FaultKind::Stale},
    {"glued to noise", FaultKind::Glued},
    {"busy as often as allowed", FaultKind::Busy},
    {"busy once too often", FaultKind::Busy, nullptr, &Rule::refused, 1},
    {"refused", FaultKind::Refuse, nullptr, &Rule::refused},
    {"acknowledged otherwise", FaultKind::Replace, nullptr, &Rule::refused},
    {"too short", FaultKind::Short, nullptr, &Rule::cutShort},
    {"too long", FaultKind::TooLong, nullptr, &Rule::tooLong},
    {"echoed wrongly", FaultKind::WrongEcho, nullptr, &Rule::wrongEcho},
};

/// A request of an operation's undisturbed run.
struct Place {
    const Operation& operation;
    const Observation& clean;
    std::size_t index;

    const BoardRequest& request() const { return clean.requests[index]; }

    /// How many requests of `command` went before.
    std::size_t before(Command command) const {
        const auto earlier = std::span(clean.requests).first(index);
        return std::size_t(std::ranges::count(earlier, command, &BoardRequest::command));
    }

    /// Whether it is the first, the middle or the last request of its command.
    bool isTypical() const {
        const Command command = request().command;
        const std::size_t all = Place{operation, clean, clean.requests.size()}.before(command);
        const std::size_t at = before(command);
        return at == 0 || at == all / 2 || at + 1 == all;
    }
};

/// What has to come of a fault.
struct Expectation {
    Fault fault{};
    QString text{};             ///< last text of the output
    bool succeeds = true;       ///< as if nothing had been
    bool staysConnected = true; ///< nothing is lost but the operation
    std::size_t repeats = 0;    ///< how often the request is sent again
    bool isReceived = true;     ///< the board gets the request
    bool isResized = false;     ///< the answer changes what is asked for afterwards
    bool isOpen = false;        ///< all of the above may differ: any end will do
};

/// What has to come of `how` at `place`; empty where the fault makes no difference.
inline std::optional<Expectation> expectationOf(const Place& place, const Misbehaviour& how) {
    using enum FaultKind;
    const Operation& operation = place.operation;
    const Command command = place.request().command;
    Rule rule = ruleOf(command);
    if (command == Command::ReadChipCode && place.before(command) == 0) {
        rule.cutShort = rule.tooLong = "Invalid code length response.";
    } else if (command == Command::Settings && place.request().payload.size() == 1) {
        rule.wrongEcho = nullptr;
    }
    const bool isMode = command == Command::UploadModeCheck;
    const bool isTool = rule.by == Judged::Tool;
    const bool isBusy = how.kind == Busy;
    const bool isOther = how.kind == Replace;
    const std::size_t hits = isBusy ? rule.busyAllowed + how.extra : 1;
    if (hits == 0 || (rule.wrongEcho == nullptr && how.kind == WrongEcho)) {
        return std::nullopt;
    }
    const Response other = isMode   ? Response::NotInUploadMode
                           : isTool ? Response::Acknowledged
                                    : Response::ToolAccepted;
    const Response code = isBusy ? Response::Busy : isOther ? other : refusedResponse;
    const char* complaint = how.special == nullptr ? how.complaint
                            : isTool && isOther    ? nullptr
                            : isBusy && rule.by == Judged::Upload
                                ? "PCB retry limit exceeded. Do not run a partial upload."
                                : rule.*how.special;
    const bool isSaveMode = isMode && operation.task == Task::Save;
    const bool isNoMode = isMode && complaint == rule.refused && (isOther || isSaveMode);
    const bool isHarmless = isNoMode && operation.task != Task::Other;
    QString text = QString::fromUtf8(isNoMode ? operation.noMode : complaint)
                       .replace(u"%1"_s, QString::number(static_cast<int>(code)));
    if (rule.by != Judged::Listing && !isHarmless && !isSaveMode) {
        const QString saves = QString::number(place.before(Command::PermanentSave));
        text = QString::fromUtf8(operation.before).replace(u"%1"_s, saves) + text +
               QString::fromUtf8(operation.after);
    }
    const bool succeeds = complaint == nullptr;
    return Expectation{
        .fault = {command, place.before(command) + 1, how.kind, hits, code},
        .text = succeeds ? QString::fromUtf8(operation.success) : text,
        .succeeds = succeeds,
        .staysConnected = succeeds || isHarmless,
        .repeats = isBusy ? rule.busyAllowed : 0,
        .isResized = how.special != &Rule::refused && how.special != nullptr &&
                     (command == Command::ReadChipMetadata || command == Command::ReadChipCode)};
}

/// Whether the board got the requests of an undisturbed run up to the spoilt one, the repetitions
/// of that one, and then the rest if the operation went on, else nothing.
inline bool isRightTraffic(const std::vector<BoardRequest>& seen, const Place& place,
                           const Expectation& expected) {
    std::vector<BoardRequest> wanted = place.clean.requests;
    wanted.resize(expected.succeeds ? wanted.size() : place.index + (expected.isReceived ? 1 : 0));
    wanted.insert(wanted.begin() + static_cast<std::ptrdiff_t>(place.index), expected.repeats,
                  place.request());
    return std::ranges::equal(seen, wanted, [](const auto& left, const auto& right) {
        return left.command == right.command && left.payload == right.payload;
    });
}

/// What is wrong with a run that met `expected` at `place`.
inline QStringList findings(const Observation& seen, const Place& place,
                            const Expectation& expected) {
    QStringList found;
    const auto expect = [&](bool isRight, const QString& finding) {
        found << (isRight ? QStringList() : QStringList(finding));
    };
    if (expected.isOpen) {
        const QStringList ends{idleState(false), idleState(true), idleState(true, true)};
        expect(!seen.outcome().isEmpty() && ends.contains(seen.state), seen.outcome() + seen.state);
        return found;
    }
    expect(seen.outcome() == expected.text, u"ends in "_s + seen.outcome());
    // Everything but the last text has been progress as in an undisturbed run.
    const QStringList& texts = place.clean.texts;
    const qsizetype steps = std::max<qsizetype>(seen.texts.size() - 1, 0);
    expect(seen.texts.first(steps) == texts.first(std::min(steps, texts.size() - 1)) &&
               (!expected.succeeds || seen.texts.size() == texts.size()),
           u"shows "_s + seen.texts.join(u" / "_s));
    expect(expected.isResized || isRightTraffic(seen.requests, place, expected),
           u"sends %1 requests"_s.arg(seen.requests.size()));
    const bool isSavable = expected.succeeds && place.operation.leavesUpload();
    expect(seen.state == idleState(expected.staysConnected, isSavable), u"leaves "_s + seen.state);
    return found;
}

} // namespace pivex::testing
