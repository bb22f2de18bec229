#include "support/Dialogs.h"
#include "tools/FontCanvas.h"
#include "tools/ImageWindowPrivate.h"

#include <QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

const QHash<QChar, Qt::Key> keys{
    {u'l', Qt::Key_Left},   {u'r', Qt::Key_Right},     {u'u', Qt::Key_Up},
    {u'd', Qt::Key_Down},   {u'h', Qt::Key_Home},      {u'e', Qt::Key_End},
    {u'_', Qt::Key_Space},  {u'n', Qt::Key_Return},    {u'x', Qt::Key_Delete},
    {u'q', Qt::Key_Escape}, {u'b', Qt::Key_Backspace},
};

/// Strikes the keys that the letters of `script` stand for, capitals with Ctrl; a digit takes the
/// tool of that number.
void strike(QWidget& canvas, const QString& script) {
    for (const QChar letter : script) {
        if (letter.isDigit()) {
            dynamic_cast<ImageCanvas&>(canvas).tool = static_cast<ImageTool>(letter.digitValue());
        } else {
            QTest::keyClick(&canvas, keys[letter.toLower()],
                            letter.isUpper() ? Qt::ControlModifier : Qt::NoModifier);
        }
    }
}

/// One letter a pixel: "." black, "L" the left button's colour, "R" the right one's.
QString picture(const ImageDocument& image) {
    QString text;
    for (std::size_t at = 0; at < image.pixels.size(); ++at) {
        const std::uint16_t value = image.pixels[at];
        text += at != 0 && at % static_cast<std::size_t>(image.width) == 0 ? u"/"_s : QString();
        text += value == 0 ? u'.' : value == 0xFFFF ? u'L' : u'R';
    }
    return text;
}

} // namespace

class KeyboardDrawingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void imageByKeys_data() {
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("spoken");
        QTest::addColumn<int>("undoSteps");
        const auto row = [](const char* script, const char* expected, const char* spoken,
                            int steps) {
            QTest::newRow(script) << QString::fromLatin1(expected) << QString::fromLatin1(spoken)
                                  << steps;
        };
        row("rd__", "..../.L../....", "Column 2, row 2, #ffffff", 1);
        row("_rd", "LL../.L../....", "Column 2, row 2, #ffffff, drawing", 0);
        row("n_rxdb", "LR../.R../....", "Column 2, row 2, #1044a4", 2);
        row("_rdq", "..../..../....", "Column 2, row 2, #000000", 0);
        row("_rq_d_", ".L../.L../....", "Column 2, row 2, #ffffff", 1);
        row("e_Dhn", "...L/...L/LLLL", "Column 1, row 3, #ffffff", 1);
        row("RuLlD1_", "LLLL/LLLL/LLLL", "Column 1, row 3, #ffffff", 1);
        row("2_Rdd_", "L.../.LL./...L", "Column 4, row 3, #ffffff", 1);
        row("2_Rqlq_", "..L./..../....", "Column 3, row 1, #ffffff, drawing", 0);
    }

    void imageByKeys() {
        std::optional<ImageDrawing> drawing(newImage("Test", 4, 3));
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        canvas.rightColor = 0x1234;
        strike(canvas, QString::fromLatin1(QTest::currentDataTag()));
        QTEST(canvas.accessibleDescription(), "spoken");
        QTEST(picture(drawing->document), "expected");
        QTEST(static_cast<int>(drawing->history.size()), "undoSteps");
    }

    void glyphByKeys() {
        OpenFont open{FontDocument{.name = "Test", .width = 3, .height = 2, .columns = Bytes(6)},
                      1};
        FontCanvas canvas(open, FontCanvas::Role::Editor);
        int edits = 0;
        canvas.onEdited([&edits] { ++edits; });
        strike(canvas, u"r_dRnun_"_s);
        QCOMPARE(open.font->columns, (Bytes{0, 0, 0, 0, 2, 1}));
        QCOMPARE(canvas.accessibleDescription(), u"Column 3, row 1, clear"_s);
        QCOMPARE(edits, 4);
        open.font->width = 1; // another font: the cursor stays inside
        strike(canvas, u"_"_s);
        QCOMPARE(canvas.accessibleDescription(), u"Column 1, row 1, set"_s);
    }

    /// A press of the mouse takes the cursor along, and out of sight until the next key.
    void cursorShowsForKeysOnly() {
        ImageWindow window(nullptr, {});
        window.adopt(newImage("Test", 160, 128), {}, false);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto& canvas = pivex::testing::child<ImageCanvas>(window, "editCanvas");
        const auto isSeen = [&] {
            const QImage with = canvas.grab().toImage();
            canvas.clearFocus();
            const bool differs = canvas.grab().toImage() != with;
            canvas.setFocus(Qt::OtherFocusReason);
            return differs;
        };
        canvas.setFocus(Qt::TabFocusReason);
        QVERIFY(isSeen());
        QTest::mouseClick(&canvas, Qt::LeftButton, {}, {600, 300});
        QVERIFY(!isSeen());
        strike(canvas, u"re"_s);
        QVERIFY(isSeen());
        QCOMPARE(canvas.accessibleDescription(), u"Column 160, row 51, #000000"_s);
        // The view follows the cursor.
        QVERIFY(canvas.visibleRegion().contains(QPoint(159, 50) * canvas.zoom));
        strike(canvas, u"h"_s);
        QVERIFY(canvas.visibleRegion().contains(QPoint(0, 50) * canvas.zoom));
    }
};

QTEST_MAIN(KeyboardDrawingTest)
#include "KeyboardDrawingTest.moc"
