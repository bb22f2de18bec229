#include "tools/ImageCanvas.h"

#include <QApplication>
#include <QFocusEvent>
#include <QMouseEvent>
#include <QTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<ImageDrawing> image(int width, int height, std::uint16_t color = 0) {
    std::optional<ImageDrawing> drawing(newImage("Test", width, height));
    std::ranges::fill(drawing->document.pixels, color);
    return drawing;
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

/// Sends "L1,2" (press left at widget position 1,2), "R" and "M" (right, middle), ">3,4" (move),
/// "^" (release) or "F" (focus lost), separated by blanks; "=2" takes tool number 2.
void play(ImageCanvas& canvas, const char* script) {
    for (const QString& step : QString::fromLatin1(script).split(u' ')) {
        const QStringList place = step.mid(1).split(u',');
        const QPointF at(place.value(0).toDouble(), place.value(1).toDouble());
        const QChar kind = step.front();
        if (kind == u'=') {
            canvas.tool = static_cast<ImageTool>(place.front().toInt());
            continue;
        }
        const auto button = kind == u'R'   ? Qt::RightButton
                            : kind == u'M' ? Qt::MiddleButton
                                           : Qt::LeftButton;
        const auto type = kind == u'>'   ? QEvent::MouseMove
                          : kind == u'^' ? QEvent::MouseButtonRelease
                                         : QEvent::MouseButtonPress;
        QMouseEvent event(type, at, canvas.mapToGlobal(at), button, button, Qt::NoModifier);
        QFocusEvent lost(QEvent::FocusOut);
        QApplication::sendEvent(&canvas, kind == u'F' ? static_cast<QEvent*>(&lost) : &event);
    }
}

} // namespace

class ImageCanvasTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void gestures_data() {
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("undoSteps");
        const auto row = [](const char* script, const char* expected, int steps) {
            QTest::newRow(script) << QString::fromLatin1(expected) << steps;
        };
        // Two screen pixels to an image pixel, so the image reaches to 8,6.
        row("L0,0 >7,2 ^", "LL../..LL/....", 1);
        row("L1,1 >-9,5 >30,90 ^", "L.../L.../LLLL", 1);
        row("M2,2 >4,2 ^ L8,2 >2,2 ^ L-0.5,2 ^ L2,-0.2 ^ L2,6 ^", "..../..../....", 0);
        row("L7.9,5.9 ^", "..../..../...L", 1);
        row(">2,2 L0,0 ^ >6,0", "L.../..../....", 1);
        row("L0,0 F >6,0 ^", "L.../..../....", 1);
        row("L0,0 >2,0 R2,2 >4,2 ^", "LL../.RR./....", 2);
        row("=2 L0,0 >7,0 >0,5 ^", "L.../L.../L...", 1);
        row("L0,0 >2,0 ^ =1 R0,4 >0,0 ^", "LLRR/RRRR/RRRR", 2);
    }

    void gestures() {
        auto drawing = image(4, 3);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        canvas.zoom = 2;
        canvas.rightColor = 0x1234;
        play(canvas, QTest::currentDataTag());
        QTEST(picture(drawing->document), "expected");
        QTEST(static_cast<int>(drawing->history.size()), "undoSteps");
    }

    void tellsEveryChange() {
        auto drawing = image(4, 3);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        int told = 0;
        canvas.changed = [&] { ++told; };
        play(canvas, "R0,0 ^");
        QCOMPARE(told, 1); // the press, although black on black
        play(canvas, "L0,0 >6,0 >6,1 ^");
        QCOMPARE(told, 4); // press, one move to another pixel, end
        ImageCanvas preview(&drawing, ImageCanvas::Role::Preview);
        preview.changed = canvas.changed;
        play(preview, "L12,12 >20,20 ^");
        QCOMPARE(told, 4);
    }

    void showsEveryPixel() {
        auto drawing = image(maxImageWidth, maxImageHeight);
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
                // The first row and column of each enlarged pixel may carry the grid.
                const QPoint corner = QPoint(at % maxImageWidth, at / maxImageWidth) * zoom;
                const auto pixel = drawing->document.pixels[static_cast<std::size_t>(at)];
                QCOMPARE(screen.pixelColor(corner + QPoint(1, 1)), screenColor(pixel));
                QCOMPARE(screen.pixelColor(corner + QPoint(zoom, zoom) - QPoint(1, 1)),
                         screenColor(pixel));
            }
            QCOMPARE(screen.pixelColor(canvas.imageArea().width() + 2, 9), QColor(Qt::black));
        }
    }

    void drawsTheGridFromZoomThree() {
        auto drawing = image(4, 3, 0xFFFF);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        const auto shade = [&](int zoom, int x, int y) {
            canvas.zoom = zoom;
            return canvas.grab().toImage().pixelColor(x, y).red();
        };
        QCOMPARE(shade(2, 2, 2), 255);
        QCOMPARE(shade(3, 3, 1), 210);
        QCOMPARE(shade(3, 1, 6), 210);
        QCOMPARE(shade(3, 4, 4), 255);
    }

    void previewFitsAndKeepsTheProportions() {
        auto drawing = image(4, 2, 0xFFFF);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Preview);
        canvas.resize(200, 150);
        const QImage screen = canvas.grab().toImage();
        for (const int y : {0, 24, 25, 124, 125, 149}) {
            const QColor expected = y >= 25 && y < 125 ? Qt::white : Qt::black;
            QCOMPARE(screen.pixelColor(0, y), expected);
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
};

QTEST_MAIN(ImageCanvasTest)
#include "ImageCanvasTest.moc"
