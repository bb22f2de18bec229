#include "ChipWindowBench.h"

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

/// Keys and mouse on a real X server, from an empty editor to a test stored on the board.
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
};

QTEST_MAIN(EndToEndTest)
#include "EndToEndTest.moc"
