#include "app/CodeEditor.h"

#include "app/Highlighter.h"

#include <QtTest>
#include <QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

/// An editor that counts how often it maps its text.
class CountingEditor : public CodeEditor {
public:
    mutable int mapped = 0;

protected:
    std::vector<GutterLine> mapLines() const override {
        ++mapped;
        return CodeEditor::mapLines();
    }
};

void show(CodeEditor& editor, const QString& text = {}) {
    editor.setLineWrapMode(QPlainTextEdit::NoWrap);
    editor.setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    editor.setPlainText(text);
    editor.resize(400, 300);
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
}

LineNumberArea& gutterOf(const CodeEditor& editor) {
    return *editor.findChild<LineNumberArea*>();
}

/// For each of `lines` (0-based): "*" where the gutter has a dot, "n" where it has a number.
QStringList gutterMarks(const CodeEditor& editor, const QList<int>& lines) {
    const QImage image = gutterOf(editor).grab().toImage();
    QStringList marks;
    for (const int line : lines) {
        const QTextCursor cursor(editor.document()->findBlockByNumber(line));
        const int top = editor.cursorRect(cursor).top();
        bool hasDot = false;
        bool hasNumber = false;
        for (int y = top; y < top + editor.fontMetrics().height(); ++y) {
            for (int x = 0; x < image.width() - 1; ++x) {
                const QColor color = image.pixelColor(x, y);
                hasDot |= x >= 3 && x < 20 && color.red() > color.green() + 80;
                hasNumber |= x >= 10 && x <= image.width() - 7 && color.green() > 0x60;
            }
        }
        marks << QString(hasDot ? u"*"_s : u""_s) + (hasNumber ? u"n"_s : u""_s);
    }
    return marks;
}

/// The colours of each line of the document, one character per UTF-16 unit: o opcode, r register,
/// c comment, e error, a dot for the plain colour.
QStringList colorsOf(const QTextDocument& document) {
    const QMap<QString, QChar> names{
        {u"#69baff"_s, u'o'}, {u"#f5cf79"_s, u'r'}, {u"#42d96b"_s, u'c'}, {u"#ff8585"_s, u'e'}};
    QStringList lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QString colors(block.length() - 1, u'.');
        for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
            const QChar name = names.value(range.format.foreground().color().name(), u'?');
            colors.replace(range.start, range.length, QString(range.length, name));
        }
        lines << colors;
    }
    return lines;
}

} // namespace

class CodeEditorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void gutterIsAsWideAsTheLongestNumber() {
        CodeEditor editor;
        show(editor);
        const int nine = editor.fontMetrics().horizontalAdvance(u'9');
        QCOMPARE(editor.numberAreaWidth(), 24 + nine);
        QCOMPARE(gutterOf(editor).geometry(),
                 QRect(editor.contentsRect().topLeft(),
                       QSize(24 + nine, editor.contentsRect().height())));
        editor.setPlainText(u"GOSTRT\n"_s.repeated(10));
        QCOMPARE(gutterOf(editor).width(), 24 + 2 * nine);
        QCOMPARE(editor.viewport()->x(), gutterOf(editor).geometry().right() + 1);
        QCOMPARE(gutterOf(editor).sizeHint(), QSize(24 + 2 * nine, 0));
    }

    void gutterShowsNumbersAndDots() {
        CodeEditor editor;
        show(editor, u"// note\n\nDIM X 1\nGOSTRT\nSETIN 12\nFOO\nLOOP 3\nSETIN 99"_s);
        const QStringList expected{u""_s, u""_s, u""_s, u"n"_s, u"n"_s, u"*"_s, u"n"_s, u"*n"_s};
        QCOMPARE(gutterMarks(editor, {0, 1, 2, 3, 4, 5, 6, 7}), expected);
        editor.setPinCount(8);
        QCOMPARE(gutterMarks(editor, {4}).first(), u"*n"_s);

        const QImage image = gutterOf(editor).grab().toImage();
        QCOMPARE(image.pixelColor(0, image.height() - 1), QColor(u"#181e21"_s));
        QCOMPARE(image.pixelColor(image.width() - 1, image.height() - 1), QColor(u"#3a4448"_s));
    }

    void gutterFollowsEditsAndScrolling() {
        CodeEditor editor;
        show(editor, u"GOSTRT\n"_s.repeated(60) + u"FOO\n"_s.repeated(40));
        editor.verticalScrollBar()->setValue(59);
        QCOMPARE(gutterMarks(editor, {59, 60, 61}), (QStringList{u"n"_s, u"*"_s, u"*"_s}));
        editor.setTextCursor(QTextCursor(editor.document()->findBlockByNumber(60)));
        QTest::keyClicks(&editor, u"//"_s);
        QCOMPARE(gutterMarks(editor, {59, 60, 61}), (QStringList{u"n"_s, u""_s, u"*"_s}));
    }

    void oneKeystrokeMapsTheTextOnce() {
        CountingEditor editor;
        show(editor, u"SETPIN 1 #R5\n"_s.repeated(98));
        editor.moveCursor(QTextCursor::EndOfLine);
        for (const int key : {int(Qt::Key_A), int(Qt::Key_Return), int(Qt::Key_Backspace),
                              int(Qt::Key_Delete), int(Qt::Key_Return)}) {
            QCoreApplication::processEvents();
            editor.mapped = 0;
            QTest::keyClick(&editor, Qt::Key(key));
            QCoreApplication::processEvents();
            QCOMPARE(editor.mapped, 1);
        }
    }

    void aLineIsAlwaysABlock() {
        CodeEditor editor;
        show(editor);
        QTest::keyClick(&editor, Qt::Key_A);
        QTest::keyClick(&editor, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(&editor, Qt::Key_Enter, Qt::ShiftModifier);
        QApplication::clipboard()->setText(u"b\u2028c\r\nd"_s);
        editor.paste();
        QCOMPARE(editor.toPlainText(), u"a\n\nb\nc\nd"_s);
        QCOMPARE(editor.blockCount(), 5);
    }

    void controlTabLeavesTheEditor() {
        QWidget window;
        QHBoxLayout row(&window);
        CodeEditor editor;
        QPushButton next;
        row.addWidget(&editor);
        row.addWidget(&next);
        QTest::keyClick(&editor, Qt::Key_Tab);
        QCOMPARE(editor.toPlainText(), u"\t"_s);
        for (const auto& [key, modifiers] :
             {std::pair(Qt::Key_Tab, Qt::KeyboardModifiers(Qt::ControlModifier)),
              std::pair(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier)}) {
            editor.setFocus();
            QTest::keyClick(&editor, key, modifiers);
            QCOMPARE(window.focusWidget(), &next);
        }
    }

    void colorsBlocks_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("colors");
        const std::pair<QString, QString> rows[] = {
            {u"reglod #R5 5\nREGLOD #R40 5"_s, u"oooooo.rrr..\noooooo.eeee.."_s},
            {u"FOO 1 // x"_s, u"eee...cccc"_s},
            {u"/* a */ GOSTRT"_s, u"ccccccc.oooooo"_s},
            {u"JMP /* x\nGOSTRT\n x */\nGOSTRT"_s, u"ooo.cccc\ncccccc\nccccc\noooooo"_s},
            {u"// /* x\nGOSTRT"_s, u"ccccccc\noooooo"_s},
            {u"/*\n// */ // /*\nGOSTRT"_s, u"cc\nccccccccccc\noooooo"_s},
            {u"/*\n*/ /* x\nFOO"_s, u"cc\ncc.cccc\nccc"_s},
            {u"/*/\n*/\nFOO"_s, u"ccc\ncc\neee"_s},
            {u"\U0001F600 1 // \U0001F600\U0001F600\nJMP \U0001F600 #R1"_s,
             u"ee...ccccccc\nooo....rrr"_s},
        };
        for (const auto& [text, colors] : rows) {
            QTest::newRow(qPrintable(text.simplified())) << text << colors;
        }
    }

    void colorsBlocks() {
        QFETCH(const QString, text);
        QPlainTextEdit editor;
        const Highlighter highlighter(editor.document());
        editor.setPlainText(text);
        QTEST(colorsOf(*editor.document()).join(u'\n'), "colors");
    }

    void recolorsTheLinesBelowAChangedComment() {
        QPlainTextEdit editor;
        const Highlighter highlighter(editor.document());
        editor.setPlainText(u"/\nGOSTRT\n*/ FOO"_s);
        editor.moveCursor(QTextCursor::EndOfLine);
        editor.insertPlainText(u"*"_s);
        QCOMPARE(colorsOf(*editor.document()), (QStringList{u"cc"_s, u"cccccc"_s, u"cc...."_s}));
        editor.undo();
        QCOMPARE(colorsOf(*editor.document()), (QStringList{u"e"_s, u"oooooo"_s, u"ee...."_s}));
    }
};

QTEST_MAIN(CodeEditorTest)
#include "CodeEditorTest.moc"
