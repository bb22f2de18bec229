#include "app/CodeEditor.h"

#include "app/Highlighter.h"
#include "support/TextCases.h"

#include <QtWidgets>

#include <tuple>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

/// An editor that notes how often it maps its text and what it repaints.
class WatchedEditor : public CodeEditor {
public:
    mutable int mapped = 0;
    QRegion painted;

    explicit WatchedEditor(const QString& text = {}) {
        new Highlighter(document());
        setLineWrapMode(QPlainTextEdit::NoWrap);
        setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        setPlainText(text);
        resize(400, 300);
        show();
        std::ignore = QTest::qWaitForWindowExposed(this);
    }

protected:
    std::vector<GutterLine> mapLines() const override {
        ++mapped;
        return CodeEditor::mapLines();
    }

    void paintEvent(QPaintEvent* event) override {
        painted += event->region();
        CodeEditor::paintEvent(event);
    }
};

LineNumberArea& gutterOf(const CodeEditor& editor) {
    return *editor.findChild<LineNumberArea*>();
}

/// For each of `lines` (0-based): "*" where the gutter has a dot, "n" where it has a number.
QString gutterMarks(const CodeEditor& editor, const QList<int>& lines) {
    const QImage image = gutterOf(editor).grab().toImage();
    QString marks;
    for (const int line : lines) {
        const QTextCursor cursor(editor.document()->findBlockByNumber(line));
        const QRect row(0, editor.cursorRect(cursor).top(), image.width() - 1,
                        editor.fontMetrics().height());
        QString mark;
        for (int x = 3; x < row.right() - 5; ++x) {
            for (int y = row.top(); y <= row.bottom(); ++y) {
                const QColor color = image.pixelColor(x, y);
                const bool isDot = color.red() > color.green() + 80;
                const QString seen = isDot ? u"*"_s : color.green() > 0x60 ? u"n"_s : u""_s;
                mark += mark.endsWith(seen) ? u""_s : seen;
            }
        }
        marks += mark + u',';
    }
    return marks;
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
        WatchedEditor editor(u"GOSTRT\n"_s.repeated(10));
        const QRect inside = editor.contentsRect();
        const auto isWide = [&](int digits) {
            const int width = 24 + digits * editor.fontMetrics().horizontalAdvance(u'9');
            return gutterOf(editor).geometry() ==
                       QRect(inside.topLeft(), QSize(width, inside.height())) &&
                   editor.viewport()->x() == inside.x() + width;
        };
        QVERIFY(isWide(2));
        editor.moveCursor(QTextCursor::Start);
        QTest::keyClicks(&editor, u"//"_s);
        QVERIFY(isWide(1));
        editor.undo();
        QVERIFY(isWide(2));
    }

    void gutterShowsNumbersAndDots() {
        WatchedEditor editor(u"// note\n\nDIM X 1\nGOSTRT\nSETIN 12\nFOO\nLOOP 3\nSETIN 99"_s);
        QCOMPARE(gutterMarks(editor, {0, 1, 2, 3, 4, 5, 6, 7}), u",,,n,n,*,n,*n,"_s);
        editor.setPinCount(8);
        QCOMPARE(gutterMarks(editor, {4}), u"*n,"_s);
        const QImage image = gutterOf(editor).grab().toImage();
        QCOMPARE(image.pixelColor(0, image.height() - 1), QColor(u"#181e21"_s));
        QCOMPARE(image.pixelColor(image.width() - 1, image.height() - 1), QColor(u"#3a4448"_s));
        editor.setPlainText(u"GOSTRT\n"_s.repeated(60) + u"FOO\n"_s.repeated(40));
        editor.verticalScrollBar()->setValue(59);
        QCOMPARE(gutterMarks(editor, {59, 60, 61}), u"n,*,*,"_s);
        editor.setTextCursor(QTextCursor(editor.document()->findBlockByNumber(60)));
        QTest::keyClicks(&editor, u"//"_s);
        QCOMPARE(gutterMarks(editor, {60, 61}), u",*,"_s);
    }

    /// Whatever a key does, the text is mapped once; and only its line is repainted if it can be.
    void oneKeyIsLittleWork() {
        WatchedEditor editor(u"SETPIN 1 #R5\n"_s.repeated(98));
        const auto press = [&](Qt::Key key) {
            QCoreApplication::processEvents();
            editor.mapped = 0;
            editor.painted = {};
            QTest::keyClick(&editor, key);
            QCoreApplication::processEvents();
            return editor.mapped;
        };
        press(Qt::Key_End);
        for (const Qt::Key key : {Qt::Key_A, Qt::Key_Backspace, Qt::Key_Z}) {
            QCOMPARE(press(key), 1);
            QVERIFY(editor.painted.boundingRect().height() < 3 * editor.cursorRect().height());
        }
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Delete, Qt::Key_Slash}) {
            QCOMPARE(press(key), 1);
        }
        press(Qt::Key_Asterisk);
        QCOMPARE(editor.painted, QRegion(editor.viewport()->rect()));
    }

    void aLineThatGoesIsPaintedOver() {
        WatchedEditor editor(u"GOSTRT\nSETPIN 1 1\n\nENDTEST"_s);
        QTest::keyClick(&editor, Qt::Key_Down);
        QTest::keyClick(&editor, Qt::Key_End);
        const QRect place = editor.cursorRect();
        QTest::keyClick(&editor, Qt::Key_Up, Qt::ShiftModifier);
        QCoreApplication::processEvents();
        editor.painted = {};
        QTest::keyClick(&editor, Qt::Key_Return);
        QCoreApplication::processEvents();
        QCOMPARE(editor.toPlainText(), u"GOSTRT\n\n\nENDTEST"_s);
        QVERIFY(editor.painted.contains(place.center() - QPoint(20, 0)));
        QTest::keyClick(&editor, Qt::Key_Up);
        QCOMPARE(editor.textCursor().position(), 0);
    }

    void aLineIsAlwaysABlock() {
        WatchedEditor editor;
        QTest::keyClick(&editor, Qt::Key_A);
        QTest::keyClick(&editor, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(&editor, Qt::Key_Enter, Qt::ShiftModifier);
        QTest::keyClick(&editor, Qt::Key_Tab);
        QApplication::clipboard()->setText(u"b\u2028c\r\nd"_s);
        editor.paste();
        auto* file = new QMimeData;
        file->setUrls({QUrl::fromLocalFile(u"/a.chip"_s)});
        QApplication::clipboard()->setMimeData(file);
        editor.paste();
        QCOMPARE(editor.toPlainText(), u"a\n\n\tb\nc\nd"_s);
        QCOMPARE(editor.blockCount(), 5);
        QPushButton other(&editor);
        other.show();
        QTest::keyClick(&editor, Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(editor.focusWidget(), &other);
    }

    void colorsBlocks_data() {
        addTextCases({
            {"\t reglod #r5 5\nFOO SETPIN // x\n\nSETPIN,1 2\n#R1 #R1\ndim X #R1",
             "..oooooo.rrr..\neee........cccc\n\neeeeeeee..\neee.rrr\nooo...rrr"},
            {"~0x2a 1 ~0x2\n~0x2 ~0x2a\n~0x2a1", "ooooo.......\neeee......\neeeeee"},
            {"JMP #R0 #R31 #R031 R9\nJMP #R32 #R #R+5 #R5x",
             "ooo.rrr.rrrr.rrrrr...\nooo.eeee.ee.eeee.eeee"},
            {"\u017FETPIN é\n\u0153ETPIN #R\u0661", "eeeeee..\neeeeee.eee"},
            {"\U0001F600 1 // \U0001F600\U0001F600\nJMP \U0001F600 #R1",
             "ee...ccccccc\nooo....rrr"},
            {"/* a // */ GOSTRT\nSETPIN/*x*/1 //\n/**/GOSTRT//#R1\na/b /",
             "cccccccccc.oooooo\nooooooccccc..cc\nccccooooooccccc\neee.."},
            {"JMP /* x\nGOSTRT\n x */\nGOSTRT", "ooo.cccc\ncccccc\nccccc\noooooo"},
            {"// /* x\nGOSTRT", "ccccccc\noooooo"},
            {"/*\n// */ // /*\nGOSTRT", "cc\nccccccccccc\noooooo"},
            {"/*\n*/ /* x\nFOO", "cc\ncc.cccc\nccc"},
            {"/*/ x */ GOSTRT\n/*/\n*/\nFOO", "cccccccc.oooooo\nccc\ncc\neee"},
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
        const WatchedEditor editor(u"/\nGOSTRT\n*/ FOO"_s);
        QTextCursor(editor.document()).insertText(u"/*"_s);
        QCOMPARE(colorsOf(*editor.document()), "ccc\ncccccc\ncc....");
        editor.document()->undo();
        QCOMPARE(colorsOf(*editor.document()), "e\noooooo\nee....");
    }
};

QTEST_MAIN(CodeEditorTest)
#include "CodeEditorTest.moc"
