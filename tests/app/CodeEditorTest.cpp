#include "app/CodeEditor.h"

#include "app/Highlighter.h"
#include "support/TextCases.h"

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

/// What a widget repaints.
class PaintLog : public QObject {
public:
    QRect painted;

    explicit PaintLog(QWidget& widget) { widget.installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            painted |= static_cast<QPaintEvent*>(event)->rect();
        }
        return false;
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
QString gutterMarks(const CodeEditor& editor, const QList<int>& lines) {
    const QImage image = gutterOf(editor).grab().toImage();
    QStringList marks;
    for (const int line : lines) {
        const QTextCursor cursor(editor.document()->findBlockByNumber(line));
        const int top = editor.cursorRect(cursor).top();
        bool hasDot = false;
        bool hasNumber = false;
        for (int i = 0; i < (image.width() - 1) * editor.fontMetrics().height(); ++i) {
            const int x = i % (image.width() - 1);
            const QColor color = image.pixelColor(x, top + i / (image.width() - 1));
            hasDot |= x >= 3 && x < 20 && color.red() > color.green() + 80;
            hasNumber |= x >= 10 && x <= image.width() - 7 && color.green() > 0x60;
        }
        marks << QString(hasDot ? u"*"_s : u""_s) + (hasNumber ? u"n"_s : u""_s);
    }
    return marks.join(u',');
}

/// The colours of the lines of the document, one character per UTF-16 unit: o opcode, r register,
/// c comment, e error, a dot for the plain colour.
QByteArray colorsOf(const QTextDocument& document) {
    const QMap<QString, char> names{
        {u"#69baff"_s, 'o'}, {u"#f5cf79"_s, 'r'}, {u"#42d96b"_s, 'c'}, {u"#ff8585"_s, 'e'}};
    QByteArrayList lines;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QByteArray colors(block.length() - 1, '.');
        for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
            const char name = names.value(range.format.foreground().color().name(), '?');
            colors.replace(range.start, range.length, QByteArray(range.length, name));
        }
        lines << colors;
    }
    return lines.join('\n');
}

} // namespace

class CodeEditorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void gutterIsAsWideAsTheLongestNumber() {
        CodeEditor editor;
        show(editor);
        const QRect inside = editor.contentsRect();
        const auto width = [&](int digits) {
            return 24 + digits * editor.fontMetrics().horizontalAdvance(u'9');
        };
        QCOMPARE(gutterOf(editor).geometry(),
                 QRect(inside.topLeft(), QSize(width(1), inside.height())));
        editor.setPlainText(u"GOSTRT\n"_s.repeated(10));
        QCOMPARE(gutterOf(editor).size(), QSize(width(2), inside.height()));
        QCOMPARE(editor.viewport()->x(), gutterOf(editor).geometry().right() + 1);
        editor.moveCursor(QTextCursor::Start);
        QTest::keyClicks(&editor, u"//"_s);
        QCOMPARE(gutterOf(editor).width(), width(1));
        editor.undo();
        QCOMPARE(gutterOf(editor).width(), width(2));
    }

    void gutterShowsNumbersAndDots() {
        CodeEditor editor;
        show(editor, u"// note\n\nDIM X 1\nGOSTRT\nSETIN 12\nFOO\nLOOP 3\nSETIN 99"_s);
        QCOMPARE(gutterMarks(editor, {0, 1, 2, 3, 4, 5, 6, 7}), u",,,n,n,*,n,*n"_s);
        editor.setPinCount(8);
        QCOMPARE(gutterMarks(editor, {4}), u"*n"_s);
        const QImage image = gutterOf(editor).grab().toImage();
        QCOMPARE(image.pixelColor(0, image.height() - 1), QColor(u"#181e21"_s));
        QCOMPARE(image.pixelColor(image.width() - 1, image.height() - 1), QColor(u"#3a4448"_s));
    }

    void gutterFollowsEditsAndScrolling() {
        CodeEditor editor;
        show(editor, u"GOSTRT\n"_s.repeated(60) + u"FOO\n"_s.repeated(40));
        editor.verticalScrollBar()->setValue(59);
        QCOMPARE(gutterMarks(editor, {59, 60, 61}), u"n,*,*"_s);
        editor.setTextCursor(QTextCursor(editor.document()->findBlockByNumber(60)));
        QTest::keyClicks(&editor, u"//"_s);
        QCOMPARE(gutterMarks(editor, {60, 61}), u",*"_s);
    }

    void oneKeystrokeMapsTheTextOnce() {
        CountingEditor editor;
        show(editor, u"SETPIN 1 #R5\n"_s.repeated(98));
        editor.moveCursor(QTextCursor::EndOfLine);
        for (const Qt::Key key : {Qt::Key_A, Qt::Key_Return, Qt::Key_Backspace, Qt::Key_Delete}) {
            QCoreApplication::processEvents();
            editor.mapped = 0;
            QTest::keyClick(&editor, key);
            QCoreApplication::processEvents();
            QCOMPARE(editor.mapped, 1);
        }
    }

    void aKeyRepaintsItsLine() {
        CodeEditor editor;
        new Highlighter(editor.document());
        show(editor, u"SETPIN 1 #R5\n"_s.repeated(98));
        const int lineHeight = editor.cursorRect().height();
        PaintLog log(*editor.viewport());
        for (const Qt::Key key : {Qt::Key_End, Qt::Key_A, Qt::Key_Backspace, Qt::Key_Z}) {
            QCoreApplication::processEvents();
            log.painted = {};
            QTest::keyClick(&editor, key);
            QCoreApplication::processEvents();
            QVERIFY(log.painted.height() < 3 * lineHeight);
        }
        QTest::keyClicks(&editor, u"/*"_s);
        QCoreApplication::processEvents();
        QCOMPARE(log.painted, editor.viewport()->rect());
    }

    void aLineIsAlwaysABlock() {
        CodeEditor editor;
        show(editor);
        QTest::keyClick(&editor, Qt::Key_A);
        QTest::keyClick(&editor, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(&editor, Qt::Key_Enter, Qt::ShiftModifier);
        QTest::keyClick(&editor, Qt::Key_Tab);
        QApplication::clipboard()->setText(u"b\u2028c\r\nd"_s);
        editor.paste();
        QCOMPARE(editor.toPlainText(), u"a\n\n\tb\nc\nd"_s);
        QCOMPARE(editor.blockCount(), 5);
    }

    void controlTabLeavesTheEditor() {
        QWidget window;
        CodeEditor editor(&window);
        QPushButton next(&window);
        for (const auto key : {QKeyCombination(Qt::CTRL, Qt::Key_Tab),
                               QKeyCombination(Qt::CTRL | Qt::SHIFT, Qt::Key_Backtab)}) {
            editor.setFocus();
            QTest::keyClick(&editor, key.key(), key.keyboardModifiers());
            QCOMPARE(window.focusWidget(), &next);
        }
    }

    void colorsBlocks_data() {
        addTextCases({
            {"reglod #R5 5\nFOO 1 // x", "oooooo.rrr..\neee...cccc"},
            {"JMP /* x\nGOSTRT\n x */\nGOSTRT", "ooo.cccc\ncccccc\nccccc\noooooo"},
            {"// /* x\nGOSTRT", "ccccccc\noooooo"},
            {"/*\n// */ // /*\nGOSTRT", "cc\nccccccccccc\noooooo"},
            {"/*\n*/ /* x\nFOO", "cc\ncc.cccc\nccc"},
            {"/*/\n*/\nFOO", "ccc\ncc\neee"},
            {"\U0001F600 1 // \U0001F600\U0001F600\nJMP \U0001F600 #R1",
             "ee...ccccccc\nooo....rrr"},
        });
    }

    void colorsBlocks() {
        checkTextCase([](const QByteArray& text) {
            QPlainTextEdit editor;
            const Highlighter highlighter(editor.document());
            editor.setPlainText(QString::fromUtf8(text));
            return colorsOf(*editor.document());
        });
    }

    void recolorsTheLinesBelowAChangedComment() {
        QPlainTextEdit editor;
        const Highlighter highlighter(editor.document());
        editor.setPlainText(u"/\nGOSTRT\n*/ FOO"_s);
        editor.moveCursor(QTextCursor::EndOfLine);
        editor.insertPlainText(u"*"_s);
        QCOMPARE(colorsOf(*editor.document()), "cc\ncccccc\ncc....");
        editor.undo();
        QCOMPARE(colorsOf(*editor.document()), "e\noooooo\nee....");
    }
};

QTEST_MAIN(CodeEditorTest)
#include "CodeEditorTest.moc"
