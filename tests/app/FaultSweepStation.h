#pragma once

#include "FaultSweepRules.h"
#include "app/ChipWindow.h"
#include "language/ChipCompiler.h"
#include "simulator/BoardServer.h"
#include "support/Dialogs.h"

#include <QAction>
#include <QElapsedTimer>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSpinBox>

#include <memory>

namespace pivex::testing {

inline constexpr ConnectionTimings sweepTimings{.settle = std::chrono::milliseconds(20),
                                                .answer = std::chrono::milliseconds(400)};

/// No operation takes longer, whatever the board does.
inline constexpr int longestOperation = 5000;

/// What one run of an operation showed.
struct Observation {
    QStringList texts; ///< of the output, one after the other
    std::vector<BoardRequest> requests;
    BoardStorage storage; ///< of the board, afterwards
    QString state;        ///< of the main window's controls
    qint64 milliseconds;

    QString outcome() const { return texts.isEmpty() ? QString() : texts.last(); }
};

/// One run of an operation.
struct Trial {
    const Operation* operation = nullptr;
    QString name{};
    std::function<void(BoardServer&)> arm{};
    std::function<QStringList(const Observation&)> judge{}; ///< gives what was wrong
    bool reconnects = true; ///< also when the connection has survived
    QStringList findings{};
};

/// The chip test in the editor, which the board holds as its second one too.
inline ChipDocument sweptChip(const std::string& name = "Sweep") {
    ChipDocument chip{.name = name, .pins = 14, .code = "GOSTRT\n", .strings = {"first", "second"}};
    for (int line = 0; line < 10; ++line) {
        chip.code += "DELMS 10\n";
    }
    chip.code += "ENDTEST\n";
    return chip;
}

/// A board with something of everything; what is read in pieces comes in three or more.
inline BoardModel sweptBoard() {
    const ChipDocument chip = sweptChip();
    BoardModel board;
    board.traits.imagePiece = 33;
    board.storage.chips = {
        {.name = "First"},
        {.name = chip.name, .code = compileChip(chip).bytes, .strings = chip.strings},
        {.name = "Third"}};
    StoredImage image{.name = "New Image", .width = 85, .height = 99};
    for (int run = 0; run < 33; ++run) {
        image.rle.insert(image.rle.end(), {255, 0, 0});
    }
    board.storage.images = {{1, image}, {20, image}};
    board.storage.fonts = {{2, {.name = "Old", .columns = {0}}}};
    return board;
}

/// How a main window looks while no operation runs.
inline QString idleState(bool isConnected, bool isSaveAllowed = false) {
    return !isConnected    ? QStringLiteral("Not Connected|Connect|Send to Pivex|+++-------|-")
           : isSaveAllowed ? QStringLiteral("Connected: |Disconnect|Send to Pivex|--++++++++|+")
                           : QStringLiteral("Connected: |Disconnect|Send to Pivex|--++++++++|-");
}

/// A main window with a board of its own, which runs one trial after the other: the operation, a
/// new connection and a list.
class Station {
public:
    Station(Side from, const QStringList& files, Dialogs& script) : dialogs(script), side(from) {
        QObject::connect(&output, &QPlainTextEdit::textChanged, &window,
                         [this] { texts << output.toPlainText(); });
        window.addPaths(files);
        openTool();
        connect();
    }

    /// The board goes first: a worker that has lost it does not keep the window waiting.
    ~Station() { board.reset(); }

    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;

    bool isFree() const { return phase == Phase::Free; }

    /// Whether a trial runs; neither free nor running is a window whose operation did not end.
    bool isRunning() const { return phase < Phase::Free; }

    void begin(Trial& next) {
        trial = &next;
        phase = Phase::Prepare;
        clock.start();
    }

    /// Takes the next step if the last one has ended.
    void advance() {
        if (!isRunning()) {
            return;
        }
        if (!send.isEnabled() && connectButton.text() != QStringLiteral("Connect")) {
            expect(clock.elapsed() < longestOperation, QStringLiteral("does not end"));
            phase = clock.elapsed() < longestOperation ? phase : Phase::Broken;
            return;
        }
        static constexpr std::array steps{&Station::prepare, &Station::act, &Station::judge,
                                          &Station::list, &Station::finish};
        const auto step = static_cast<std::size_t>(phase);
        phase = static_cast<Phase>(step + 1);
        (this->*steps.at(step))();
    }

private:
    enum class Phase { Prepare, Act, Judge, List, Finish, Free, Broken };

    void expect(bool isRight, const QString& finding) {
        if (!isRight) {
            trial->findings << finding;
        }
    }

    void openTool() {
        if (side == Side::Chips) {
            return;
        }
        side == Side::Images  ? window.openImages()
        : side == Side::Fonts ? window.openFonts()
                              : window.openSettings();
        for (auto* child : window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            tool = child->isWindow() && child->isVisible() ? child : tool;
        }
        if (side == Side::Settings) {
            return;
        }
        dialogs.answer([](QWidget* dialog) {
            if (auto* width = dialog->findChild<QSpinBox*>(QStringLiteral("newWidthBox"))) {
                width->setValue(85);
                child<QSpinBox>(*dialog, "newHeightBox").setValue(99);
            }
            QMetaObject::invokeMethod(dialog, "accept");
        });
        child(*tool, "newButton").click();
    }

