#include "ChipWindowBench.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

ChipDocument chip(const std::string& name) {
    ChipDocument made;
    made.name = name;
    made.code = "GOSTRT\nENDTEST\n";
    return made;
}

/// A board with stored tests of these names.
BoardModel boardWith(const std::vector<std::string>& names, const std::vector<Fault>& faults = {}) {
    BoardModel model;
    for (const std::string& name : names) {
        const Bytes code = compileChip(chip(name)).bytes;
        model.storage.chips.push_back({.name = name, .type = 4, .pins = 16, .code = code});
    }
    std::ranges::for_each(faults, [&](const Fault& fault) { model.addFault(fault); });
    return model;
}

qsizetype count(const BoardServer& board, Command command) {
    return std::ranges::count(board.requests(), command, &BoardRequest::command);
}

constexpr std::array boardControls{
    "portBox",    "portRefreshButton",  "connectButton",        "refreshButton", "storedChipList",
    "sendButton", "loadSelectedButton", "deleteSelectedButton", "saveButton",    "batchSaveButton"};

/// One letter for each of `boardControls` and one for the menu: + enabled, - disabled.
QString controls(const ChipWindowBench& bench) {
    QString pattern;
    for (const char* name : boardControls) {
        pattern += bench.enabled(name) ? u'+' : u'-';
    }
    const bool menu = child<QAction>(bench.window, "deleteAllEntry").isEnabled();
    const bool same = child<QAction>(bench.window, "refreshEntry").isEnabled() == menu;
    return pattern + (!same ? u'?' : menu ? u'+' : u'-');
}

const QString disconnected = u"+++--------"_s;
const QString busy = u"--+--------"_s;

} // namespace

class ChipWindowBoardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void keepsWhatIsTypedAsPort() {
        ChipWindowBench bench;
        const QString typed = u"/dev/Pts/None"_s;
        bench.window.show();
        bench.port.lineEdit()->clear();
        QCOMPARE(controls(bench), u"++---------"_s);
        QTest::keyClicks(bench.port.lineEdit(), typed);
        QTest::keyClick(bench.port.lineEdit(), Qt::Key_Return);
        if (bench.port.count() == 0) {
            bench.click("portRefreshButton");
        }
        QCOMPARE(bench.port.currentText(), typed);
        QCOMPARE(bench.port.findText(typed), -1);
        QCOMPARE(controls(bench), disconnected);
        bench.click("connectButton");
        QCOMPARE(bench.status(), u"Connecting…"_s);
        QCOMPARE(controls(bench), busy);
        QVERIFY(bench.unlinked());
        QVERIFY(bench.output().startsWith(u"Cannot open serial port"_s));
        QCOMPARE(bench.port.currentText(), typed);
    }

    void connectsListsAndDisconnects() {
        ChipWindowBench bench;
        BoardServer board(boardWith({"Counter", "", "RAM"}));
        QVERIFY(bench.connectTo(board));
        QCOMPARE(bench.status(), u"Connected: Pivex PCB simulator"_s);
        QCOMPARE(bench.rows(), u"001  Counter|002  Unnamed chip 2|003  RAM"_s);
        QCOMPARE(bench.output(), u"Loaded 3 stored tests from PCB."_s);
        QCOMPARE(controls(bench), u"--++++----+"_s);
        bench.stored.setCurrentRow(1);
        bench.window.addPaths({u"any.chip"_s});
        QCOMPARE(controls(bench), u"--++++++-++"_s);
        board.withModel([](BoardModel& model) { model.storage.chips.pop_back(); });
        child<QAction>(bench.window, "refreshEntry").trigger();
        QCOMPARE(controls(bench), busy);
        QVERIFY(bench.idle());
        QCOMPARE(bench.stored.count(), 2);
        bench.click("connectButton");
        QCOMPARE(bench.output(), u"Disconnected."_s);
        QCOMPARE(bench.status(), u"Not Connected"_s);
        QCOMPARE(bench.stored.count(), 0);
    }

    void sendsSavesAndLists() {
        ChipWindowBench bench;
        BoardServer board(boardWith({"Counter"}));
        QVERIFY(bench.connectTo(board));
        bench.click("sendButton");
        QCOMPARE(bench.lastBox().text, u"Chip name must be 1-32 UTF-8 bytes on one line."_s);
        QVERIFY(bench.enabled("sendButton"));

        bench.window.populate(chip("<b>New</b>"), {});
        bench.click("sendButton");
        QCOMPARE(child(bench.window, "sendButton").text(), u"Sending…"_s);
        QCOMPARE(controls(bench), busy);
        QVERIFY(bench.idle());
        QVERIFY(bench.output().startsWith(u"Send complete: <b>New</b> (32 code bytes)."_s));
        bench.click("saveButton", Qt::Key_Return);
        QCOMPARE(bench.lastBox().format, Qt::PlainText);
        QVERIFY(bench.lastBox().text.contains(u"'<b>New</b>'"_s));
        bench.click("saveButton", QMessageBox::Yes, [&] { QTest::keyClicks(&bench.code, u" "_s); });
        QCOMPARE(count(board, Command::PermanentSave), 0);
        QVERIFY(!bench.enabled("saveButton"));

        bench.click("sendButton");
        QVERIFY(bench.idle());
        bench.click("saveButton", QMessageBox::Yes);
        QCOMPARE(controls(bench), busy);
        QVERIFY(bench.idle());
        QCOMPARE(bench.output(),
                 u"Permanently saved <b>New</b>. Loaded 2 stored tests from PCB."_s);
        QCOMPARE(bench.rows(), u"001  Counter|002  <b>New</b>"_s);
        QVERIFY(!bench.enabled("saveButton"));
    }

    void keepsEditsMadeDuringATransfer() {
        ChipWindowBench bench;
        BoardServer board(boardWith({"Stored"}));
        QVERIFY(bench.connectTo(board));
        bench.window.populate(chip("Old"), {});
        bench.click("sendButton");
        bench.name.setText(u"Newer"_s);
        QVERIFY(bench.idle());
        QVERIFY(bench.output().startsWith(u"Send complete: Old "_s));
        QVERIFY(bench.output().endsWith(
            u"\nThe editor changed during transfer; those newer edits were NOT sent."_s));
        QVERIFY(!bench.enabled("saveButton"));
        bench.stored.setCurrentRow(0);
        bench.click("loadSelectedButton", QMessageBox::Discard);
        bench.name.setText(u"Newest"_s);
        QVERIFY(bench.idle());
        QVERIFY(bench.output().startsWith(u"Read finished, but the editor changed meanwhile."_s));
        QCOMPARE(bench.name.text(), u"Newest"_s);
    }

    void staysConnectedWithoutUploadMode() {
        ChipWindowBench bench;
        BoardServer board;
        QVERIFY(bench.connectTo(board));
        bench.window.populate(chip("Sent"), {});
        bench.click("sendButton");
        QVERIFY(bench.idle());
        board.withModel([](BoardModel& model) { model.uploadMode = false; });
        bench.click("saveButton", QMessageBox::Yes);
        QVERIFY(bench.idle());
        QVERIFY(bench.output().endsWith(u"Send the chip again before saving."_s));
        QVERIFY(!bench.enabled("saveButton"));
        bench.click("sendButton");
        QVERIFY(bench.idle());
        QVERIFY(bench.output().endsWith(u"No chip data sent."_s));
        bench.click("connectButton");
        QCOMPARE(bench.dialogs.seen.size(), 1);
    }

    void asksBeforeItStops_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("sendButton") << u"Upload in progress"_s << u"Upload interrupted. The PCB"_s;
        QTest::newRow("deleteSelectedButton")
            << u"Deletion in progress"_s << u"Disconnected during deletion. Deletion may"_s;
        QTest::newRow("batchSaveButton")
            << u"Storage operation in progress"_s << u"Storage operation interrupted. Earlier"_s;
        QTest::newRow("refreshButton") << QString() << u"Disconnected."_s;
    }

    void asksBeforeItStops() {
        QFETCH(const QString, title);
        QFETCH(const QString, outcome);
        ChipWindowBench bench;
        BoardServer board(boardWith({"Counter"}));
        QVERIFY(bench.connectTo(board));
        board.withModel([](BoardModel& model) {
            model.addFault({.kind = FaultKind::Late, .delay = std::chrono::seconds(20)});
        });
        bench.window.populate(chip("Sent"), bench.path(u"sent.chip"_s));
        QVERIFY(bench.window.save(false));
        bench.window.addPaths({bench.path(u"sent.chip"_s)});
        bench.stored.setCurrentRow(0);
        bench.dialogs.answer([](QWidget* question) {
            for (QPushButton* button : question->findChildren<QPushButton*>()) {
                if (!button->isDefault()) {
                    return button->click();
                }
            }
        });
        bench.click(QTest::currentDataTag());
        QCOMPARE(controls(bench), busy);
        bench.dialogs.forget();
        bench.window.show();
        if (!title.isEmpty()) {
            bench.click("connectButton", Qt::Key_Return);
            bench.dialogs.answer(Qt::Key_Escape);
            QVERIFY(!bench.window.close());
            QCOMPARE(controls(bench), busy);
            bench.dialogs.answer(QMessageBox::Yes);
        }
        bench.click("connectButton");
        QVERIFY(bench.output().startsWith(outcome));
        QCOMPARE(controls(bench), disconnected);
        QCOMPARE(bench.dialogs.seen.size(), title.isEmpty() ? 0 : 3);
        for (const SeenDialog& box : bench.dialogs.seen) {
            QCOMPARE(box.title, title);
        }
        QVERIFY(bench.window.close());
    }

    void keepsTheFailureThatCameUnderTheQuestion() {
        ChipWindowBench bench;
        BoardServer board(
            boardWith({}, {{.command = Command::UploadMetadata, .kind = FaultKind::HangUp}}));
        QVERIFY(bench.connectTo(board));
        bench.window.populate(chip("Sent"), {});
        bench.click("sendButton");
        bench.click("connectButton", QMessageBox::Yes, [&] { QVERIFY(bench.unlinked()); });
        QVERIFY(bench.output().startsWith(u"Upload stopped: Serial connection failed"_s));
    }

    void comesBackAfterAFailure() {
        ChipWindowBench bench;
        auto board = std::make_unique<BoardServer>(boardWith({"Counter"}));
        QVERIFY(bench.connectTo(*board));
        board.reset();
        QVERIFY(bench.unlinked());
        QCOMPARE(bench.stored.count(), 0);
        QCOMPARE(controls(bench), disconnected);
        board = std::make_unique<BoardServer>(boardWith({"RAM"}));
        QVERIFY(bench.connectTo(*board));
        QCOMPARE(bench.rows(), u"001  RAM"_s);
    }

    void readsAStoredTest() {
        ChipWindowBench bench;
        BoardServer board(boardWith({"Counter", "RAM"}));
        QVERIFY(bench.connectTo(board));
        bench.stored.setCurrentRow(1);
        bench.name.setText(u"edited"_s);
        board.clearRequests();
        bench.click("loadSelectedButton", QMessageBox::Cancel);
        bench.click("loadSelectedButton", QMessageBox::Discard,
                    [&] { bench.stored.setCurrentRow(-1); });
        QVERIFY(board.requests().empty());
        QCOMPARE(bench.name.text(), u"edited"_s);
        bench.stored.setCurrentRow(0);
        bench.click("loadSelectedButton", QMessageBox::Discard,
                    [&] { bench.stored.setCurrentRow(1); });
        QCOMPARE(controls(bench), busy);
        QVERIFY(bench.idle());
        QCOMPARE(bench.name.text(), u"RAM"_s);
        QCOMPARE(bench.window.document().pins, 16);
        QCOMPARE(compileChip(bench.window.document()).bytes, compileChip(chip("RAM")).bytes);
        QCOMPARE(bench.window.windowTitle(), u"PivexGUI — Linux chips *"_s);
        QVERIFY(bench.output().startsWith(u"Chip loaded from PCB."_s));
        QCOMPARE(bench.stored.currentRow(), 1);
    }

    void asksBeforeItDeletes() {
        ChipWindowBench bench;
        BoardServer board(boardWith({"Counter", "RAM", "ROM"}));
        QVERIFY(bench.connectTo(board));
        auto& all = child<QAction>(bench.window, "deleteAllEntry");
        bench.stored.setCurrentRow(1);
        board.clearRequests();
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
            bench.click("deleteSelectedButton", key);
            QCOMPARE(bench.lastBox().title, u"Delete Selected Chip?"_s);
            bench.dialogs.answer(key);
            all.trigger();
            QCOMPARE(bench.lastBox().title, u"Delete All Chips?"_s);
        }
        QVERIFY(board.requests().empty());
        QCOMPARE(bench.stored.currentRow(), 1);

        bench.click("deleteSelectedButton", u"Delete Selected"_s);
        QVERIFY(bench.lastBox().text.startsWith(
            u"Permanently delete '002  RAM' from the PCB?\n\nOnly this"_s));
        QCOMPARE(controls(bench), busy);
        QCOMPARE(bench.output(), u"Deleting 002  RAM from PCB..."_s);
        QVERIFY(bench.idle());
        QCOMPARE(bench.rows(), u"001  Counter|002  ROM"_s);
        QCOMPARE(bench.output(),
                 u"Selected chip deletion acknowledged. Loaded 2 stored tests from PCB."_s);

        bench.dialogs.answer(u"Delete All Chips"_s);
        all.trigger();
        QCOMPARE(bench.output(), u"Erasing all chips from Pivex..."_s);
        QVERIFY(bench.idle());
        QCOMPARE(bench.output(), u"Loaded 0 stored tests from PCB."_s);
    }

    void deletesNothingElse() {
        ChipWindowBench bench;
        BoardServer board(boardWith({"Counter\x01", "RAM", "ROM"}));
        QVERIFY(bench.connectTo(board));
        // The first new list shows the same row for another test.
        for (const std::string other : {"Counter\x02", "RAM"}) {
            bench.stored.setCurrentRow(0);
            bench.click("deleteSelectedButton", u"Delete Selected"_s, [&] {
                board.withModel([&](BoardModel& model) { model.storage.chips[0].name = other; });
                bench.click("refreshButton");
                QVERIFY(bench.idle());
                bench.stored.setCurrentRow(0);
            });
        }
        bench.click("deleteSelectedButton", u"Delete Selected"_s,
                    [&] { bench.stored.setCurrentRow(2); });
        bench.dialogs.answer(u"Delete All Chips"_s, [&] { bench.click("connectButton"); });
        child<QAction>(bench.window, "deleteAllEntry").trigger();
        QCOMPARE(count(board, Command::DeleteSelectedChip), 0);
        QCOMPARE(count(board, Command::DeleteAllChips), 0);
        QCOMPARE(bench.output(), u"Disconnected."_s);
    }

    void savesABatchInListOrder() {
        ChipWindowBench bench;
        BoardServer board;
        QVERIFY(bench.connectTo(board));
        for (const char* name : {"zeta", "Ωmega", "alpha"}) {
            bench.window.addPaths(
                {bench.file(QString::fromUtf8(name) + u".chip"_s, encodeChip(chip(name)))});
        }
        bench.click("batchSaveButton", Qt::Key_Return);
        QVERIFY(bench.lastBox().text.startsWith(u"Permanently save all 3 files in the left"_s));
        bench.window.addPaths({bench.file(u"bad.chip"_s, "no")});
        const QString before = controls(bench);
        bench.click("batchSaveButton", QMessageBox::Yes);
        QVERIFY(bench.lastBox().text.startsWith(u"Batch preflight failed for bad.chip: "_s));
        QCOMPARE(controls(bench), before);
        QCOMPARE(count(board, Command::UploadModeCheck), 0);

        bench.files.setCurrentRow(3);
        bench.click("removeButton");
        bench.click("batchSaveButton", QMessageBox::Yes);
        QVERIFY(bench.output().startsWith(u"All batch files validated."_s));
        QVERIFY(bench.idle());
        QCOMPARE(bench.rows(), u"001  zeta|002  Ωmega|003  alpha"_s);
        QVERIFY(bench.output().startsWith(u"Batch complete: 3 chips permanently saved. Loaded"_s));
    }

    void showsStrangeNamesAsTheyAre() {
        ChipWindowBench bench;
        BoardModel model = boardWith({"<b>a</b>\r\nb", "cut \xC3"});
        model.identity = "<i>" + std::string(200, 'w') + "</i>\n";
        BoardServer board(model);
        const int width = bench.window.minimumSizeHint().width();
        QVERIFY(bench.connectTo(board));
        QCOMPARE(bench.rows(), u"001  <b>a</b>\uFFFD\uFFFDb|002  cut \uFFFD"_s);
        QVERIFY(bench.status().startsWith(u"Connected: <i>www"_s));
        QCOMPARE(child<QLabel>(bench.window, "statusLabel").textFormat(), Qt::PlainText);
        QVERIFY(bench.window.minimumSizeHint().width() <= width);
        bench.stored.setCurrentRow(0);
        bench.click("deleteSelectedButton", QMessageBox::Cancel);
        QVERIFY(bench.lastBox().text.contains(u"'001  <b>a</b>\uFFFD\uFFFDb'"_s));
    }
};

QTEST_MAIN(ChipWindowBoardTest)
#include "ChipWindowBoardTest.moc"
