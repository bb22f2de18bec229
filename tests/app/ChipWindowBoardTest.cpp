#include "ChipWindowBench.h"

using namespace pivex;
using namespace pivex::testing;

class ChipWindowBoardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void startsInTheEditor() {
        const ChipWindowBench bench;
        QCOMPARE(bench.window.focusWidget(), &bench.code);
    }

    void keepsWhatIsTypedAsPort() {
        ChipWindowBench bench;
        const QString typed = u"/dev/Pts/None"_s;
        bench.window.show();
        bench.port.lineEdit()->clear();
        QVERIFY(!bench.isEnabled("connectButton"));
        QTest::keyClicks(bench.port.lineEdit(), typed);
        bench.play(R"(
            start connectButton => Connecting…; -p
            wait => Cannot open serial port (check USB passthrough and dialout permissions): No such
                file or directory; Not Connected; +p
        )");
        QCOMPARE(bench.port.currentText(), typed);
    }

    void sendsAndSavesTheEditor() {
        ConnectedBench bench(boardWith({u"Counter"_s}));
        bench.play(R"(
            sendButton | OK => ? PivexGUI: Chip name must be 1-32 UTF-8 bytes on one line.
            chip <b>New</b> => <b>New</b>: GOSTRT ENDTEST; no text
            start sendButton => Checking Upload Mode and sending the current editor snapshot. This
                will not save permanently or run the test.; -RASl
            fill nameEdit New => talks; title *; New: GOSTRT ENDTEST; Send complete: <b>New</b> (32
                code bytes). All packets acknowledged. Not permanently saved; not run. The editor
                changed during transfer; those newer edits were NOT sent.; +RASl
            chip <b>Newer</b> => title; <b>Newer</b>: GOSTRT ENDTEST; no text
            sendButton => talks; Send complete: <b>Newer</b> (32 code bytes). All packets
                acknowledged. Not permanently saved; not run.; +V
            saveButton | Return => ? Save to Pivex: Permanently save the acknowledged upload
                '<b>Newer</b>' on the PCB? [Cancel]
            saveButton | Yes after type codeEditor ENDTEST => ? Save to Pivex [Cancel]; title *;
                <b>Newer</b>: ENDTEST; -V
            sendButton => talks; Send complete: <b>Newer</b> (16 code bytes). All packets
                acknowledged. Not permanently saved; not run.; +V
            saveButton | Yes => talks; ? Save to Pivex [Cancel]; stored 001 Counter | 002
                <b>Newer</b>; Permanently saved <b>Newer</b>. Loaded 2 stored tests from PCB.; -V
            sendButton => talks; Send complete: <b>Newer</b> (16 code bytes). All packets
                acknowledged. Not permanently saved; not run.; +V
            leave =>
            saveButton | Yes => talks; ? Save to Pivex [Cancel]; PCB is not in Upload Mode. Send the
                chip again before saving.; -V
            connectButton => no stored; Disconnected.; Not Connected; +p-RASl
        )");
    }

    void asksBeforeItStops() {
        const std::array<QString, 3> cases[] = {
            {u"sendButton"_s, u"Upload in progress"_s, u"Upload interrupted."_s},
            {u"deleteSelectedButton | Delete Selected"_s, u"Deletion in progress"_s,
             u"Disconnected during deletion."_s},
            {u"batchSaveButton | Yes"_s, u"Storage operation in progress"_s,
             u"Storage operation interrupted."_s}};
        for (const auto& [operation, title, outcome] : cases) {
            ConnectedBench bench(boardWith({u"Counter"_s}));
            for (const QString& action :
                 {u"late"_s, u"chip Sent"_s, u"saveFileButton | /sent.chip"_s, u"add sent.chip"_s,
                  u"row 0"_s, operation, u"connectButton | Return"_s, u"close | Escape"_s}) {
                bench.act(action);
            }
            QVERIFY(bench.told.contains(u"stays"_s) && !bench.isEnabled("sendButton"));
            bench.act(u"connectButton | Yes"_s);
            QVERIFY(bench.output().startsWith(outcome));
            QCOMPARE(bench.dialogs.seen.last().title, title);
            QCOMPARE(bench.dialogs.seen.last().defaultButton, u"No"_s);
            QVERIFY(bench.window.close());
        }
    }

    void keepsTheFailureThatCameUnderTheQuestion() {
        ConnectedBench bench;
        for (const QString& action :
             {u"cut"_s, u"chip Sent"_s, u"sendButton"_s, u"connectButton | Yes after wait"_s}) {
            bench.act(action);
        }
        QVERIFY(bench.output().startsWith(u"Upload stopped: Serial connection failed"_s));
    }

    void readsAStoredTest() {
        ConnectedBench bench(boardWith({u"Counter"_s, u"RAM"_s}));
        bench.play(R"(
            row 0 => +LD
            fill nameEdit edited => title *; edited: /* code starts here */
            loadSelectedButton | Cancel => ? Unsaved chip: Save your changes first? [Save]
            loadSelectedButton | Discard after row -1 => ? Unsaved chip [Save]; -LD
            row 0 => +LD
            start loadSelectedButton | Discard after row 1 => ? Unsaved chip [Save]; -RASLDl
            fill nameEdit later => talks; later: /* code starts here */ ; Read finished, but the
                editor changed meanwhile. Your changes were kept; use Load Selected again.; +RASLDl
            loadSelectedButton | Discard => talks; ? Unsaved chip [Save]; RAM: GOSTRT ENDTEST; Chip
                loaded from PCB. Save As to keep a local copy. Not run.
            start loadSelectedButton | Discard => ? Unsaved chip [Save]; -RASLDl
            newFileButton | Cancel after wait => talks; ? Unsaved chip [Save]; Read finished, but
                the editor changed meanwhile. Your changes were kept; use Load Selected again.;
                +RASLDl
        )");
        QCOMPARE(bench.window.document().pins, 16);
    }

    void leavesTheChoiceToTheUser() {
        ConnectedBench bench(boardWith({u"Counter"_s, u"RAM"_s}));
        bench.verbs[u"down"_s] = [&](auto&) { QTest::keyClick(&bench.stored, Qt::Key_Down); };
        bench.window.show();
        QVERIFY(QTest::qWaitForWindowActive(&bench.window));
        bench.stored.setFocus();
        bench.play(R"(
            down => +LD
            refreshEntry => talks; -LD
            down => +LD
        )");
    }

    void deletesOnlyWhatWasAgreedOn() {
        ConnectedBench bench(boardWith({u"Counter\x01"_s, u"RAM"_s, u"ROM"_s}));
        bench.play(R"(
            row 1 => +LD
            deleteSelectedButton | Return => ? Delete Selected Chip?: Permanently delete '002 RAM'
                from the PCB? Only this stored test will be deleted. Local files and the editor are
                unchanged. This cannot be undone. [Cancel]
            deleteSelectedButton | Escape => ? Delete Selected Chip? [Cancel]
            deleteAllEntry | Return => ? Delete All Chips?: Permanently delete EVERY chip stored on
                the connected Pivex? Images, fonts, settings, local files and the editor will not be
                affected. This cannot be undone. [Cancel]
            deleteAllEntry | Escape => ? Delete All Chips? [Cancel]
            deleteSelectedButton | Delete Selected after row 2 => ? Delete Selected Chip? [Cancel]
            row 0 =>
            deleteSelectedButton | Delete Selected after holds Counter\2 RAM ROM after refreshButton
                after wait after row 0 => talks; ? Delete Selected Chip?: Permanently delete '001
                Counter�' from the PCB? Only this stored test will be deleted. Local files and the
                editor are unchanged. This cannot be undone. [Cancel]
            row 0 =>
            deleteSelectedButton | Delete Selected after holds RAM RAM ROM after refreshButton after
                wait after row 0 => talks; ? Delete Selected Chip? [Cancel]; stored 001 RAM | 002
                RAM | 003 ROM
            row 1 =>
            deleteSelectedButton | Delete Selected => talks; ? Delete Selected Chip? [Cancel];
                stored 001 RAM | 002 ROM; Selected chip deletion acknowledged. Loaded 2 stored tests
                from PCB.; -LD
            deleteAllEntry | Delete All Chips after connectButton => ? Delete All Chips? [Cancel];
                no stored; Disconnected.; Not Connected; +p-RASl
            connect => talks; stored 001 RAM | 002 ROM; Loaded 2 stored tests from PCB.; Connected:
                Pivex PCB simulator; +RASl-p
        )");
    }

    void savesABatchInListOrder() {
        ConnectedBench bench;
        bench.play(R"(
            write zeta.chip zeta => zeta.chip zeta
            write Ωmega.chip Ωmega => Ωmega.chip Ωmega
            write alpha.chip alpha => alpha.chip alpha
            write bad.chip [] => bad.chip []
            add zeta.chip => listed zeta.chip; +B
            add Ωmega.chip => listed zeta.chip | Ωmega.chip
            add alpha.chip => listed zeta.chip | Ωmega.chip | alpha.chip
            add bad.chip => listed zeta.chip | Ωmega.chip | alpha.chip | bad.chip
            batchSaveButton | Return => ? Batch Save to Pivex: Permanently save all 4 files in the
                left list, in list order? This uses the saved files on disk, not unsaved editor
                changes. All files are validated before sending. Earlier saves cannot be rolled back
                if the batch stops. Put the PCB in Upload Mode first. [Cancel]
            batchSaveButton | Yes | OK => ? Batch Save to Pivex [Cancel]; ? PivexGUI: Batch
                preflight failed for bad.chip: The file does not contain a [chips] section. No batch
                data sent.
            write bad.chip good => bad.chip good
            batchSaveButton | Yes after connectButton => ? Batch Save to Pivex [Cancel];
                Disconnected.; Not Connected; +p-RASBl
            connect => talks; Loaded 0 stored tests from PCB.; Connected: Pivex PCB simulator;
                +RASBl-p
            batchSaveButton | Yes => talks; ? Batch Save to Pivex [Cancel]; stored 001 zeta | 002
                Ωmega | 003 alpha | 004 good; Batch complete: 4 chips permanently saved. Loaded 4
                stored tests from PCB.
        )");
    }
};

QTEST_MAIN(ChipWindowBoardTest)
#include "ChipWindowBoardTest.moc"