    void connect() {
        clock.start();
        window.connectTo(QString::fromStdString(board->path()));
    }

    /// Presses what starts the operation and answers its question.
    void press(const Operation& operation) {
        auto* const entry = window.findChild<QAction*>(QString::fromUtf8(operation.button));
        auto* const button = (tool == nullptr ? &window : tool)
                                 ->findChild<QAbstractButton*>(QString::fromUtf8(operation.button));
        if (!(entry == nullptr ? button->isEnabled() : entry->isEnabled())) {
            expect(false, QStringLiteral("cannot be started"));
            return;
        }
        const qsizetype seen = dialogs.seen.size();
        if (operation.answer != nullptr) {
            dialogs.answer(QString::fromUtf8(operation.answer));
        }
        entry == nullptr ? button->click() : entry->trigger();
        expect(dialogs.unused() == 0 &&
                   dialogs.seen.size() - seen == (operation.answer == nullptr ? 0 : 1),
               QStringLiteral("asks something else"));
    }

    void prepare() {
        window.populate(sweptChip(), {});
        if (auto* slots = tool == nullptr ? nullptr : tool->findChild<QListWidget*>()) {
            slots->setCurrentRow(trial->operation->slot);
        } else {
            stored.setCurrentRow(1);
        }
        if (needsUpload(*trial->operation)) {
            send.click();
        } else if (trial->operation->button == std::string_view("connectButton")) {
            connectButton.click();
        }
    }

    void act() {
        board->clearRequests();
        trial->arm(*board);
        texts.clear();
        clock.start();
        press(*trial->operation);
    }

    void judge() {
        Observation seen{.texts = texts,
                         .requests = board->requests(),
                         .storage = {},
                         .state = state(),
                         .milliseconds = clock.elapsed()};
        board->withModel([&](BoardModel& model) {
            seen.storage = std::exchange(model.storage, sweptBoard().storage);
            model.clearFaults();
        });
        for (const QString& finding : trial->judge(seen)) {
            expect(false, finding);
        }
        if (tool != nullptr) {
            expect(child<QLabel>(*tool, "statusLabel").text() == seen.outcome(),
                   QStringLiteral("the tool window says otherwise"));
            expect(child(*tool, "refreshButton").isEnabled() == send.isEnabled(),
                   QStringLiteral("the tool window's controls differ"));
        }
        rejoin(seen.outcome().contains(QStringLiteral("Serial connection failed")));
    }

    /// Connects again, or has the tool window read what the board holds by now.
    void rejoin(bool isBoardLost) {
        if (isBoardLost) {
            board = std::make_unique<BoardServer>(sweptBoard());
        }
        if (send.isEnabled() && trial->reconnects) {
            connectButton.click();
        }
        keepsUpload = send.isEnabled() && save.isEnabled();
        if (!send.isEnabled()) {
            connect();
        } else if (tool != nullptr) {
            child(*tool, "refreshButton").click();
        }
    }

    void list() {
        clock.start();
        refresh.click();
    }

    void finish() {
        expect(output.toPlainText() == QStringLiteral("Loaded 3 stored tests from PCB.") &&
                   stored.count() == 3 && state() == idleState(true, keepsUpload),
               QStringLiteral("then lists ") + output.toPlainText() + state());
    }

    /// Texts and enabled states of the controls that act on the board.
    QString state() const {
        static constexpr std::array controls{"portBox",        "portRefreshButton", "connectButton",
                                             "refreshButton",  "storedChipList",    "sendButton",
                                             "batchSaveButton"};
        const auto sign = [](bool isEnabled) { return isEnabled ? u'+' : u'-'; };
        const QString status = child<QLabel>(window, "statusLabel").text();
        const QString who = QStringLiteral("Pivex PCB simulator");
        QStringList parts{status.section(who, 0, 0), connectButton.text(), send.text(), {}};
        for (const char* name : controls) {
            parts[3] += sign(child<QWidget>(window, name).isEnabled());
        }
        for (const char* name : {"refreshEntry", "deleteAllEntry"}) {
            parts[3] += sign(child<QAction>(window, name).isEnabled());
        }
        const bool isSelected = stored.currentRow() >= 0;
        const bool canLoad = child(window, "loadSelectedButton").isEnabled();
        const bool canDelete = child(window, "deleteSelectedButton").isEnabled();
        parts[3] += sign(send.isEnabled() && canLoad == isSelected && canDelete == isSelected);
        return parts.join(u'|') + u'|' + sign(save.isEnabled());
    }

    Dialogs& dialogs;
    Side side;
    std::unique_ptr<BoardServer> board = std::make_unique<BoardServer>(sweptBoard());
    ChipWindow window{sweepTimings};
    QWidget* tool = nullptr;
    QPlainTextEdit& output = child<QPlainTextEdit>(window, "outputPane");
    QListWidget& stored = child<QListWidget>(window, "storedChipList");
    QAbstractButton& save = child(window, "saveButton");
    QAbstractButton& send = child(window, "sendButton");
    QAbstractButton& refresh = child(window, "refreshButton");
    QAbstractButton& connectButton = child(window, "connectButton");
    Trial arrival{};
    Trial* trial = &arrival;
    Phase phase = Phase::List;
    bool keepsUpload = false; ///< the connection goes on with a sent test that waits to be saved
    QStringList texts;
    QElapsedTimer clock;
};

} // namespace pivex::testing
