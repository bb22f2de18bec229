#include "tools/FontCanvas.h"

#include <QPainter>
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

/// An image of the background alone.
QImage blank(const QSize& size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(background);
    return image;
}

QImage screenOf(FontCanvas& canvas) {
    return canvas.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

/// Draws the squares of `cell` screen pixels that `glyph` consists of, the first at `origin`.
void drawGlyph(QImage& image, const FontDocument& font, int glyph, QPoint origin, int cell,
               bool hasOutline) {
    QPainter painter(&image);
    for (int at = 0; at < font.width * font.height; ++at) {
        const QPoint pixel(at / font.height, at % font.height);
        const QRect square(origin + pixel * cell, QSize(cell, cell));
        const int index = glyph * font.width + pixel.x();
        const int column = font.columns.at(static_cast<std::size_t>(index));
        const QColor color((column << pixel.y() & 1 << (font.height - 1)) != 0 ? lit : unlit);
        painter.fillRect(square, hasOutline ? QColor(outline) : color);
        painter.fillRect(hasOutline ? square.adjusted(1, 1, -1, -1) : square, color);
    }
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

    void editorStandsCentred() {
        // The sizes of font and canvas, the size of a cell and the corner of the first.
        const std::array<int, 7> cases[] = {
            {8, 8, 600, 400, 32, 172, 72},  // the largest cell
            {8, 8, 400, 255, 25, 100, 27},  // the height decides
            {20, 7, 225, 300, 10, 12, 115}, // the width decides
            {32, 5, 152, 200, 4, 12, 90},   // outlined from here on
            {32, 5, 151, 200, 3, 27, 92},   {201, 8, 224, 180, 1, 11, 86},
        };
        for (const auto& [fontWidth, fontHeight, width, height, cell, x, y] : cases) {
            OpenFont open{patterned({fontWidth, fontHeight}, 3), 2};
            FontCanvas canvas(open, FontCanvas::Role::Editor);
            canvas.resize(width, height);
            QImage expected = blank(canvas.size());
            drawGlyph(expected, *open.font, 2, {x, y}, cell, cell >= 4);
            QCOMPARE(screenOf(canvas), expected);
        }
    }

    void clicksToggleTheirPixel() {
        // Where, and in which column and row; a row of -1 stands for nowhere.
        const std::tuple<double, double, int, int> cases[] = {
            {12, 24, 0, 0},      {171, 247, 4, 6}, {11.6, 55.6, 0, 1}, {171.4, 55.4, 4, 0},
            {171.6, 100, 0, -1}, {11, 100, 0, -1}, {100, 23, 0, -1},   {100, 248, 0, -1},
        };
        const FontDocument before = patterned({5, 7}, 3);
        for (const auto& [x, y, column, row] : cases) {
            OpenFont open{before, 1};
            FontCanvas canvas(open, FontCanvas::Role::Editor);
            int edits = 0;
            canvas.onEdited([&edits] { ++edits; });
            // Cells of 32 reach from (12, 24) to (171, 247).
            canvas.resize(184, 272);
            Bytes after = before.columns;
            after.at(std::size_t{5} + static_cast<std::size_t>(column)) ^=
                static_cast<std::uint8_t>(row < 0 ? 0 : 0x40 >> row);
            click(canvas, {x, y});
            click(canvas, {x, y}, Qt::RightButton);
            QCOMPARE(open.font->columns, after);
            click(canvas, {x, y});
            QCOMPARE(open.font->columns, before.columns);
            QCOMPARE(edits, row < 0 ? 0 : 2);
        }
    }

    void previewShowsEveryGlyph() {
        // The size of the font, glyphs, the width of the canvas, the scale and glyphs in a row.
        const std::array<int, 6> cases[] = {
            {8, 8, 95, 340, 3, 9},    {9, 8, 20, 340, 2, 10}, {12, 5, 97, 340, 2, 9},
            {13, 8, 224, 340, 1, 12}, {1, 1, 8, 136, 3, 8},   {1, 1, 8, 135, 3, 7},
            {300, 8, 3, 130, 1, 1},
        };
        for (const auto& [fontWidth, fontHeight, glyphs, width, scale, perRow] : cases) {
            OpenFont open{patterned({fontWidth, fontHeight}, glyphs), 0};
            FontCanvas canvas(open, FontCanvas::Role::Preview);
            const QSize step = QSize(fontWidth, fontHeight) * scale + QSize(12, 24);
            const int height = (glyphs + perRow - 1) / perRow * step.height() + 16;
            canvas.resize(width, height);
            canvas.showFont();
            QCOMPARE(canvas.minimumHeight(), height);
            const QImage image = screenOf(canvas);
            QImage expected = blank(canvas.size());
            for (int glyph = 0; glyph < glyphs; ++glyph) {
                const QPoint origin(8 + glyph % perRow * step.width(),
                                    8 + glyph / perRow * step.height());
                drawGlyph(expected, *open.font, glyph, origin, scale, false);
                // The captions are as the toolkit draws them, but there they must be.
                const QRect captions(0, origin.y() + fontHeight * scale, width, 20);
                QVERIFY(image.copy(origin.x(), captions.y(), 9, 20) != blank({9, 20}));
                QPainter(&expected).drawImage(captions, image, captions);
            }
            QCOMPARE(image, expected);
            // Painting only a part shows the same there.
            for (const QRect area : {QRect(100, 39, 30, 64), QRect(0, height - 6, width, 6)}) {
                const QRect part = area.intersected(image.rect());
                QCOMPARE(canvas.grab(part).toImage().convertToFormat(image.format()),
                         image.copy(part));
            }
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
            const QImage image = screenOf(canvas);
            const auto* pixels = reinterpret_cast<const QRgb*>(image.constBits());
            QVERIFY(std::count(pixels, pixels + image.sizeInBytes() / 4, caption) > 20);
            QCOMPARE(image.copy(0, 0, 400, 12), blank({400, 12}));
            click(canvas, {200, 150});
        }
    }
};

QTEST_MAIN(FontCanvasTest)
#include "FontCanvasTest.moc"
