#include "app/InsertDialog.h"

#include "app/PinSelector.h"
#include "support/Dialogs.h"

#include <QtTest>
#include <QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;
using pivex::testing::Dialogs;
using Texts = std::vector<std::string>;

namespace {

const OpcodeTool& toolNamed(std::string_view opcode) {
    return *std::ranges::find(opcodeTools, opcode, &OpcodeTool::opcode);
}

/// Fills `editor` from a text whose selection stands between square brackets.
void fill(QPlainTextEdit& editor, QString text) {
    const auto start = static_cast<int>(text.indexOf(u'['));
    const auto end = static_cast<int>(text.remove(start, 1).indexOf(u']'));
    editor.setPlainText(text.remove(end, 1));
    QTextCursor cursor = editor.textCursor();
    cursor.setPosition(start);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    editor.setTextCursor(cursor);
}

/// The text of `editor` with "|" where the cursor stands.
QString withCursor(const QPlainTextEdit& editor) {
    return editor.toPlainText().insert(editor.textCursor().position(), u'|');
}

QList<QPushButton*> pinButtons(const QWidget& dialog) {
    return dialog.findChild<PinSelector*>()->findChildren<QPushButton*>();
}

/// The numbers of the pins that are shown as marked.
QList<int> markedPins(const QWidget& dialog) {
    QList<int> marked;
    for (const QPushButton* button : pinButtons(dialog)) {
        if (button->styleSheet().contains(u"#1d9954"_s)) {
            marked << button->text().toInt();
        }
    }
    return marked;
}

/// Replaces the text of field `index` by hand.
void type(const QWidget& dialog, int index, const QString& text) {
    auto* field = dialog.findChildren<QLineEdit*>().at(index);
    field->selectAll();
    QTest::keyClicks(field, text);
}

} // namespace

class InsertDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void columnRunsEveryTool() {
        QPlainTextEdit editor;
        int pins = 14;
        const std::unique_ptr<QWidget> column(makeInsertColumn(
            &editor, [&pins] { return pins; }, nullptr));
        QStringList categories;
        QList<QAction*> entries;
        for (const QPushButton* button : column->findChildren<QPushButton*>()) {
            categories << button->text();
            entries << button->menu()->actions();
        }
        QCOMPARE(categories.join(u", "_s),
                 u"Control Flow, GPIO, Timing, Memory, Math, Add-on Boards, Display"_s);
        QCOMPARE(entries.size(), 73);
        QCOMPARE(entries[30]->text(), u"DELMS \u2014 Delay for milliseconds"_s);

