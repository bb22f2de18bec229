#include "tools/FontCanvas.h"

#include <QtTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QRgb background = 0xff1c2427;
constexpr QRgb lit = 0xffe1e8eb;
constexpr QRgb unlit = 0xff30393d;
constexpr QRgb outline = 0xff526068;
constexpr QRgb caption = 0xffaeb8bd;

/// A font in which no two glyphs, rows or columns look alike.
FontDocument patterned(const QSize& size, int glyphs) {
    FontDocument font{
        .name = "Pattern", .width = size.width(), .height = size.height(), .columns = {}};
    for (int at = 0; at < size.width() * glyphs; ++at) {
        font.columns.push_back(
            static_cast<std::uint8_t>((at * 73 + 41) & ((1 << size.height()) - 1)));
    }
    return font;
}

int countColor(const QImage& image, const QRect& area, QRgb color) {
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            count += image.pixel(x, y) == color ? 1 : 0;
        }
    }
    return count;
}

/// Whether every pixel of `glyph` is a square of `cell` screen pixels, those of the outline aside,
/// in its colour; `origin` is the corner of the first. What lies outside the image is left out.
bool showsGlyph(const QImage& image, const FontDocument& font, int glyph, QPoint origin, int cell,
                bool hasOutline) {
    const int inner = hasOutline ? cell - 2 : cell;
    for (int at = 0; at < font.width * font.height; ++at) {
        const QPoint pixel(at / font.height, at % font.height);
        const QRect square(origin + pixel * cell, QSize(cell, cell));
        const int column = glyph * font.width + pixel.x();
        const bool isLit = (font.columns.at(static_cast<std::size_t>(column)) << pixel.y() &
                            1 << (font.height - 1)) != 0;
        if (image.rect().contains(square) &&
            (countColor(image, square, isLit ? lit : unlit) != inner * inner ||
             countColor(image, square, outline) != cell * cell - inner * inner)) {
            return false;
        }
    }
    return true;
}

void click(FontCanvas& canvas, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
    QMouseEvent press(QEvent::MouseButtonPress, at, canvas.mapToGlobal(at), button, button,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&canvas, &press);
}

} // namespace

class FontCanvasTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void editorStandsCentred_data() {
        QTest::addColumn<QSize>("fontSize");
        QTest::addColumn<QSize>("canvasSize");
        QTest::addColumn<int>("cell");
        QTest::addColumn<QPoint>("origin");
        QTest::newRow("largest cell") << QSize(8, 8) << QSize(600, 400) << 32 << QPoint(172, 72);
        QTest::newRow("height decides") << QSize(8, 8) << QSize(400, 255) << 25 << QPoint(100, 27);
        QTest::newRow("width decides") << QSize(20, 7) << QSize(225, 300) << 10 << QPoint(12, 115);
        QTest::newRow("outline from 4") << QSize(32, 5) << QSize(152, 200) << 4 << QPoint(12, 90);
        QTest::newRow("none below 4") << QSize(32, 5) << QSize(151, 200) << 3 << QPoint(27, 92);
        QTest::newRow("smallest cell") << QSize(201, 8) << QSize(224, 180) << 1 << QPoint(11, 86);
    }

    void editorStandsCentred() {
        QFETCH(QSize, fontSize);
        QFETCH(QSize, canvasSize);
        QFETCH(int, cell);
        QFETCH(QPoint, origin);
        OpenFont open{patterned(fontSize, 3), 2};
        FontCanvas canvas(open, FontCanvas::Role::Editor);
        canvas.resize(canvasSize);
        const QImage image = canvas.grab().toImage();
        QVERIFY(showsGlyph(image, *open.font, 2, origin, cell, cell >= 4));
        QCOMPARE(countColor(image, image.rect(), background),
                 canvasSize.width() * canvasSize.height() -
                     fontSize.width() * fontSize.height() * cell * cell);
    }

    void clicksToggleTheirPixel_data() {
        QTest::addColumn<QPointF>("at");
        QTest::addColumn<QPoint>("pixel"); // column and row, or (-1, -1)
        const QPoint none(-1, -1);
        // A glyph of 5 x 7 in a canvas of 184 x 272 has cells of 32 from (12, 24) to (171, 247).
        QTest::newRow("top left corner") << QPointF(12, 24) << QPoint(0, 0);
        QTest::newRow("bottom right corner") << QPointF(171, 247) << QPoint(4, 6);
        QTest::newRow("rounded up") << QPointF(11.6, 55.6) << QPoint(0, 1);
        QTest::newRow("rounded down") << QPointF(171.4, 55.4) << QPoint(4, 0);
        QTest::newRow("rounded out") << QPointF(171.6, 100) << none;
        QTest::newRow("left of it") << QPointF(11, 100) << none;
        QTest::newRow("above it") << QPointF(100, 23) << none;
        QTest::newRow("below it") << QPointF(100, 248) << none;
    }

    void clicksToggleTheirPixel() {
        QFETCH(QPointF, at);
        QFETCH(QPoint, pixel);
        const FontDocument before = patterned({5, 7}, 3);
        OpenFont open{before, 1};
        FontCanvas canvas(open, FontCanvas::Role::Editor);
        int edits = 0;
        canvas.onEdited([&edits] { ++edits; });
        canvas.resize(184, 272);
        FontDocument after = before;
        if (pixel.x() >= 0) {
            const int column = 5 + pixel.x();
            after.columns[static_cast<std::size_t>(column)] ^=
                static_cast<std::uint8_t>(0x40 >> pixel.y());
        }
        click(canvas, at);
        click(canvas, at, Qt::RightButton);
        QCOMPARE(open.font->columns, after.columns);
        click(canvas, at);
        QCOMPARE(open.font->columns, before.columns);
        QCOMPARE(edits, pixel.x() >= 0 ? 2 : 0);
    }

    void previewShowsEveryGlyph_data() {
        QTest::addColumn<QSize>("fontSize");
        QTest::addColumn<int>("glyphs");
        QTest::addColumn<int>("canvasWidth");
        QTest::addColumn<int>("scale");
        QTest::addColumn<int>("perRow");
        QTest::newRow("8 wide") << QSize(8, 8) << 95 << 340 << 3 << 9;
        QTest::newRow("9 wide") << QSize(9, 8) << 20 << 340 << 2 << 10;
        QTest::newRow("12 wide") << QSize(12, 5) << 97 << 340 << 2 << 9;
        QTest::newRow("13 wide") << QSize(13, 8) << 224 << 340 << 1 << 12;
        QTest::newRow("one row exactly full") << QSize(1, 1) << 8 << 136 << 3 << 8;
        QTest::newRow("a pixel short") << QSize(1, 1) << 8 << 135 << 3 << 7;
        QTest::newRow("wider than the canvas") << QSize(300, 8) << 3 << 130 << 1 << 1;
    }

    void previewShowsEveryGlyph() {
        QFETCH(QSize, fontSize);
        QFETCH(int, glyphs);
        QFETCH(int, canvasWidth);
        QFETCH(int, scale);
        QFETCH(int, perRow);
        OpenFont open{patterned(fontSize, glyphs), 0};
        FontCanvas canvas(open, FontCanvas::Role::Preview);
        const QSize step = fontSize * scale + QSize(12, 24);
        const int height = (glyphs + perRow - 1) / perRow * step.height() + 16;
        canvas.resize(canvasWidth, height);
        canvas.showFont();
        QCOMPARE(canvas.minimumHeight(), height);
        const QImage image = canvas.grab().toImage();
        for (int glyph = 0; glyph < glyphs; ++glyph) {
            const QPoint origin(8 + glyph % perRow * step.width(),
                                8 + glyph / perRow * step.height());
            QVERIFY(showsGlyph(image, *open.font, glyph, origin, scale, false));
            const QRect captionArea(origin + QPoint(0, fontSize.height() * scale), QSize(9, 20));
            QVERIFY(countColor(image, captionArea, background) < 9 * 20);
        }
        // Painting only a part shows the same there.
        for (const QRect area : {QRect(100, 39, 30, 64), QRect(0, height - 6, canvasWidth, 6)}) {
            const QRect part = area.intersected(image.rect());
            QCOMPARE(canvas.grab(part).toImage(), image.copy(part));
        }
    }

    void sizesFollowTheFont() {
        OpenFont open;
        FontCanvas editor(open, FontCanvas::Role::Editor);
        FontCanvas preview(open, FontCanvas::Role::Preview);
        const auto sizes = [&] {
            editor.showFont();
            preview.showFont();
            return QList<QSize>{editor.minimumSize(), preview.minimumSize()};
        };
        QCOMPARE(preview.minimumSize(), QSize(120, 80));
        QCOMPARE(sizes(), (QList<QSize>{{120, 180}, {120, 120}}));
        preview.show();
        preview.resize(160, 200);
        open.font = patterned({97, 8}, 2);
        QCOMPARE(sizes(), (QList<QSize>{{121, 180}, {120, 80}}));
        preview.resize(234, 200); // room for both glyphs beside each other
        QCOMPARE(preview.minimumHeight(), 48);
        open.font = patterned({96, 8}, 2);
        QCOMPARE(sizes().first(), QSize(120, 180));
    }

    void noFontIsSaid() {
        OpenFont open;
        for (const auto role : {FontCanvas::Role::Editor, FontCanvas::Role::Preview}) {
            FontCanvas canvas(open, role);
            canvas.onEdited([] { QFAIL("edited without a font"); });
            canvas.resize(400, 300);
            const QImage image = canvas.grab().toImage();
            QVERIFY(countColor(image, image.rect(), caption) > 20);
            QCOMPARE(countColor(image, QRect(0, 0, 400, 12), background), 400 * 12);
            click(canvas, {200, 150});
        }
    }
};

QTEST_MAIN(FontCanvasTest)
#include "FontCanvasTest.moc"
