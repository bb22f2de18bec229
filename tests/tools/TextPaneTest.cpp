#include "tools/TextPane.h"

#include <QImage>
#include <QScrollBar>
#include <QtTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

class TextPaneTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// Lines too long for the toolkit look as the toolkit paints them, in whole and in parts.
    void paintsLongLinesAsUsual() {
        const QString text =
            u"name=x\u05D0\u0628\u0628\n\n"_s + u"0b01100110,"_s.repeated(2000) + u"\nend"_s;
        TextPane pane;
        pane.replaceText(u"short"_s);
        pane.replaceText(text);
        // The format of a long line does not stay for another text.
        pane.moveCursor(QTextCursor::End);
        pane.replaceText(u"0b01100110,"_s.repeated(1000));
        pane.moveCursor(QTextCursor::End);
        pane.replaceText(text);
        QPlainTextEdit usual(text);
        usual.setReadOnly(true);
        usual.setLineWrapMode(QPlainTextEdit::NoWrap);
        usual.setFont(pane.font());
        for (QPlainTextEdit* edit : {static_cast<QPlainTextEdit*>(&pane), &usual}) {
            edit->resize(300, 120);
            edit->show();
            QVERIFY(QTest::qWaitForWindowExposed(edit));
        }
        const auto look = [](QPlainTextEdit& edit, int scroll, int from, int to) {
            QTextCursor cursor = edit.textCursor();
            cursor.setPosition(from);
            cursor.setPosition(to, QTextCursor::KeepAnchor);
            edit.setTextCursor(cursor);
            edit.horizontalScrollBar()->setValue(scroll);
            return edit.grab().toImage();
        };
        for (const int scroll : {0, 1003, 60'000, 1'000'000}) {
            QVERIFY(look(pane, scroll, 0, 0) == look(usual, scroll, 0, 0));
            QVERIFY(look(pane, scroll, 3, 10) == look(usual, scroll, 3, 10));
        }
        const int seen = static_cast<int>(text.size()) - 20;
        for (const auto& [from, to] : {std::pair(13, 21), {seen, seen + 5}, {11, seen}}) {
            QVERIFY(look(pane, 0, from, to) == look(usual, 0, from, to));
        }
    }
};

QTEST_MAIN(TextPaneTest)
#include "TextPaneTest.moc"
