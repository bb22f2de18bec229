#include "ChipWindowBench.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"
#include "tools/FileAccess.h"

#include <QDir>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

/// On a real X server, from an empty editor or a folder of files to tests stored on the board.
class EndToEndTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void storesWhatIsTyped() {
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
        BoardServer board;
        ChipWindowBench bench;
        bench.window.show();
        bench.window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&bench.window));
        const auto press = [&](const char* button) {
            QTest::mouseClick(&child<QPushButton>(bench.window, button), Qt::LeftButton);
        };
        bench.port.setFocus();
        bench.port.lineEdit()->selectAll();
        QTest::keyClicks(bench.port.lineEdit(), QString::fromStdString(board.path()));
        press("connectButton");
        QVERIFY(bench.idle());

        QTest::mouseClick(bench.code.viewport(), Qt::LeftButton);
        QTest::keyClick(&bench.code, Qt::Key_A, Qt::ControlModifier);
        for (const QString& line : {u"GOSTRT"_s, u"SETPIN 1 #R3"_s, u"ENDTEST"_s}) {
            QTest::keyClicks(&bench.code, line);
            QTest::keyClick(&bench.code, Qt::Key_Return);
        }
        QTest::keyClick(&bench.window, Qt::Key_F7);
        QCOMPARE(bench.output(),
                 u"Compile successful: 3 instructions, 48 bytes. Nothing sent to PCB."_s);
        bench.name.setFocus();
        QTest::keyClicks(&bench.name, u"Typed"_s);
        auto& pins = child<QComboBox>(bench.window, "pinsBox");
        QTest::keyClick(&pins, Qt::Key_Down);

        auto& send = child<QPushButton>(bench.window, "sendButton");
        send.setFocus();
        QTest::keyClick(&send, Qt::Key_Space);
        // The focus waits where a second key press does no harm.
        QTest::keyClick(bench.window.focusWidget(), Qt::Key_Space);
        QVERIFY(bench.idle());
        QVERIFY(send.hasFocus());
        QVERIFY(bench.output().startsWith(u"Send complete: Typed (48 code bytes)."_s));
        bench.dialogs.answer(u"Yes"_s);
        press("saveButton");
        QVERIFY(bench.reports(u"Permanently saved Typed. Loaded 1 stored tests from PCB."_s));
        QCOMPARE(bench.stored.item(0)->text(), u"001  Typed"_s);
        board.withModel([](const BoardModel& model) {
            QCOMPARE(model.storage.chips.at(0).pins, 16);
            QCOMPARE(model.storage.chips.at(0).code.size(), 48);
        });
    }

    void storesTheExamples() {
        ConnectedBench bench;
        bench.window.show();
        const QDir folder(QStringLiteral(PIVEX_EXAMPLES_DIR));
        QStringList paths;
        for (const QString& file : folder.entryList({u"*.chip"_s}, QDir::Files, QDir::Name)) {
            paths << folder.filePath(file);
        }
        QVERIFY(paths.size() >= 10);
        bench.window.addPaths(paths);
        QVERIFY(bench.runs("batchSaveButton", QMessageBox::Yes));
        QCOMPARE(bench.stored.count(), paths.size());
        for (int row = 0; row < paths.size(); ++row) {
            const ChipDocument source = decodeChip(readFileBytes(paths[row]));
            bench.stored.setCurrentRow(row);
            // What was read before counts as unsaved.
            QVERIFY(row == 0 ? bench.runs("loadSelectedButton")
                             : bench.runs("loadSelectedButton", QMessageBox::Discard));
            const ChipDocument stored = bench.window.document();
            QCOMPARE(stored.name, source.name);
            QCOMPARE(stored.strings, source.strings);
            QCOMPARE(compileChip(stored).bytes, compileChip(source).bytes);
        }
    }

    void keepsWhatIsDrawn() {
        ConnectedBench bench;
        bench.window.openImages();
        QVERIFY(bench.idle());
        auto& images = child<QWidget>(bench.window, "imageWindow");
        auto& list = child<QListWidget>(images, "slotList");
        auto& view = child<QPlainTextEdit>(images, "codeView");
        const auto press = [&](const char* button, const auto&... answer) {
            (bench.dialogs.answer(answer), ...);
            child<QPushButton>(images, button).click();
            return bench.idle();
        };
        QVERIFY(press("newButton", u"OK"_s));
        auto& canvas = child<QWidget>(images, "editCanvas");
        QTest::mousePress(&canvas, Qt::LeftButton, {}, {12, 12});
        QTest::mouseMove(&canvas, {72, 42});
        QTest::mouseRelease(&canvas, Qt::LeftButton, {}, {72, 42});
        const QString drawn = view.toPlainText();
        list.setCurrentRow(19);
        QVERIFY(press("saveBoardButton"));
        QCOMPARE(list.item(19)->text(), u"020  New Image"_s);
        QVERIFY(press("newButton", QMessageBox::Discard, u"OK"_s));
        QVERIFY(view.toPlainText() != drawn);
        QVERIFY(press("loadBoardButton", QMessageBox::Discard));
        QCOMPARE(view.toPlainText(), drawn);
        QVERIFY(press("deleteBoardButton", u"Delete"_s));
        QVERIFY(press("refreshButton"));
        QCOMPARE(list.item(19)->text(), u"020  [EMPTY]"_s);
    }
};

QTEST_MAIN(EndToEndTest)
#include "EndToEndTest.moc"
