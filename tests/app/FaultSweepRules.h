#pragma once

#include "device/DeviceCommands.h"
#include "simulator/BoardFault.h"

#include <QString>

#include <algorithm>
#include <array>
#include <optional>

namespace pivex::testing {

/// The window that an operation is started from.
enum class Side { Chips, Images, Fonts, Settings };

enum class Task { Other, List, Send, Save, SettingsWrite };

/// One thing that a user can have the board do: how it is started and what it ends in.
struct Operation {
    const char* name;
    Side side;
    const char* button;      ///< button or menu entry
    const char* success;     ///< last text of the output
    const char* before = ""; ///< around a complaint about one of its own requests; %1 is a count
    const char* after = "";
    const char* answer = nullptr; ///< button of the question that it asks
    int slot = 0;                 ///< row of the tool window's slot list
    Task task = Task::Other;
};

inline constexpr std::array operations{
    Operation{"connect", Side::Chips, "connectButton", "Loaded 3 stored tests from PCB."},
    Operation{.name = "list",
              .side = Side::Chips,
              .button = "refreshButton",
              .success = "Loaded 3 stored tests from PCB.",
              .task = Task::List},
    Operation{.name = "send",
              .side = Side::Chips,
              .button = "sendButton",
              .success = "Send complete: Sweep (192 code bytes). All packets acknowledged. Not "
                         "permanently saved; not run.",
              .before = "Upload stopped: ",
              .after = " The PCB may hold a partial test; do not run it. Reconnect and resend from "
                       "the beginning.",
              .task = Task::Send},
    Operation{.name = "save",
              .side = Side::Chips,
              .button = "saveButton",
              .success = "Permanently saved Sweep. Loaded 4 stored tests from PCB.",
              .before = "Save outcome uncertain: ",
              .after = " Inspect the PCB list before retrying; the write may have completed.",
              .answer = "Yes",
              .task = Task::Save},
    Operation{.name = "batch",
              .side = Side::Chips,
              .button = "batchSaveButton",
              .success = "Batch complete: 3 chips permanently saved. Loaded 6 stored tests from "
                         "PCB.",
              .before = "Batch stopped: %1/3 saves acknowledged. ",
              .after = " Earlier saves are not rolled back. Inspect the PCB list before retrying; "
                       "the last write may have succeeded even without an acknowledgment.",
              .answer = "Yes"},
    Operation{"chip read", Side::Chips, "loadSelectedButton",
              "Chip loaded from PCB. Save As to keep a local copy. Not run."},
    Operation{.name = "delete one",
              .side = Side::Chips,
              .button = "deleteSelectedButton",
              .success = "Selected chip deletion acknowledged. Loaded 2 stored tests from PCB.",
              .before = "Delete Selected outcome uncertain: ",
              .after = " Reconnect and refresh the PCB list before retrying; deletion may have "
                       "completed and slot numbers may have changed.",
              .answer = "Delete Selected"},
    Operation{.name = "delete all",
              .side = Side::Chips,
              .button = "deleteAllEntry",
              .success = "Loaded 0 stored tests from PCB.",
              .before = "Delete All Chips outcome uncertain: ",
              .after = " Reconnect and inspect the PCB list before retrying; deletion may have "
                       "completed.",
              .answer = "Delete All Chips"},
    Operation{"image list", Side::Images, "refreshButton", "Image slots refreshed."},
    Operation{.name = "image read",
              .side = Side::Images,
              .button = "loadBoardButton",
              .success = "Image loaded from PCB. Save As to keep a local copy.",
              .answer = "Discard",
              .slot = 19},
    Operation{.name = "image upload",
              .side = Side::Images,
              .button = "saveBoardButton",
              .success = "Image save acknowledged. Image slots refreshed.",
              .before = "Image save stopped: ",
              .after = " The PCB may hold a partial image. Reconnect and inspect its image list "
                       "before retrying; a commit may have completed.",
              .slot = 29},
    Operation{.name = "image deletion",
              .side = Side::Images,
              .button = "deleteBoardButton",
              .success = "Image deleted from slot 20.",
              .before = "Image deletion stopped: ",
              .after = " Refresh the image list before retrying.",
              .answer = "Delete",
              .slot = 19},
    Operation{"font list", Side::Fonts, "refreshButton", "Font slots refreshed."},
    Operation{.name = "font write",
              .side = Side::Fonts,
              .button = "saveBoardButton",
              .success = "Font operation acknowledged. Font slots refreshed.",
              .before = "Font write stopped: ",
              .after = " The slot may be partially changed. Reconnect and inspect it before "
                       "retrying; a commit may have completed.",
              .answer = "Yes",
              .slot = 3},
    Operation{.name = "font deletion",
              .side = Side::Fonts,
              .button = "deleteButton",
              .success = "Font operation acknowledged. Font slots refreshed.",
              .before = "Font write stopped: ",
              .after = " The slot may be partially changed. Reconnect and inspect it before "
                       "retrying; a commit may have completed.",
              .answer = "Yes",
              .slot = 2},
    Operation{.name = "settings read",
              .side = Side::Settings,
              .button = "refreshButton",
              .success = "Pivex settings loaded.",
              .before = "Settings operation stopped: "},
    Operation{.name = "settings write",
              .side = Side::Settings,
              .button = "auxBox",
              .success = "Pivex settings updated and confirmed.",
              .before = "Settings operation stopped: ",
              .after = " The setting may have changed. Reconnect and read it before retrying.",
              .task = Task::SettingsWrite},
};

/// Whether a sent test waits to be saved when `operation` begins.
inline bool needsUpload(const Operation& operation) {
    return operation.task == Task::List || operation.task == Task::Save;
}

/// Whether a sent test waits to be saved when `operation` has succeeded.
inline bool leavesUpload(const Operation& operation) {
    return operation.task == Task::List || operation.task == Task::Send;
}

/// How the program judges an answer: by what it holds, or by its code alone.
enum class Judged { Content, Done, Upload, Tool, Commit };

/// What the program makes of a bad answer to a command.
struct Rule {
    Command command;
    Judged by;
    const char* refused;            ///< %1 is the answer's code
    const char* cutShort = nullptr; ///< null where an answer without payload will do
    const char* tooLong = nullptr;  ///< null where more than needed will do
};

inline constexpr const char* unexpected = "Unexpected PCB response: %1";
inline constexpr const char* chipRefused =
    "PCB rejected upload packet (response %1). Do not run a partial upload.";
inline constexpr const char* notDeleted = "PCB did not acknowledge deletion.";
inline constexpr const char* badChunk = "Invalid image chunk offset or length.";
inline constexpr const char* badFontSlot = "Invalid font slot response.";
inline constexpr const char* badSettings = "Pivex returned an invalid settings response.";
inline constexpr const char* imageRefused =
    "Image command rejected; stopped without retrying a commit.";
inline constexpr const char* fontRefused =
    "Font command rejected; operation stopped. Inspect the slot before retrying.";

inline constexpr std::array rules{
    Rule{Command::Identify, Judged::Content, unexpected, "Pivex returned an empty identity."},
    Rule{Command::ChipCount, Judged::Content, unexpected, "Invalid chip count response.",
         "Invalid chip count response."},
    Rule{Command::ChipName, Judged::Content, unexpected},
    Rule{Command::ReadChipMetadata, Judged::Content, unexpected, "Empty metadata continuation."},
    Rule{Command::ReadChipCode, Judged::Content, unexpected, "Empty code continuation."},
    Rule{Command::ReadChipString, Judged::Content, unexpected, nullptr,
         "Oversized chip string response."},
    Rule{Command::ImageName, Judged::Content, "Unexpected image name response."},
    Rule{Command::ImageMetadata, Judged::Content, "Invalid image metadata response.",
         "Invalid image metadata response."},
    Rule{Command::ImageChunk, Judged::Content, badChunk, badChunk, badChunk},
    Rule{Command::FontSlotRead, Judged::Content, badFontSlot, badFontSlot},
    Rule{Command::Settings, Judged::Content, badSettings, badSettings},
    Rule{Command::UploadModeCheck, Judged::Done, "Unexpected upload-mode response."},
    Rule{Command::PermanentSave, Judged::Done,
         "Permanent save was not acknowledged. Inspect device storage before retrying."},
    Rule{Command::BatchFinish, Judged::Done, "Batch finish was not acknowledged."},
    Rule{Command::DeleteSelectedChip, Judged::Done, notDeleted},
    Rule{Command::DeleteAllChips, Judged::Done, notDeleted},
    Rule{Command::UploadMetadata, Judged::Upload, chipRefused},
    Rule{Command::UploadStringsStart, Judged::Upload, chipRefused},
    Rule{Command::UploadStringChunk, Judged::Upload, chipRefused},
    Rule{Command::UploadStringsDone, Judged::Upload, chipRefused},
    Rule{Command::UploadCodeLength, Judged::Upload, chipRefused},
    Rule{Command::UploadCodeChunk, Judged::Upload, chipRefused},
    Rule{Command::ImageDelete, Judged::Tool,
         "PCB rejected image deletion. The selected slot was not cleared."},
    Rule{Command::ImageBegin, Judged::Tool, imageRefused},
    Rule{Command::ImageSelectSlot, Judged::Tool, imageRefused},
    Rule{Command::ImageMetadataChunk, Judged::Tool, imageRefused},
    Rule{Command::ImageMetadataCommit, Judged::Commit, imageRefused},
    Rule{Command::ImageDataSize, Judged::Tool, imageRefused},
    Rule{Command::ImageDataChunk, Judged::Tool, imageRefused},
    Rule{Command::ImageDataCommit, Judged::Commit, imageRefused},
    Rule{Command::FontBegin, Judged::Tool, fontRefused},
    Rule{Command::FontMetadataChunk, Judged::Tool, fontRefused},
    Rule{Command::FontMetadataCommit, Judged::Commit, fontRefused},
    Rule{Command::FontDataSize, Judged::Tool, fontRefused},
    Rule{Command::FontDataChunk, Judged::Tool, fontRefused},
    Rule{Command::FontDataCommit, Judged::Commit, fontRefused},
    Rule{Command::FontDelete, Judged::Commit, fontRefused},
};
static_assert(rules.size() == commandSet.size());

/// One way to misbehave at one request.
struct Misbehaviour {
    const char* name;
    FaultKind kind;
    bool isOnceTooOften = false; ///< for `Busy`: one more time than the program puts up with
};

inline constexpr std::array misbehaviours{
    Misbehaviour{"silent", FaultKind::Silent},
    Misbehaviour{"busy as often as allowed", FaultKind::Busy},
    Misbehaviour{"busy once too often", FaultKind::Busy, true},
    Misbehaviour{"refused", FaultKind::Refuse},
    Misbehaviour{"other acknowledgement", FaultKind::Replace},
    Misbehaviour{"corrupted", FaultKind::Corrupt},
    Misbehaviour{"stale, then right", FaultKind::Stale},
    Misbehaviour{"split into bytes", FaultKind::Split},
    Misbehaviour{"glued to noise", FaultKind::Glued},
    Misbehaviour{"too short", FaultKind::Short},
    Misbehaviour{"too long", FaultKind::TooLong},
    Misbehaviour{"wrong echo", FaultKind::WrongEcho},
    Misbehaviour{"oversized", FaultKind::Oversized},
    Misbehaviour{"hang-up", FaultKind::HangUp},
};

/// A request of an undisturbed run.
struct RequestPlace {
    Command command;
    std::size_t number; ///< among those of its command, from 1
    int savesBefore;    ///< permanent saves that came before it
};

/// What is to come of a misbehaviour.
struct Expectation {
    Fault fault;
    QString text{};        ///< last text of the output; "*" stands for any text
    bool succeeds = false; ///< nothing differs from an undisturbed run
    bool staysConnected = false;
    std::size_t repeats = 0;  ///< how often the request is sent again
    bool sameRequests = true; ///< the rest of the requests is as in an undisturbed run
};

/// How often a request that is answered busy is sent again.
inline std::size_t busyAllowed(const Rule& rule) {
    if (rule.by == Judged::Upload) {
        return 3;
    }
    return rule.by == Judged::Tool || rule.command == Command::Settings ? 2 : 0;
}

/// `complaint` as the user reads it when `operation` fails at `place`.
inline QString complained(const Operation& operation, const RequestPlace& place,
                          const char* complaint) {
    using enum Command;
    const auto listing = {ChipCount, ChipName, ImageName, FontSlotRead};
    const bool isBare = std::ranges::find(listing, place.command) != listing.end() ||
                        (operation.task == Task::Save && place.command == UploadModeCheck);
    const QString text = QString::fromUtf8(complaint);
    const QString before = QString::fromUtf8(operation.before);
    return isBare
               ? text
               : QString(before).replace(QStringLiteral("%1"), QString::number(place.savesBefore)) +
                     text + QString::fromUtf8(operation.after);
}

/// Completes `expected` for an answer to `UploadModeCheck` whose code is not the wanted one.
inline void expectModeAnswer(Expectation& expected, const Operation& operation,
                             const RequestPlace& place) {
    const bool isNotInMode = expected.fault.kind == FaultKind::Replace;
    const bool isSend = operation.task == Task::Send && isNotInMode;
    expected.staysConnected = isSend || operation.task == Task::Save;
    expected.text = QString::fromUtf8(
        isSend ? "PCB is not in Upload Mode. Open Upload Mode on Pivex, then Send again. No chip "
                 "data sent."
               : "PCB is not in Upload Mode. Send the chip again before saving.");
    if (!expected.staysConnected) {
        expected.text = complained(operation, place,
                                   isNotInMode ? "PCB is not in Upload Mode."
                                               : "Unexpected upload-mode response.");
    }
}

/// What the user reads when `fault` hits `place`; null where the operation takes no notice.
inline const char* complaintOf(const Rule& rule, const RequestPlace& place, const Fault& fault) {
    const bool isCodeLength = rule.command == Command::ReadChipCode && place.number == 1;
    switch (fault.kind) {
    case FaultKind::Silent:
    case FaultKind::Corrupt:
        return "PCB query timed out. Check USB connection and device mode.";
    case FaultKind::Oversized:
        return "Oversized serial frame.";
    case FaultKind::HangUp:
        return "Serial connection failed: *";
    case FaultKind::Busy:
        return fault.count <= busyAllowed(rule) ? nullptr
               : rule.by == Judged::Upload
                   ? "PCB retry limit exceeded. Do not run a partial upload."
                   : rule.refused;
    case FaultKind::Refuse:
        return rule.refused;
    case FaultKind::Replace:
        return rule.by == Judged::Tool || rule.by == Judged::Commit ? nullptr : rule.refused;
    case FaultKind::Short:
        return isCodeLength ? "Invalid code length response." : rule.cutShort;
    case FaultKind::TooLong:
        return isCodeLength ? "Invalid code length response." : rule.tooLong;
    case FaultKind::WrongEcho:
        return rule.command == Command::Settings
                   ? "PCB returned a different setting value. Refresh settings before retrying."
                   : rule.refused;
    default:
        return nullptr;
    }
}

/// Whether there is something in the answer that `kind` can make wrong.
inline bool canMisbehave(const Operation& operation, const Rule& rule, FaultKind kind) {
    const bool isEchoed = rule.command == Command::ImageChunk ||
                          rule.command == Command::FontSlotRead ||
                          operation.task == Task::SettingsWrite;
    switch (kind) {
    case FaultKind::Replace:
        return rule.by != Judged::Content;
    case FaultKind::Short:
        return rule.by == Judged::Content;
    case FaultKind::WrongEcho:
        return isEchoed;
    default:
        return true;
    }
}

inline Fault faultOf(const Rule& rule, const RequestPlace& place, const Misbehaviour& how) {
    Fault fault{.command = place.command, .packet = place.number, .kind = how.kind};
    if (how.kind == FaultKind::Busy) {
        fault.count = busyAllowed(rule) + (how.isOnceTooOften ? 1 : 0);
        fault.code = Response::Busy;
    } else if (how.kind == FaultKind::Replace) {
        const bool isTool = rule.by == Judged::Tool || rule.by == Judged::Commit;
        fault.code = rule.command == Command::UploadModeCheck ? Response::NotInUploadMode
                     : isTool                                 ? Response::Acknowledged
                                                              : Response::ToolAccepted;
    }
    return fault;
}

/// What has to come of `how` at `place` of `operation`; empty where it makes no difference.
inline std::optional<Expectation>
expectationOf(const Operation& operation, const RequestPlace& place, const Misbehaviour& how) {
    const Rule& rule = *std::ranges::find(rules, place.command, &Rule::command);
    Expectation expected{.fault = faultOf(rule, place, how)};
    const Fault& fault = expected.fault;
    if (!canMisbehave(operation, rule, fault.kind) || fault.count == 0) {
        return std::nullopt;
    }
    const char* const complaint = complaintOf(rule, place, fault);
    if (rule.command == Command::UploadModeCheck && complaint == rule.refused) {
        expectModeAnswer(expected, operation, place);
        return expected;
    }
    expected.succeeds = complaint == nullptr;
    expected.staysConnected = expected.succeeds;
    expected.text = expected.succeeds ? QString::fromUtf8(operation.success)
                                      : complained(operation, place, complaint)
                                            .replace(QStringLiteral("%1"),
                                                     QString::number(static_cast<int>(fault.code)));
    expected.repeats = fault.kind != FaultKind::Busy ? 0
                       : expected.succeeds           ? fault.count
                                                     : fault.count - 1;
    // A piece of another length changes how many pieces it takes.
    const bool isPiece =
        rule.command == Command::ReadChipMetadata || rule.command == Command::ReadChipCode;
    expected.sameRequests =
        !isPiece || (fault.kind != FaultKind::Short && fault.kind != FaultKind::TooLong);
    return expected;
}

} // namespace pivex::testing
