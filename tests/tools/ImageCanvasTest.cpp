#include "tools/ImageCanvas.h"

#include <QApplication>
#include <QFocusEvent>
#include <QMouseEvent>
#include <QRandomGenerator>
#include <QTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<ImageDrawing> blackImage(int width, int height) {
    return std::make_optional<ImageDrawing>(newImage("Test", width, height));
}

std::optional<ImageDrawing> noise(int width, int height) {
    auto drawing = blackImage(width, height);
    QRandomGenerator random(7);
    for (std::uint16_t& pixel : drawing->document.pixels) {
        pixel = static_cast<std::uint16_t>(random.bounded(0x10000));
    }
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
/// "^" (release) or "F" (focus lost), separated by blanks.
void play(ImageCanvas& canvas, const QString& script) {
    for (const QString& step : script.split(u' ')) {
        const QStringList place = step.mid(1).split(u',');
        const QPointF at(place.value(0).toDouble(), place.value(1).toDouble());
        const QChar kind = step.front();
        if (kind == u'F') {
            QFocusEvent lost(QEvent::FocusOut);
            QApplication::sendEvent(&canvas, &lost);
            continue;
        }
        const auto button = kind == u'R'   ? Qt::RightButton
                            : kind == u'M' ? Qt::MiddleButton
                                           : Qt::LeftButton;
        const auto type = kind == u'>'   ? QEvent::MouseMove
                          : kind == u'^' ? QEvent::MouseButtonRelease
                                         : QEvent::MouseButtonPress;
        QMouseEvent event(type, at, canvas.mapToGlobal(at), button, button, Qt::NoModifier);
        QApplication::sendEvent(&canvas, &event);
    }
}

} // namespace

class ImageCanvasTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void gestures_data() {
        QTest::addColumn<ImageTool>("tool");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("undoSteps");
        using enum ImageTool;
        // Two screen pixels to an image pixel, so the image reaches to 8,6.
        QTest::newRow("no gaps") << Pencil << u"L0,0 >7,2 ^"_s << u"LL../..LL/...."_s << 1;
        QTest::newRow("right colour") << Pencil << u"R2,2 ^"_s << u"..../.R../...."_s << 1;
        QTest::newRow("along the edge")
            << Pencil << u"L1,1 >-9,5 >30,90 ^"_s << u"L.../L.../LLLL"_s << 1;
        QTest::newRow("middle button") << Pencil << u"M2,2 >4,2 ^"_s << u"..../..../...."_s << 0;
        QTest::newRow("right of it") << Pencil << u"L8,2 >2,2 ^"_s << u"..../..../...."_s << 0;
        QTest::newRow("left of it") << Pencil << u"L-0.5,2 ^"_s << u"..../..../...."_s << 0;
        QTest::newRow("above it") << Pencil << u"L2,-0.2 ^"_s << u"..../..../...."_s << 0;
        QTest::newRow("below it") << Pencil << u"L2,6 ^"_s << u"..../..../...."_s << 0;
        QTest::newRow("last fraction") << Pencil << u"L7.9,5.9 ^"_s << u"..../..../...L"_s << 1;
        QTest::newRow("move alone") << Pencil << u">2,2 ^"_s << u"..../..../...."_s << 0;
        QTest::newRow("after release") << Pencil << u"L0,0 ^ >6,0"_s << u"L.../..../...."_s << 1;
        QTest::newRow("focus lost") << Pencil << u"L0,0 F >6,0 ^"_s << u"L.../..../...."_s << 1;
        QTest::newRow("second button begins anew")
            << Pencil << u"L0,0 >2,0 R2,2 >4,2 ^"_s << u"LL../.RR./...."_s << 2;
        QTest::newRow("no trails") << Line << u"L0,0 >7,0 >0,5 ^"_s << u"L.../L.../L..."_s << 1;
        QTest::newRow("clamped shape") << Line << u"L0,2 >99,2 ^"_s << u"..../LLLL/...."_s << 1;
        QTest::newRow("fill acts once") << Fill << u"L0,0 >6,4 ^"_s << u"LLLL/LLLL/LLLL"_s << 1;
        QTest::newRow("no effect") << Pencil << u"L0,0 ^ L0,0 ^"_s << u"L.../..../...."_s << 1;
    }

    void gestures() {
        QFETCH(const ImageTool, tool);
        QFETCH(const QString, script);
        auto drawing = blackImage(4, 3);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        canvas.zoom = 2;
        canvas.rightColor = 0x1234;
        canvas.tool = tool;
        play(canvas, script);
        QTEST(picture(drawing->document), "expected");
        QTEST(static_cast<int>(drawing->history.size()), "undoSteps");
    }

    void tellsEveryChange() {
        auto drawing = blackImage(4, 3);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        int told = 0;
        canvas.changed = [&] { ++told; };
        play(canvas, u"R0,0 ^"_s);
        QCOMPARE(told, 1); // the press, although black on black
        play(canvas, u"L0,0 >6,0 >6,1 ^"_s);
        QCOMPARE(told, 4); // press, one move to another pixel, end
        ImageCanvas preview(&drawing, ImageCanvas::Role::Preview);
        preview.changed = canvas.changed;
        play(preview, u"L12,12 >20,20 ^"_s);
        QCOMPARE(told, 4);
    }

    void showsEveryPixel_data() {
        QTest::addColumn<int>("zoom");
        for (const int zoom : {2, 3, 6, 20}) {
            QTest::addRow("%d", zoom) << zoom;
        }
    }

    void showsEveryPixel() {
        QFETCH(const int, zoom);
        auto drawing = noise(maxImageWidth, maxImageHeight);
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Edit);
        canvas.zoom = zoom;
        canvas.resize(canvas.imageArea() + QSize(5, 5));
        const QImage screen = canvas.grab().toImage();
        auto pixel = drawing->document.pixels.cbegin();
        for (int y = 0; y < maxImageHeight; ++y) {
            for (int x = 0; x < maxImageWidth; ++x, ++pixel) {
                // The first row and column of each enlarged pixel may carry the grid.
                for (const int inside : {1, zoom - 1}) {
                    QCOMPARE(screen.pixelColor(x * zoom + inside, y * zoom + inside),
                             screenColor(*pixel));
                }
            }
        }
        QCOMPARE(screen.pixelColor(canvas.imageArea().width() + 2, 9), QColor(Qt::black));
    }

    void drawsTheGridFromZoomThree() {
        auto drawing = blackImage(4, 3);
        std::ranges::fill(drawing->document.pixels, std::uint16_t{0xFFFF});
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
        auto drawing = blackImage(4, 2);
        std::ranges::fill(drawing->document.pixels, std::uint16_t{0xFFFF});
        ImageCanvas canvas(&drawing, ImageCanvas::Role::Preview);
        canvas.resize(200, 150);
        const QImage screen = canvas.grab().toImage();
        for (int y = 0; y < 150; ++y) {
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
