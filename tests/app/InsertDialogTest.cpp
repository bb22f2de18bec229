#include "app/InsertDialog.h"

#include "app/PinSelector.h"
#include "support/Dialogs.h"
#include "support/TextCases.h"

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
        QCOMPARE(entries[18]->text(), u"SETIN \u2014 Set pin as input"_s);
        pins = 6;
        Dialogs dialogs;
        dialogs.answer(u"OK"_s, [] { pinButtons(*QApplication::activeModalWidget())[5]->click(); });
        entries[18]->trigger();
        QCOMPARE(editor.toPlainText(), u"SETIN 6"_s);
        QCOMPARE(dialogs.seen.first().title, entries[18]->text());
    }

    void insertsALineOfItsOwn_data() {
        addTextCases({
            {"[]", "GOSTRT|"},
            {"LO[]OP 3", "LO\nGOSTRT\n|OP 3"},
            {"LOOP 3[]", "LOOP 3\nGOSTRT|"},
            {"a\n[bb]\nc", "a\nGOSTRT|\nc"},
            {"a\n[bb\n]c", "a\nGOSTRT\n|c"},
            {"a[a\nb]b", "a\nGOSTRT\n|b"},
            {"\U0001F600[x]é", "\U0001F600\nGOSTRT\n|é"},
        });
    }

    void insertsALineOfItsOwn() {
        checkTextCase([](const QByteArray& before) {
            QPlainTextEdit editor;
            fill(editor, QString::fromUtf8(before));
            Dialogs dialogs;
            dialogs.answer(Qt::Key_Return);
            insertTool(&editor, toolNamed("GOSTRT"), 14);
            return withCursor(editor).toUtf8();
        });
    }

    void insertsOnceItIsAgreedOn() {
        QPlainTextEdit editor;
        fill(editor, u"a[b]"_s);
        Dialogs dialogs;
        dialogs.answer(Qt::Key_Escape);
        insertTool(&editor, toolNamed("DELMS"), 14);
        dialogs.answer(u"OK"_s, [] { type(*QApplication::activeModalWidget(), 0, u"1 2"_s); });
        dialogs.answer(QMessageBox::Ok);
        insertTool(&editor, toolNamed("DELMS"), 14);
        QCOMPARE(dialogs.seen.last().title, u"PivexGUI"_s);
        QCOMPARE(dialogs.seen.last().text, u"Each argument must be one nonempty token."_s);
        QCOMPARE(withCursor(editor), u"ab|"_s);
        QVERIFY(!editor.document()->isUndoAvailable());
        // The document may change under the question.
        dialogs.answer(u"OK"_s, [&editor] { editor.setPlainText(u"new\n"_s); });
        insertTool(&editor, toolNamed("GOSTRT"), 14);
        QCOMPARE(withCursor(editor), u"new\nGOSTRT|"_s);
        QCOMPARE(editor.focusWidget(), &editor);
        editor.undo();
        QCOMPARE(editor.toPlainText(), u"new\n"_s);
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
        for (const int pin : {2, 8, 6}) {
            pins[pin - 1]->click();
        }
        QCOMPARE(markedPins(dialog), (QList<int>{2, 6, 8}));
        type(dialog, 0, u"14"_s);
        QCOMPARE(markedPins(dialog), (QList<int>{6, 8, 14}));
        pins[2]->click();
        QCOMPARE(dialog.texts(), (Texts{"3", "8", "6"}));

        Dialogs dialogs;
        type(dialog, 1, u"LED"_s);
        dialogs.answer(QMessageBox::Ok);
        pins[2]->click();
        QCOMPARE(dialogs.seen.last().title, u"Pin selector"_s);
        QVERIFY(dialogs.seen.last().text.startsWith(u"Pin diagram needs literal values"_s));
        QCOMPARE(dialog.texts(), (Texts{"3", "LED", "6"}));
    }

    void drawsAPackageForAnyPinCount() {
        for (const auto& [pins, buttons] : {std::pair(14, 14), std::pair(7, 7), std::pair(1, 1),
                                            std::pair(-3, 0), std::pair(INT_MAX, 40)}) {
            InsertDialog dialog(toolNamed("SETIN"), pins, nullptr);
            dialog.show();
            const auto drawn = pinButtons(dialog);
            QCOMPARE(drawn.size(), buttons);
            for (int pin = 1; pin <= buttons; ++pin) {
                const QPushButton* opposite = drawn[buttons - pin];
                QCOMPARE(drawn[pin - 1]->accessibleName(), u"Pin %1"_s.arg(pin));
                QCOMPARE(drawn[pin - 1]->y(), opposite->y());
                QCOMPARE(drawn[pin - 1]->x() < opposite->x(), pin <= buttons / 2);
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
