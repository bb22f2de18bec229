#pragma once

#include "app/ChipWindow.h"
#include "app/StartupOptions.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"
#include "simulator/BoardServer.h"
#include "support/Dialogs.h"
#include "support/Sweep.h"

#include <QtWidgets>

#include <fstream>
#include <memory>

namespace pivex::testing {

using namespace Qt::Literals::StringLiterals;

/// The waits of the swept windows.
inline constexpr ConnectionTimings sweepTimings{.settle = std::chrono::milliseconds(20),
                                                .answer = std::chrono::milliseconds(400)};

/// The window that an operation is started from.
enum class Side { Chips, Images, Fonts, Settings };

enum class Task { Other, Connect, List, Send, Save };

/// One thing that a user can have the board do: how it is started and what it ends in.
struct Operation {
    Side side;
    const char* button;      ///< button or menu entry
    const char* answer;      ///< button of the question that it asks, if it does
    int slot;                ///< row of the tool window's slot list
    const char* success;     ///< last text of the output
    const char* before = ""; ///< around a complaint; %1 is the number of saves so far
    const char* after = "";
    Task task = Task::Other;
    const char* noMode = nullptr; ///< complaint about a board that is not in Upload Mode

    /// Whether a sent test waits to be saved when it begins, and when it has succeeded.
    bool needsUpload() const { return task == Task::List || task == Task::Save; }

    bool leavesUpload() const { return task == Task::List || task == Task::Send; }
};

inline constexpr auto chipsListed = "Loaded 3 stored tests from PCB.";
inline constexpr auto fontWritten = "Font operation acknowledged. Font slots refreshed.";
inline constexpr auto partialFont = " The slot may be partially changed. Reconnect and inspect it "
                                    "before retrying; a commit may have completed.";

inline constexpr Operation operations[] = {
    {Side::Chips, "connectButton", nullptr, 0, chipsListed, "", "", Task::Connect},
    {Side::Chips, "refreshButton", nullptr, 0, chipsListed, "", "", Task::List},
    {Side::Chips, "sendButton", nullptr, 0,
     "Send complete: Sweep (192 code bytes). All packets acknowledged. Not permanently saved; not "
     "run.",
     "Upload stopped: ",
     " The PCB may hold a partial test; do not run it. Reconnect and resend from the beginning.",
     Task::Send,
     "PCB is not in Upload Mode. Open Upload Mode on Pivex, then Send again. No chip data sent."},
    {Side::Chips, "saveButton", "Yes", 0,
     "Permanently saved Sweep. Loaded 4 stored tests from PCB.", "Save outcome uncertain: ",
     " Inspect the PCB list before retrying; the write may have completed.", Task::Save,
     "PCB is not in Upload Mode. Send the chip again before saving."},
    {Side::Chips, "batchSaveButton", "Yes", 0,
     "Batch complete: 3 chips permanently saved. Loaded 6 stored tests from PCB.",
     "Batch stopped: %1/3 saves acknowledged. ",
     " Earlier saves are not rolled back. Inspect the PCB list before retrying; the last write may "
     "have succeeded even without an acknowledgment.",
     Task::Other, "PCB is not in Upload Mode."},
    {Side::Chips, "loadSelectedButton", nullptr, 0,
     "Chip loaded from PCB. Save As to keep a local copy. Not run."},
    {Side::Chips, "deleteSelectedButton", "Delete Selected", 0,
     "Selected chip deletion acknowledged. Loaded 2 stored tests from PCB.",
     "Delete Selected outcome uncertain: ",
     " Reconnect and refresh the PCB list before retrying; deletion may have completed and slot "
     "numbers may have changed."},
    {Side::Chips, "deleteAllEntry", "Delete All Chips", 0, "Loaded 0 stored tests from PCB.",
     "Delete All Chips outcome uncertain: ",
     " Reconnect and inspect the PCB list before retrying; deletion may have completed."},
    {Side::Images, "refreshButton", nullptr, 0, "Image slots refreshed."},
    {Side::Images, "loadBoardButton", "Discard", 19,
     "Image loaded from PCB. Save As to keep a local copy."},
    {Side::Images, "saveBoardButton", nullptr, 29,
     "Image save acknowledged. Image slots refreshed.", "Image save stopped: ",
     " The PCB may hold a partial image. Reconnect and inspect its image list before retrying; a "
     "commit may have completed."},
    {Side::Images, "deleteBoardButton", "Delete", 19, "Image deleted from slot 20.",
     "Image deletion stopped: ", " Refresh the image list before retrying."},
    {Side::Fonts, "refreshButton", nullptr, 0, "Font slots refreshed."},
    {Side::Fonts, "saveBoardButton", "Yes", 3, fontWritten, "Font write stopped: ", partialFont},
    {Side::Fonts, "deleteButton", "Yes", 2, fontWritten, "Font write stopped: ", partialFont},
    {Side::Settings, "refreshButton", nullptr, 0, "Pivex settings loaded.",
     "Settings operation stopped: "},
    {Side::Settings, "auxBox", nullptr, 0, "Pivex settings updated and confirmed.",
     "Settings operation stopped: ",
     " The setting may have changed. Reconnect and read it before retrying."},
};

/// What one run of an operation showed.
struct Observation {
    QStringList texts{}; ///< of the output, one after the other
    QString state{};     ///< of the main window's controls
    std::vector<BoardRequest> requests{};
    std::uint8_t firstSequence = 0; ///< of the first request, whether it reached the board or not

