#include "support/Dialogs.h"
#include "support/TextCases.h"
#include "tools/ImageWindowPrivate.h"

#include <QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

/// One letter a pixel: "." black, "L" the left button's colour, "R" the right one's.
QString picture(const ImageDocument& image) {
    QString text;
    for (const std::uint16_t value : image.pixels) {
        text += value == 0 ? u'.' : value == 0xFFFF ? u'L' : u'R';
    }
    for (int row = image.height - 1; row > 0; --row) {
        text.insert(qsizetype{row} * image.width, u'/');
    }
    return text;
}

/// Strikes the keys that the letters stand for, capitals with Ctrl: left, right, up, down, home,
/// end, Space, Return, Delete, Backspace, Escape.
void strike(QWidget& canvas, const QString& letters) {
    constexpr Qt::Key keys[] = {Qt::Key_Left,   Qt::Key_Right,     Qt::Key_Up,    Qt::Key_Down,
                                Qt::Key_Home,   Qt::Key_End,       Qt::Key_Space, Qt::Key_Return,
                                Qt::Key_Delete, Qt::Key_Backspace, Qt::Key_Escape};
    for (const QChar letter : letters) {
        const auto at = std::u16string_view(u"lrudhe_nxbq").find(letter.toLower().unicode());
        QTest::keyClick(&canvas, keys[at], letter.isUpper() ? Qt::ControlModifier : Qt::NoModifier);
    }
}

/// Plays steps, divided by blanks: "L1,2" and "R" and "M" press that button of the mouse at a
/// place, ">3,4" moves it and "^" releases it; "k" strikes the keys behind it, "=2" takes tool
/// number 2 and "F" loses the focus.
void play(ImageCanvas& canvas, const QByteArray& script) {
    for (const QString& step : QString::fromLatin1(script).split(u' ')) {
        const QChar kind = step.front();
        const QStringList place = step.mid(1).split(u',');
        const QPointF at(place.value(0).toDouble(), place.value(1).toDouble());
        const auto button = kind == u'R'   ? Qt::RightButton
                            : kind == u'M' ? Qt::MiddleButton
                                           : Qt::LeftButton;
        const auto type = kind == u'>'   ? QEvent::MouseMove
                          : kind == u'^' ? QEvent::MouseButtonRelease
                                         : QEvent::MouseButtonPress;
        if (kind == u'=') {
            canvas.tool = static_cast<ImageTool>(place.front().toInt());
        } else if (kind == u'k') {
            strike(canvas, place.front());
        } else {
            QMouseEvent event(type, at, canvas.mapToGlobal(at), button, button, Qt::NoModifier);
            QFocusEvent lost(QEvent::FocusOut);
            QApplication::sendEvent(&canvas, kind == u'F' ? static_cast<QEvent*>(&lost) : &event);
        }
    }
}

} // namespace

class ImageCanvasTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// The picture, the number of undo steps, how often the canvas told of changes and what it
    /// says of the cursor. Two screen pixels make an image pixel, so the image reaches to 8,6.
    void gestures_data() {
        addTextCases({
            {"L0,0 >7,2 ^", "LL../..LL/.... 1 3 "},
            {"L1,1 >-9,5 >30,90 ^", "L.../L.../LLLL 1 4 "},
            {"M2,2 >4,2 ^ L8,2 >2,2 ^ L-0.5,2 ^ L2,-0.2 ^ L2,6 ^", "..../..../.... 0 0 "},
            {"L7.9,5.9 ^", "..../..../...L 1 2 "},
            {">2,2 L0,0 ^ >6,0", "L.../..../.... 1 2 "},
            {"L0,0 >1,1 F >6,0 ^", "L.../..../.... 1 2 "},
            {"L0,0 >2,0 R2,2 >4,2 ^", "LL../.RR./.... 2 6 "},
            {"=2 L0,0 >7,0 >0,5 ^", "L.../L.../L... 1 4 "},
            {"L0,0 >2,0 ^ =1 R0,4 >0,0 ^", "LLRR/RRRR/RRRR 2 5 "},
            {"krd__", "..../.L../.... 1 2 Column 2, row 2, #ffffff"},
            {"k_rd", "LL../.L../.... 0 3 Column 2, row 2, #ffffff, drawing"},
            {"kn_rxdb", "LR../.R../.... 2 5 Column 2, row 2, #1044a4"},
            {"k_rdq", "..../..../.... 0 4 Column 2, row 2, #000000"},
            {"k_rq_d_", ".L../.L../.... 1 6 Column 2, row 2, #ffffff"},
            {"ke_Dhn", "...L/...L/LLLL 1 4 Column 1, row 3, #ffffff"},
            {"kRuLlD =1 k_", "LLLL/LLLL/LLLL 1 2 Column 1, row 3, #ffffff"},
            {"=2 k_Rqlq_", "..L./..../.... 0 4 Column 3, row 1, #ffffff, drawing"},
        });
    }

    void gestures() {
        checkTextCase([](const QByteArray& script) {
            std::optional<ImageDrawing> drawing(newImage("Test", 4, 3));
            ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
            int told = 0;
            canvas.changed = [&] { ++told; };
            canvas.zoom = 2;
            canvas.rightColor = 0x1234;
            play(canvas, script);
            return u"%1 %2 %3 %4"_s
                .arg(picture(drawing->document), QString::number(drawing->history.size()),
                     QString::number(told), canvas.accessibleDescription())
                .toLatin1();
        });
    }

    /// From zoom 3 on with a grid along the upper and the left side of each.
    void showsEveryPixel() {
        std::optional<ImageDrawing> drawing(newImage("Test", maxImageWidth, maxImageHeight));
        std::uint16_t shade = 0;
        for (std::uint16_t& pixel : drawing->document.pixels) {
            pixel = shade = static_cast<std::uint16_t>(shade * 25173 + 13849);
        }
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        for (const int zoom : {2, 3, 20}) {
            canvas.zoom = zoom;
            canvas.resize(canvas.imageArea() + QSize(5, 5));
            const QImage screen = canvas.grab().toImage();
            for (int at = 0; at < maxImageWidth * maxImageHeight; ++at) {
                const QPoint corner = QPoint(at % maxImageWidth, at / maxImageWidth) * zoom;
                const QColor color =
                    screenColor(drawing->document.pixels[static_cast<std::size_t>(at)]);
                QCOMPARE(screen.pixelColor(corner + QPoint(zoom - 1, zoom - 1)), color);
                for (const QPoint side : {QPoint(0, zoom - 1), QPoint(zoom - 1, 0)}) {
                    QCOMPARE(screen.pixelColor(corner + side) == color,
                             zoom < 3 || color == Qt::black);
                }
            }
            QCOMPARE(screen.pixelColor(canvas.imageArea().width() + 2, 9), QColor(Qt::black));
        }
    }

    void previewFitsAndKeepsTheProportions() {
        std::optional<ImageDrawing> drawing(newImage("Test", 4, 2));
        std::ranges::fill(drawing->document.pixels, 0xFFFF);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Preview);
        canvas.resize(200, 150);
        play(canvas, "R8,8 >20,8 ^");
        QVERIFY(drawing->history.empty());
        const QImage screen = canvas.grab().toImage();
        for (const int y : {0, 24, 25, 124, 125, 149}) {
            const QColor expected = y >= 25 && y < 125 ? Qt::white : Qt::black;
            QCOMPARE(screen.pixelColor(199, y), expected);
        }
        drawing.reset();
        QVERIFY(canvas.grab().toImage() != screen);
    }

    void convertsColours() {
        QCOMPARE(screenColor(0x8410), QColor(131, 129, 131));
        QCOMPARE(boardColor(QColor(4, 2, 5)), 0x0001);
        for (unsigned value = 0; value <= 0xFFFF; ++value) {
            QCOMPARE(boardColor(screenColor(static_cast<std::uint16_t>(value))), value);
        }
    }

    /// A press of the mouse takes the cursor along, and out of sight until the next key. The view
    /// follows the cursor.
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
        QVERIFY(canvas.visibleRegion().contains(QPoint(159, 50) * canvas.zoom));
    }
};

QTEST_MAIN(ImageCanvasTest)
#include "ImageCanvasTest.moc"
