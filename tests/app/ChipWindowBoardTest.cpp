#include "ChipWindowBench.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

ChipDocument chip(const std::string& name) {
    return {.name = name, .code = "GOSTRT\nENDTEST\n", .strings = {}};
}

/// A board with stored tests of these names.
BoardModel boardWith(const std::vector<std::string>& names) {
    BoardModel model;
    for (const std::string& name : names) {
        const Bytes code = compileChip(chip(name)).bytes;
        model.storage.chips.push_back({.name = name, .type = 4, .pins = 16, .code = code});
    }
    return model;
}

QString controls(const ChipWindowBench& bench) {
    return enabledStates(bench.window,
                         {"portBox", "portRefreshButton", "connectButton", "refreshButton",
                          "refreshEntry", "deleteAllEntry", "storedChipList", "sendButton",
                          "loadSelectedButton", "deleteSelectedButton", "batchSaveButton"});
}

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
        bench.click("connectButton");
        QCOMPARE(bench.status() + controls(bench), u"Connecting…"_s + busy);
        QVERIFY(bench.unlinked());
        QVERIFY(bench.output().startsWith(u"Cannot open serial port"_s));
        QCOMPARE(bench.port.currentText(), typed);
        QCOMPARE(bench.port.findText(typed), -1);
    }

    void listsWhatTheBoardHolds() {
        BoardModel model = boardWith({"<b>a</b>\r\nb", "", "cut \xC3"});
        model.identity = "<i>" + std::string(200, 'w') + "</i>\n";
        ConnectedBench bench(model);
        QCOMPARE(bench.rows(), u"001  <b>a</b>\uFFFD\uFFFDb|002  Unnamed chip 2|003  cut \uFFFD"_s);
        QVERIFY(bench.status().startsWith(u"Connected: <i>www"_s));
        QCOMPARE(child<QLabel>(bench.window, "statusLabel").textFormat(), Qt::PlainText);
        QVERIFY(bench.window.minimumSizeHint().width() <=
                ChipWindowBench().window.minimumSizeHint().width());
        QCOMPARE(controls(bench), u"--++++++---"_s);
        bench.stored.setCurrentRow(0);
        bench.window.addPaths({u"any.chip"_s});
        QCOMPARE(controls(bench), u"--+++++++++"_s);
        bench.click("deleteSelectedButton", QMessageBox::Cancel);
        QVERIFY(bench.lastBox().text.contains(u"'001  <b>a</b>\uFFFD\uFFFDb'"_s));
        bench.board.withModel([](BoardModel& board) { board.storage.chips.pop_back(); });
        bench.trigger("refreshEntry");
        QCOMPARE(controls(bench), busy);
        QVERIFY(bench.idle());
        QCOMPARE(bench.stored.count(), 2);
        bench.click("connectButton");
        QCOMPARE(bench.output() + bench.status() + bench.rows(), u"Disconnected.Not Connected"_s);
    }

    void sendsAndSavesTheEditor() {
        ConnectedBench bench(boardWith({"Counter"}));
        bench.click("sendButton");
        QCOMPARE(bench.lastBox().text, u"Chip name must be 1-32 UTF-8 bytes on one line."_s);
        bench.window.populate(chip("<b>New</b>"), {});
        bench.click("sendButton");
        QCOMPARE(controls(bench), busy);
        bench.name.setText(u"New"_s);
        QVERIFY(bench.idle());
        QCOMPARE(bench.output(),
                 u"Send complete: <b>New</b> (32 code bytes). All packets acknowledged. Not "
                 "permanently saved; not run.\n"
                 "The editor changed during transfer; those newer edits were NOT sent."_s);
        QVERIFY(!bench.enabled("saveButton"));

        bench.name.setText(u"<b>Newer</b>"_s);
        QVERIFY(bench.runs("sendButton"));
        bench.click("saveButton", Qt::Key_Return);
        QVERIFY(bench.enabled("sendButton"));
        QCOMPARE(bench.lastBox().format, Qt::PlainText);
        QVERIFY(bench.lastBox().text.contains(u"'<b>Newer</b>'"_s));
        bench.click("saveButton", QMessageBox::Yes, [&] { QTest::keyClicks(&bench.code, u" "_s); });
        QVERIFY(bench.enabled("sendButton") && !bench.enabled("saveButton"));

        QVERIFY(bench.runs("sendButton"));
        QVERIFY(bench.runs("saveButton", QMessageBox::Yes));
        QCOMPARE(bench.rows(), u"001  Counter|002  <b>Newer</b>"_s);
        QVERIFY(!bench.enabled("saveButton"));

        QVERIFY(bench.runs("sendButton"));
        bench.board.withModel([](BoardModel& model) { model.uploadMode = false; });
        QVERIFY(bench.runs("saveButton", QMessageBox::Yes));
        // Nothing runs any more that this could interrupt.
        bench.click("connectButton");
        QCOMPARE(bench.output(), u"Disconnected."_s);
    }

    void asksBeforeItStops_data() {
        QTest::addColumn<QString>("agreement");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("sendButton") << u""_s << u"Upload in progress"_s << u"Upload interrupted."_s;
        QTest::newRow("deleteSelectedButton") << u"Delete Selected"_s << u"Deletion in progress"_s
                                              << u"Disconnected during deletion."_s;
        QTest::newRow("batchSaveButton") << u"Yes"_s << u"Storage operation in progress"_s
                                         << u"Storage operation interrupted."_s;
    }

    void asksBeforeItStops() {
        QFETCH(const QString, agreement);
        QFETCH(const QString, outcome);
        ConnectedBench bench(boardWith({"Counter"}));
        bench.spoil({.kind = FaultKind::Late, .delay = std::chrono::seconds(20)});
        bench.window.populate(chip("Sent"), bench.path(u"sent.chip"_s));
        QVERIFY(bench.window.save(false));
        bench.window.addPaths({bench.path(u"sent.chip"_s)});
        bench.stored.setCurrentRow(0);
        bench.click(QTest::currentDataTag(), agreement);
        bench.dialogs.forget();
        bench.window.show();
        bench.click("connectButton", Qt::Key_Return);
        bench.dialogs.answer(Qt::Key_Escape);
        QVERIFY(!bench.window.close());
        QCOMPARE(controls(bench), busy);
        bench.click("connectButton", QMessageBox::Yes);
        QVERIFY(bench.output().startsWith(outcome));
        QCOMPARE(bench.dialogs.seen.size(), 3);
        QTEST(bench.lastBox().title, "title");
        QVERIFY(bench.window.close());
    }

    void keepsTheFailureThatCameUnderTheQuestion() {
        ConnectedBench bench;
        bench.spoil({.command = Command::UploadMetadata, .kind = FaultKind::HangUp});
        bench.window.populate(chip("Sent"), {});
        bench.click("sendButton");
        bench.click("connectButton", QMessageBox::Yes, [&] { QVERIFY(bench.unlinked()); });
        QVERIFY(bench.output().startsWith(u"Upload stopped: Serial connection failed"_s));
    }

    void readsAStoredTest() {
        ConnectedBench bench(boardWith({"Counter", "RAM"}));
        const auto load = [&](QMessageBox::StandardButton answer, int rowMeanwhile) {
            bench.click("loadSelectedButton", answer,
                        [&bench, rowMeanwhile] { bench.stored.setCurrentRow(rowMeanwhile); });
        };
        bench.stored.setCurrentRow(0);
        bench.name.setText(u"edited"_s);
        load(QMessageBox::Cancel, 0);
        load(QMessageBox::Discard, -1);
        QVERIFY(bench.enabled("sendButton") && bench.board.requests().empty());
        bench.stored.setCurrentRow(0);
        load(QMessageBox::Discard, 1);
        bench.name.setText(u"edited later"_s);
        QVERIFY(bench.idle());
        QVERIFY(bench.output().startsWith(u"Read finished, but the editor changed meanwhile."_s));
        QCOMPARE(bench.name.text(), u"edited later"_s);
        load(QMessageBox::Discard, 1);
        QVERIFY(bench.idle());
        QCOMPARE(bench.name.text(), u"RAM"_s);
        QCOMPARE(bench.window.document().pins, 16);
        QCOMPARE(compileChip(bench.window.document()).bytes, compileChip(chip("RAM")).bytes);
        QCOMPARE(bench.window.windowTitle(), u"PivexGUI — Linux chips *"_s);
    }

    void deletesOnlyWhatWasAgreedOn() {
        ConnectedBench bench(boardWith({"Counter\x01", "RAM", "ROM"}));
        bench.stored.setCurrentRow(1);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
            bench.click("deleteSelectedButton", key);
            bench.dialogs.answer(key);
            bench.trigger("deleteAllEntry");
            QCOMPARE(bench.lastBox().title, u"Delete All Chips?"_s);
        }
        bench.click("deleteSelectedButton", u"Delete Selected"_s,
                    [&] { bench.stored.setCurrentRow(2); });
        QVERIFY(bench.enabled("sendButton") && bench.board.requests().empty());
        // The first new list shows the same row for another test.
        for (const std::string other : {"Counter\x02", "RAM"}) {
            bench.stored.setCurrentRow(0);
            bench.click("deleteSelectedButton", u"Delete Selected"_s, [&] {
                bench.board.withModel([&](auto& model) { model.storage.chips[0].name = other; });
                QVERIFY(bench.runs("refreshButton"));
                bench.stored.setCurrentRow(0);
            });
        }
        bench.stored.setCurrentRow(1);
        QVERIFY(bench.runs("deleteSelectedButton", u"Delete Selected"_s));
        QVERIFY(bench.lastBox().text.startsWith(
            u"Permanently delete '002  RAM' from the PCB?\n\nOnly this"_s));
        QCOMPARE(bench.rows(), u"001  RAM|002  ROM"_s);
        bench.dialogs.answer(u"Delete All Chips"_s, [&] { bench.click("connectButton"); });
        bench.trigger("deleteAllEntry");
        QCOMPARE(bench.output(), u"Disconnected."_s);
        QVERIFY(bench.connectTo(bench.board));
        QCOMPARE(bench.stored.count(), 2);
    }

    void savesABatchInListOrder() {
        ConnectedBench bench;
        for (const char* name : {"zeta", "Ωmega", "alpha"}) {
            bench.window.addPaths(
                {bench.file(QString::fromUtf8(name) + u".chip"_s, encodeChip(chip(name)))});
        }
        bench.window.addPaths({bench.file(u"bad.chip"_s, "no")});
        bench.click("batchSaveButton", Qt::Key_Return);
        QVERIFY(bench.lastBox().text.startsWith(u"Permanently save all 4 files in the left"_s));
        bench.click("batchSaveButton", QMessageBox::Yes);
        QVERIFY(bench.lastBox().text.startsWith(u"Batch preflight failed for bad.chip: "_s));
        QVERIFY(bench.enabled("sendButton") && bench.board.requests().empty());
        bench.files.setCurrentRow(3);
        bench.click("removeButton");
        QVERIFY(bench.runs("batchSaveButton", QMessageBox::Yes));
        QCOMPARE(bench.rows(), u"001  zeta|002  Ωmega|003  alpha"_s);
    }
};

QTEST_MAIN(ChipWindowBoardTest)
#include "ChipWindowBoardTest.moc"