    QString outcome() const { return texts.value(texts.size() - 1); }
};

/// One run of an operation.
struct Trial {
    const Operation* operation = nullptr;
    QString name{};
    std::function<void(BoardServer&)> arm{};
    std::function<QStringList(const Observation&)> judge{}; ///< gives what was wrong
    bool reconnects = true;                                 ///< also when nothing was lost
    QStringList findings{};
};

/// The chip test in the editor, which the board holds as its second one too.
inline ChipDocument sweptChip() {
    const QString code = u"GOSTRT\n"_s + u"DELMS 10\n"_s.repeated(10) + u"ENDTEST\n"_s;
    return {.name = "Sweep", .code = code.toStdString(), .strings = {"first", "second"}};
}

/// A board with something of everything; what is read in pieces comes in more than one.
inline BoardModel sweptBoard() {
    const ChipDocument chip = sweptChip();
    const ImageDocument image = newImage("New Image", 160, 128);
    BoardModel board;
    board.storage.chips = {
        {.name = "First"},
        {.name = "Sweep", .code = compileChip(chip).bytes, .strings = chip.strings},
        {.name = "Third"}};
    board.storage.images[20] = {.name = image.name, .width = 160, .height = 128, .rle = image.rle};
    board.storage.fonts[2] = {.name = "Old", .columns = {0}};
    board.traits.imagePiece = image.rle.size() - 69; // the first piece and 70 bytes are too much
    return board;
}

/// How a main window looks while no operation runs.
inline QString idleState(bool isConnected, bool isSavable = false) {
    return !isConnected ? u"Connect|Send to Pivex|+++------|0"_s
           : isSavable  ? u"Disconnect|Send to Pivex|--+++++++|"_s
                        : u"Disconnect|Send to Pivex|--++++++-|"_s;
}

/// A main window with a board of its own, which runs one trial after the other: the operation and
/// then a new connection or a list.
class Station {
public:
    Station(Side side, const QStringList& files, Dialogs& script) : dialogs(script) {
        QObject::connect(&output, &QPlainTextEdit::textChanged, &window,
                         [this] { texts << output.toPlainText(); });
        window.addPaths(files);
        carryOut({.fonts = side == Side::Fonts,
                  .images = side == Side::Images,
                  .settings = side == Side::Settings},
                 window);
        for (const auto* label : window.findChildren<QLabel*>(u"statusLabel"_s)) {
            from = label->window() == &window ? from : label->window();
        }
        if (auto* newDocument = from->findChild<QAbstractButton*>(u"newButton"_s)) {
            dialogs.answer(Qt::Key_Return);
            newDocument->click();
        }
        connect();
    }

    bool isFree() const { return step == std::size(steps); }

    void begin(Trial& next) {
        clock.start();
        trial = &next;
        step = 0;
    }

