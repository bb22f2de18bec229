#include "ChipWindowBench.h"

using namespace pivex;
using namespace pivex::testing;

class ChipWindowFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void comesUpAsDesigned() {
        ChipWindowBench bench;
        QCOMPARE(bench.window.size(), QSize(1180, 820));
        bench.window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bench.window));
        // Whatever reports late would mark the document as edited by now.
        QCoreApplication::processEvents();
        const ChipDocument fresh{.name = {}, .code = "/* code starts here */\n", .strings = {}};
        QVERIFY(bench.window.document() == fresh && !bench.window.windowTitle().endsWith(u'*'));
        // Two owners of one key would make both deaf.
        QSet<QKeySequence> owned;
        for (const QAction* action : bench.window.findChildren<QAction*>()) {
            for (const QKeySequence& keys : action->shortcuts()) {
                QVERIFY2(!owned.contains(keys), qPrintable(action->text()));
                owned << keys;
            }
        }
    }

    void keepsNumbersThatNoBoxOffers() {
        ChipWindowBench bench;
        const auto& pins = child<QComboBox>(bench.window, "pinsBox");
        const QString path = bench.folder.filePath(u"a%2b[*].chip"_s);
        for (const int count : {16, 7, -3, 7}) {
            const ChipDocument source{"Ω", count, 4, 2, "  // Ω\nENDTEST", {"", "; = [code]"}};
            bench.window.populate(source, path);
            QVERIFY(bench.window.save(false) && bench.window.loadPath(path));
            QVERIFY(bench.window.document() == source);
            QCOMPARE(pins.count(), count == 16 ? 20 : 21);
            QCOMPARE(pins.currentText(), count == 16 ? u"16"_s : u"Unlisted (%1)"_s.arg(count));
        }
        QVERIFY(bench.window.windowTitle().endsWith(u" — a%2b[*][*].chip"_s));
    }

    void listsEachFileOnceAndAsItIsNamed() {
        ChipWindowBench bench;
        const QString first = bench.folder.filePath(u"<i>one\n.chip"_s);
        const QString second = bench.folder.filePath(u"two.chip"_s);
        for (int time = 0; time < 2; ++time) {
            bench.window.addPaths({first, QDir().relativeFilePath(second)});
        }
        QCOMPARE(bench.files.item(0)->data(Qt::UserRole).toString(), first);
        QVERIFY(bench.files.item(0)->toolTip().contains(u"&lt;i&gt;one"_s));
        QCOMPARE(bench.files.item(1)->toolTip(), second);
        QCOMPARE(rowsOf(bench.files), u"<i>one\uFFFD.chip | two.chip"_s);
        bench.play(R"(
            loadButton =>
            removeButton =>
            choose 0 =>
            removeButton => listed two.chip
            write chosen.chip Chosen => chosen.chip Chosen
            addFilesButton | /chosen.chip => ? Add chip files; listed two.chip | chosen.chip
            clearListButton => no listed
        )");
    }

    void saysThatANameIsTooLong() {
        ChipWindowBench bench;
        bench.window.populate(chip(u"A"_s), bench.folder.filePath(QString(249, u'a')));
        bench.act(u"saveFileButton | OK"_s);
        QCOMPARE(bench.dialogs.seen.last().text, u"File name too long"_s);
    }

    void asksBeforeItDiscards() {
        ChipWindowBench bench;
        bench.window.show();
        bench.play(R"(
            write a.chip A => a.chip A
            write b.chip B => b.chip B
            load a.chip => title — a.chip; A: GOSTRT ENDTEST
            fill nameEdit edited => title — a.chip *; edited: GOSTRT ENDTEST
            load missing.chip | OK => ? PivexGUI: No such file or directory
            write bad.chip [meta]\npins=<b>x</b> => bad.chip [meta] pins=<b>x</b>
            load bad.chip | OK => ? PivexGUI: Invalid pins in the chip file: <b>x</b>
            load b.chip | Escape => ? Unsaved chip: Save your changes first? [Save]
            newFileButton | Escape => ? Unsaved chip [Save]
            close | Escape => stays; ? Unsaved chip [Save]
            load b.chip | Discard => ? Unsaved chip [Save]; title — b.chip; B: GOSTRT ENDTEST
            fill nameEdit edited => title — b.chip *; edited: GOSTRT ENDTEST
            load b.chip | Save => ? Unsaved chip [Save]; b.chip edited; title — b.chip
            fill nameEdit edited again => title — b.chip *; edited again: GOSTRT ENDTEST
            newFileButton | Save => ? Unsaved chip [Save]; b.chip edited again; title; : /* code
                starts here */
            fill nameEdit new => title *; new: /* code starts here */
            saveFileButton | Escape => ? Save chip
            saveFileButton | /typed => ? Save chip; typed.chip new; title — typed.chip
            fill nameEdit newer => title — typed.chip *; newer: /* code starts here */
            key Ctrl+S => typed.chip newer; title — typed.chip
            saveAsButton | /c.chip => ? Save chip; c.chip newer; title — c.chip
            fill nameEdit newest => title — c.chip *; newest: /* code starts here */
            drop => no a.chip; no b.chip; no bad.chip; no c.chip; no typed.chip
            saveFileButton | OK => ? PivexGUI
            newFileButton | Save | OK => ? Unsaved chip [Save]; ? PivexGUI
            close | Save | OK => stays; ? Unsaved chip [Save]; ? PivexGUI
            close | Discard => closes; ? Unsaved chip [Save]
        )");
    }

    void compilesAndScans() {
        ChipWindowBench bench;
        bench.code.setPlainText(u"// note\nGOSTRT\nENDTEST"_s);
        bench.play(R"(
            compileButton => Compile successful: 2 instructions, 32 bytes. Nothing sent to PCB.
            scanButton => No code errors found.
            fill codeEditor \n\nGOSTRT\n\n<B>\nENDTEST\nFUNC f => : GOSTRT <B> ENDTEST FUNC f
            compileEntry => line 4; Line 2: Unknown opcode '<B>'.
            scanEntry => Line 2: Unknown opcode '<B>'. Line 3: Unclosed FUNC block.
            clearOutputButton => no text
        )");
        // Every line is a block of its own, so that both count the same.
        bench.window.populate({.name = {}, .code = "GOSTRT\u2028ENDTEST\n<B>", .strings = {}}, {});
        bench.play(R"(
            compileButton => line 2; Line 2: Unknown opcode '<B>'.
        )");
    }
};

QTEST_MAIN(ChipWindowFilesTest)
#include "ChipWindowFilesTest.moc"
