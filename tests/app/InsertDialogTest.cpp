#include "app/InsertDialog.h"

#include "app/PinSelector.h"
#include "support/WindowStory.h"

#include <QtWidgets>

using namespace pivex;
using namespace pivex::testing;

namespace {

const OpcodeTool& toolNamed(const QString& opcode) {
    return *std::ranges::find(opcodeTools, opcode.toStdString(), &OpcodeTool::opcode);
}

QList<QPushButton*> pinButtons(const QWidget& dialog) {
    return dialog.findChild<PinSelector*>()->findChildren<QPushButton*>();
}

/// The numbers of the pins that are shown as marked, and the texts of the fields.
QString choice(const QWidget& dialog) {
    QStringList marked;
    for (const QPushButton* button : pinButtons(dialog)) {
        marked << (button->styleSheet().contains(u"#1d9954"_s) ? button->text() : QString());
    }
    marked.removeAll(QString());
    QStringList texts;
    for (const QLineEdit* field : dialog.findChildren<QLineEdit*>()) {
        texts << field->text();
    }
    return marked.join(u',') + u" in "_s + texts.join(u' ');
}

QWidget& dialog() {
    return *QApplication::activeModalWidget();
}

/// An editor, whose lines end in slashes and whose cursor is a bar, for tests with 14 pins.
struct Scene : WindowStory {
    QPlainTextEdit* editor = new QPlainTextEdit;

    Scene() {
        root = editor;
        verbs.merge(Verbs{
            {u"text"_s, [this](auto& words) { fillEditor(words.join(u' ')); }},
            {u"insert"_s, [this](auto& words) { insertTool(editor, toolNamed(words[0]), 14); }},
            {u"undo"_s, [this](auto&) { editor->undo(); }},
            {u"pin"_s, [](auto& words) { pinButtons(dialog())[words[0].toInt() - 1]->click(); }},
            {u"field"_s, [](auto& words) { typeInto(words[0].toInt(), words.mid(1).join(u' ')); }},
            {u"show"_s, [this](auto&) { told << choice(dialog()); }},
        });
        views.push_back({"", [this] {
                             return editor->toPlainText()
                                 .insert(editor->textCursor().position(), u'|')
                                 .replace(u'\n', u'/');
                         }});
    }

    QString summary(const std::string& /*text*/) override { return {}; }

    static void typeInto(int index, const QString& text) {
        auto* field = dialog().findChildren<QLineEdit*>().at(index);
        field->selectAll();
        QTest::keyClicks(field, text);
    }

    /// Fills the editor; the selection stands between square brackets.
    void fillEditor(QString text) {
        const auto start = static_cast<int>(text.indexOf(u'['));
        const auto end = static_cast<int>(text.indexOf(u']')) - 1;
        editor->setPlainText(text.remove(u'[').remove(u']').replace(u'/', u'\n'));
        QTextCursor cursor = editor->textCursor();
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        editor->setTextCursor(cursor);
    }
};

} // namespace

class InsertDialogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void columnRunsEveryTool() {
        QPlainTextEdit editor;
        int pins = 14;
        const std::unique_ptr<QWidget> column(makeInsertColumn(
            &editor, [&pins] { return pins; }, nullptr));
        QString categories;
        QList<QAction*> entries;
        for (const QPushButton* button : column->findChildren<QPushButton*>()) {
            entries << button->menu()->actions();
            categories += button->text() + u" %1, "_s.arg(entries.size());
        }
        QCOMPARE(categories, u"Control Flow 16, GPIO 29, Timing 35, Memory 47, Math 58, "
                             "Add-on Boards 62, Display 73, "_s);
        pins = 6;
        Dialogs dialogs;
        dialogs.answer(u"OK"_s, [] { pinButtons(dialog()).last()->click(); });
        entries[18]->trigger();
        QCOMPARE(editor.toPlainText(), u"SETIN 6"_s);
        QCOMPARE(dialogs.seen.first().title, u"SETIN \u2014 Set pin as input"_s);
    }

    void insertsALineOfItsOwn() {
        Scene scene;
        scene.play(R"(
            insert GOSTRT | Return => ? GOSTRT — Go to code start; GOSTRT|
            text L[]OOP 3 => L|OOP 3
            insert GOSTRT | Return => ? GOSTRT — Go to code start; L/GOSTRT/|OOP 3
            text a/[bb]/c => a/bb|/c
            insert GOSTRT | Return => ? GOSTRT — Go to code start; a/GOSTRT|/c
            text a/[bb/]c => a/bb/|c
            insert GOSTRT | Return => ? GOSTRT — Go to code start; a/GOSTRT/|c
            text 😀[x]é => 😀x|é
            insert GOSTRT | Return => ? GOSTRT — Go to code start; 😀/GOSTRT/|é
            undo => 😀x|é
            insert DELMS | Escape => ? DELMS — Delay for milliseconds
            insert DELMS | OK after field 0 1 2 | OK => ? DELMS — Delay for milliseconds; ?
                PivexGUI: Each argument must be one nonempty token.
            insert GOSTRT | OK after text new/[] => ? GOSTRT — Go to code start; new/GOSTRT|
        )");
        QCOMPARE(scene.editor->focusWidget(), scene.editor);
    }

    void clicksFillTheFields() {
        Scene().play(R"(
            insert MULTIO | Escape after pin 2 after pin 8 after pin 6 after show => 2,6,8 in 2 8 6;
                ? MULTIO — Multiple pins out
            insert MULTIO | OK after field 0 14 after field 1 8 after pin 6 after pin 3 after show
                => 3,6,14 in 14 6 3; ? MULTIO — Multiple pins out; MULTIO 14 6 3|
            insert MULTIO | Escape after field 1 LED after pin 3 after show | OK => in 0 LED 0; ?
                MULTIO — Multiple pins out; ? Pin selector: Pin diagram needs literal values in the
                fields it changes. Enter numbers instead of DIM names or register references first.
        )");
    }

    void selectorBelongsToPinTools() {
        std::string withSelector;
        for (const OpcodeTool& tool : opcodeTools) {
            const InsertDialog dialog(tool, 14, nullptr);
            const bool has = dialog.findChild<PinSelector*>() != nullptr;
            withSelector += has ? std::string(tool.opcode) + ' ' : "";
        }
        QCOMPARE(withSelector,
                 "SETPIN RDPIN SETIN SETOUT MULTIO MULTII MULTIHI MULTILO ALLDIR ALLEVEL PHIZ "
                 "TOGPIN CLKST DEFADDR PIN2ARR DEF8 ");
    }

    /// Return means OK, wherever the focus is; a pin answers to the space bar.
    void drawsAPackageForAnyPinCount() {
        for (const auto& [pins, buttons] : {std::pair(14, 14), std::pair(7, 7), std::pair(1, 1),
                                            std::pair(-3, 0), std::pair(INT_MAX, 40)}) {
            InsertDialog dialog(toolNamed(u"SETIN"_s), pins, nullptr);
            dialog.show();
            const auto drawn = pinButtons(dialog);
            QCOMPARE(drawn.size(), buttons);
            for (int pin = 1; pin <= buttons; ++pin) {
                const QPushButton* opposite = drawn[buttons - pin];
                QCOMPARE(drawn[pin - 1]->text(), QString::number(pin));
                QCOMPARE(drawn[pin - 1]->y(), opposite->y());
                QCOMPARE(drawn[pin - 1]->x() < opposite->x(), pin <= buttons / 2);
            }
            if (pins == 14) {
                QTest::keyClicks(dialog.findChild<QLineEdit*>(), u"7"_s);
                QCOMPARE(dialog.texts().front(), "7");
                QTest::keyClick(drawn[3], Qt::Key_Space);
                QTest::keyClick(drawn[3], Qt::Key_Return);
                QCOMPARE(dialog.texts().front(), "4");
                QCOMPARE(dialog.result(), int(QDialog::Accepted));
            }
        }
    }
};

QTEST_MAIN(InsertDialogTest)
#include "InsertDialogTest.moc"