    /// Takes the next step once the last one has ended.
    void advance() {
        if (!isFree() && (send.isEnabled() || connectButton.text() == u"Connect"_s)) {
            clock.start();
            (this->*steps[step++])();
        } else if (!isFree() && clock.hasExpired(20'000)) {
            qFatal("%s does not end", qPrintable(trial->name));
        }
    }

private:
    void expect(bool isRight, const QString& finding) {
        trial->findings << (isRight ? QStringList() : QStringList(finding));
    }

    void connect() { window.connectTo(QString::fromStdString(board->path())); }

    /// Brings editor, lists and connection into the state in which the operation begins.
    void prepare() {
        window.populate(sweptChip(), {});
        stored.setCurrentRow(1);
        if (auto* list = from->findChild<QListWidget*>(u"slotList"_s)) {
            list->setCurrentRow(trial->operation->slot);
        }
        if (trial->operation->needsUpload()) {
            send.click();
        } else if (trial->operation->task == Task::Connect) {
            connectButton.click();
        }
    }

    void act() {
        const bool isNewLine = trial->operation->task == Task::Connect;
        sequence = isNewLine ? 0 : std::uint8_t(board->requests().back().sequence + 1);
        board->clearRequests();
        trial->arm(*board);
        texts.clear();
        if (trial->operation->answer != nullptr) {
            dialogs.answer(QString::fromUtf8(trial->operation->answer));
        }
        auto& starter = child<QObject>(*from, trial->operation->button);
        QMetaObject::invokeMethod(&starter, starter.isWidgetType() ? "click" : "trigger");
        expect(dialogs.unused() == 0, u"does not ask"_s);
    }

    void judge() {
        const Observation seen{texts, state(), board->requests(), sequence};
        board->setLineFault({});
        board->withModel([](BoardModel& model) { model = sweptBoard(); });
        trial->findings << trial->judge(seen);
        auto& refresh = child(*from, "refreshButton");
        expect(
            refresh.isEnabled() == send.isEnabled() &&
                (from == &window || child<QLabel>(*from, "statusLabel").text() == seen.outcome()),
            u"the tool window says otherwise"_s);
        if (seen.outcome().contains(u"Serial connection failed"_s)) {
            board = std::make_unique<BoardServer>(sweptBoard());
        }
        if (send.isEnabled() && trial->reconnects) {
            connectButton.click();
        }
        if (send.isEnabled()) {
            refresh.click();
        } else {
            connect();
        }
    }

    void finish() {
        expect(send.isEnabled() && stored.count() == 3, u"then lists "_s + output.toPlainText());
    }

    /// Texts and enabled states of the controls that act on the board.
    QString state() const {
        const QString controls =
            enabledStates(window, {"portBox", "portRefreshButton", "connectButton", "refreshButton",
                                   "storedChipList", "sendButton", "batchSaveButton",
                                   "deleteAllEntry", "saveButton"});
        const QString count = send.isEnabled() ? QString() : QString::number(stored.count());
        return QStringList{connectButton.text(), send.text(), controls, count}.join(u'|');
    }

    static constexpr void (Station::*steps[])() = {&Station::prepare, &Station::act,
                                                   &Station::judge, &Station::finish};

    Dialogs& dialogs;
    ChipWindow window{sweepTimings};
    QWidget* from = &window; ///< which the operations are started from
    QPlainTextEdit& output = child<QPlainTextEdit>(window, "outputPane");
    QListWidget& stored = child<QListWidget>(window, "storedChipList");
    QAbstractButton& send = child(window, "sendButton");
    QAbstractButton& connectButton = child(window, "connectButton");
    Trial* trial = nullptr;
    std::uint8_t sequence = 0;
    QStringList texts;
    QElapsedTimer clock;
    std::size_t step = std::size(steps);
    /// Goes first: a worker that has lost its board does not keep the window waiting.
    std::unique_ptr<BoardServer> board = std::make_unique<BoardServer>(sweptBoard());
};

/// Windows that run trials at the same time, since most of a trial is waiting.
class Fleet {
public:
    explicit Fleet(Side from) : side(from) {
        for (const QString& name : {u"a.chip"_s, u"b.chip"_s, u"c.chip"_s}) {
            files << folder.filePath(name);
            std::ofstream(files.last().toStdString()) << encodeChip(sweptChip());
        }
    }

    /// Runs `trials` and gives what was wrong. On a busy machine a board may answer too late; so a
    /// few trials that go wrong get a second chance without company.
    QString run(std::vector<Trial> trials) {
        const std::size_t few = std::max<std::size_t>(32, trials.size() / 50);
        QString complaints = run(trials, fullSweep() ? 96 : 32);
        if (!trials.empty() && trials.size() <= few) {
            qWarning("%s", qPrintable(complaints));
            stations.clear();
            complaints = run(trials, 1);
        }
        return complaints;
    }

private:
    /// Keeps of `trials` those that went wrong.
    QString run(std::vector<Trial>& trials, std::size_t together) {
        while (stations.size() < std::min(trials.size(), together)) {
            stations.push_back(std::make_unique<Station>(side, files, dialogs));
        }
        const auto isFree = [](const auto& station) { return station->isFree(); };
        auto next = trials.begin();
        while (next != trials.end() || !std::ranges::all_of(stations, isFree)) {
            for (const auto& station : stations) {
                if (station->isFree() && next != trials.end()) {
                    station->begin(*next++);
                }
                station->advance();
            }
            QTest::qWait(1);
        }
        std::erase_if(trials, [](const Trial& trial) { return trial.findings.isEmpty(); });
        QString complaints;
        for (Trial& trial : trials) {
            complaints += trial.name + u": "_s + trial.findings.join(u"; "_s) + u'\n';
            trial.findings.clear();
        }
        return complaints;
    }

    Side side;
    QTemporaryDir folder;
    QStringList files;
    Dialogs dialogs;
    std::vector<std::unique_ptr<Station>> stations;
};

} // namespace pivex::testing
