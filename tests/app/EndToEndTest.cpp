#include "ChipWindowBench.h"
#include "tools/FileAccess.h"

using namespace pivex;
using namespace pivex::testing;

/// On a real X server, from an empty editor or a folder of files to tests stored on the board.
class EndToEndTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void storesWhatIsTyped() {
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
        BoardServer board;
        ChipWindowBench bench;
        bench.verbs[u"mouse"_s] = [&](auto& words) {
            QTest::mouseClick(&child<QWidget>(bench.window, words[0].toLatin1()), Qt::LeftButton);
        };
        // The focus waits where a second key press does no harm.
        bench.verbs[u"space"_s] = [&](auto& words) {
            child<QWidget>(bench.window, words[0].toLatin1()).setFocus();
            QTest::keyClick(bench.window.focusWidget(), Qt::Key_Space);
            QTest::keyClick(bench.window.focusWidget(), Qt::Key_Space);
        };
        bench.window.show();
        bench.port.lineEdit()->selectAll();
        QTest::keyClicks(bench.port.lineEdit(), QString::fromStdString(board.path()));
        bench.play(R"(
            mouse connectButton => Loaded 0 stored tests from PCB.; Connected: Pivex PCB simulator;
                +RASl-p
            type codeEditor GOSTRT\rSETPIN 1 #R3\rENDTEST\r => title *; : GOSTRT SETPIN 1 #R3
                ENDTEST ; line 3
            key F7 => Compile successful: 3 instructions, 48 bytes. Nothing sent to PCB.
            type nameEdit Typed => Typed: GOSTRT SETPIN 1 #R3 ENDTEST
            space sendButton => Send complete: Typed (48 code bytes). All packets acknowledged. Not
                permanently saved; not run.; +V
        )");
        QVERIFY(child<QWidget>(bench.window, "sendButton").hasFocus());
        bench.play(R"(
            mouse saveButton | Yes => ? Save to Pivex: Permanently save the acknowledged upload
                'Typed' on the PCB? [Cancel]; stored 001 Typed; Permanently saved Typed. Loaded 1
                stored tests from PCB.; -V
        )");
        board.withModel(
            [](const BoardModel& model) { QCOMPARE(model.storage.chips.at(0).code.size(), 48); });
    }

    void storesTheExamples() {
        ConnectedBench bench;
        bench.window.show();
        const QDir folder(QStringLiteral(PIVEX_EXAMPLES_DIR));
        QStringList paths;
        for (const QString& file : folder.entryList({u"*.chip"_s})) {
            paths << folder.filePath(file);
        }
        QVERIFY(paths.size() >= 10);
        bench.window.addPaths(paths);
        QVERIFY(bench.runs(u"batchSaveButton | Yes"_s));
        QCOMPARE(bench.stored.count(), paths.size());
        for (int row = 0; row < paths.size(); ++row) {
            const ChipDocument source = decodeChip(readFileBytes(paths[row]));
            bench.stored.setCurrentRow(row);
            // What was read before counts as unsaved.
            QVERIFY(bench.runs(u"loadSelectedButton"_s + (row == 0 ? u""_s : u" | Discard"_s)));
            const ChipDocument stored = bench.window.document();
            QCOMPARE(stored.name, source.name);
            QCOMPARE(stored.strings, source.strings);
            QCOMPARE(compileChip(stored).bytes, compileChip(source).bytes);
        }
    }

    void keepsWhatIsDrawn() {
        ConnectedBench bench;
        bench.window.openImages();
        QVERIFY(bench.idle() && bench.runs(u"newButton | OK"_s));
        QTest::mouseClick(&child<QWidget>(bench.window, "editCanvas"), Qt::LeftButton, {},
                          {12, 12});
        const auto& view = child<QPlainTextEdit>(bench.window, "codeView");
        const QString drawn = view.toPlainText();
        child<QListWidget>(bench.window, "slotList").setCurrentRow(19);
        QVERIFY(bench.runs(u"saveBoardButton"_s) && bench.runs(u"newButton | Discard | OK"_s));
        QVERIFY(view.toPlainText() != drawn);
        QVERIFY(bench.runs(u"loadBoardButton | Discard"_s));
        QCOMPARE(view.toPlainText(), drawn);
    }
};

QTEST_MAIN(EndToEndTest)
#include "EndToEndTest.moc"