        pins = 6;
        qsizetype shown = 0;
        Dialogs dialogs;
        dialogs.answer(u"OK"_s,
                       [&shown] { shown = pinButtons(*QApplication::activeModalWidget()).size(); });
        entries[18]->trigger();
        QCOMPARE(editor.toPlainText(), u"SETIN 0"_s);
        QCOMPARE(shown, 6);
        QCOMPARE(dialogs.seen.first().title, u"SETIN \u2014 Set pin as input"_s);
    }

    void insertsALineOfItsOwn_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("empty") << u"[]"_s << u"GOSTRT|"_s;
        QTest::newRow("split") << u"LO[]OP 3"_s << u"LO\nGOSTRT\n|OP 3"_s;
        QTest::newRow("start of text") << u"[]LOOP 3"_s << u"GOSTRT\n|LOOP 3"_s;
        QTest::newRow("end of text") << u"LOOP 3[]"_s << u"LOOP 3\nGOSTRT|"_s;
        QTest::newRow("empty line") << u"a\n[]\nb"_s << u"a\nGOSTRT|\nb"_s;
        QTest::newRow("whole line") << u"a\n[bb]\nc"_s << u"a\nGOSTRT|\nc"_s;
        QTest::newRow("line with its end") << u"a\n[bb\n]c"_s << u"a\nGOSTRT\n|c"_s;
        QTest::newRow("part of two lines") << u"a[a\nb]b"_s << u"a\nGOSTRT\n|b"_s;
        QTest::newRow("wide characters") << u"\U0001F600[x]é"_s << u"\U0001F600\nGOSTRT\n|é"_s;
    }

    void insertsALineOfItsOwn() {
        QFETCH(const QString, before);
        QPlainTextEdit editor;
        fill(editor, before);
        const QString original = editor.toPlainText();
        Dialogs dialogs;
        dialogs.answer(Qt::Key_Return);
        insertTool(&editor, toolNamed("GOSTRT"), 14);
        QTEST(withCursor(editor), "after");
        QCOMPARE(editor.focusWidget(), &editor);
        editor.undo();
        QCOMPARE(editor.toPlainText(), original);
    }

    void cancelAndRefusedTextsInsertNothing() {
        QPlainTextEdit editor;
        fill(editor, u"a[b]"_s);
        Dialogs dialogs;
        dialogs.answer(Qt::Key_Escape);
        insertTool(&editor, toolNamed("DELMS"), 14);
        for (const QString& text : {u"1 2"_s, u"#R5//x"_s}) {
            dialogs.answer(u"OK"_s, [text] { type(*QApplication::activeModalWidget(), 0, text); });
            dialogs.answer(QMessageBox::Ok);
            insertTool(&editor, toolNamed("DELMS"), 14);
            QCOMPARE(dialogs.seen.last().title, u"PivexGUI"_s);
            QCOMPARE(dialogs.seen.last().text, u"Each argument must be one nonempty token."_s);
        }
        QCOMPARE(withCursor(editor), u"ab|"_s);
        QVERIFY(!editor.document()->isUndoAvailable());
    }

    void insertsWhereTheCursorStandsWhenTheDocumentChanged() {
        QPlainTextEdit editor;
        Dialogs dialogs;
        fill(editor, u"long enough to lose[]"_s);
        dialogs.answer(u"OK"_s, [&editor] { editor.setPlainText(u"new\n"_s); });
        insertTool(&editor, toolNamed("GOSTRT"), 14);
        QCOMPARE(withCursor(editor), u"new\nGOSTRT|"_s);
        fill(editor, u"a\n[]b"_s);
        dialogs.answer(u"OK"_s, [&editor] { editor.insertPlainText(u"later"_s); });
        insertTool(&editor, toolNamed("GOSTRT"), 14);
        QCOMPARE(withCursor(editor), u"a\nlater\nGOSTRT\n|b"_s);
    }

    void selectorBelongsToPinTools() {
        std::string withSelector;
        for (const OpcodeTool& tool : opcodeTools) {
            const InsertDialog dialog(tool, 14, nullptr);
            if (dialog.findChild<PinSelector*>() != nullptr) {
                withSelector += std::string(tool.opcode) + ' ';
            }
        }
        QCOMPARE(withSelector,
                 "SETPIN RDPIN SETIN SETOUT MULTIO MULTII MULTIHI MULTILO ALLDIR ALLEVEL PHIZ "
                 "TOGPIN CLKST DEFADDR PIN2ARR DEF8 ");
    }

    void clicksFillTheFields() {
        const InsertDialog dialog(toolNamed("MULTIO"), 14, nullptr);
        const auto pins = pinButtons(dialog);
        QVERIFY(markedPins(dialog).isEmpty());
        for (const int pin : {2, 4, 6, 4, 8}) {
            pins[pin - 1]->click();
        }
        QCOMPARE(dialog.texts(), (Texts{"2", "8", "6"}));
        QCOMPARE(markedPins(dialog), (QList<int>{2, 6, 8}));
        type(dialog, 0, u"14"_s);
        QCOMPARE(markedPins(dialog), (QList<int>{6, 8, 14}));
        pins[2]->click();
        QCOMPARE(dialog.texts(), (Texts{"3", "8", "6"}));
        QCOMPARE(pins[2]->text(), u"3"_s);

        Dialogs dialogs;
        type(dialog, 1, u"LED"_s);
        dialogs.answer(QMessageBox::Ok);
        pins[2]->click();
        QCOMPARE(dialogs.seen.last().title, u"Pin selector"_s);
        QVERIFY(dialogs.seen.last().text.startsWith(u"Pin diagram needs literal values"_s));
        QCOMPARE(dialog.texts(), (Texts{"3", "LED", "6"}));
    }

    void drawsAPackageForAnyPinCount() {
        const std::pair<int, int> rows[] = {{2, 2}, {14, 14}, {40, 40}, {7, 7},       {1, 1},
                                            {0, 0}, {-3, 0},  {42, 40}, {INT_MAX, 40}};
        for (const auto& [pins, buttons] : rows) {
            InsertDialog dialog(toolNamed("SETIN"), pins, nullptr);
            dialog.show();
            const auto drawn = pinButtons(dialog);
            QCOMPARE(drawn.size(), buttons);
            for (int pin = 1; pin <= buttons; ++pin) {
                const QPushButton* button = drawn[pin - 1];
                const QPushButton* opposite = drawn[buttons - pin];
                QCOMPARE(button->accessibleName(), u"Pin %1"_s.arg(button->text()));
                QCOMPARE(button->text(), QString::number(pin));
                QCOMPARE(button->y(), opposite->y());
                QCOMPARE(button->x() < opposite->x(), pin <= buttons / 2);
            }
        }
    }

    void tabGoesFromFieldsOverPinsToButtons() {
        InsertDialog dialog(toolNamed("CLKST"), 6, nullptr);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QStringList order;
        for (int i = 0; i < 10; ++i) {
            const auto* button = qobject_cast<const QPushButton*>(dialog.focusWidget());
            order << (button != nullptr ? button->text().remove(u'&') : u"field"_s);
            QTest::keyClick(&dialog, Qt::Key_Tab);
        }
        QCOMPARE(order.join(u' '), u"field field 1 2 3 4 5 6 OK Cancel"_s);
        QTest::keyClick(pinButtons(dialog)[3], Qt::Key_Space);
        QTest::keyClick(pinButtons(dialog)[3], Qt::Key_Return);
        QCOMPARE(dialog.texts().front(), "4");
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }
};

QTEST_MAIN(InsertDialogTest)
#include "InsertDialogTest.moc"
