#include "tools/FontCanvas.h"

#include <QtTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QRgb background = 0xff1c2427;
constexpr QRgb lit = 0xffe1e8eb;
constexpr QRgb unlit = 0xff30393d;
constexpr QRgb outline = 0xff526068;

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

QImage screenOf(FontCanvas& canvas, const QRect& area) {
    return canvas.grab(area).toImage().convertToFormat(QImage::Format_RGB32);
}

/// Whether the middles of the squares of `cell` screen pixels from `origin` on show the glyph.
bool shows(const QImage& screen, const FontDocument& font, int glyph, QPoint origin, int cell) {
    bool isRight = true;
    for (int at = 0; at < font.width * font.height; ++at) {
        const QPoint pixel(at / font.height, at % font.height);
        const int index = glyph * font.width + pixel.x();
        const bool isLit = (font.columns.at(static_cast<std::size_t>(index)) << pixel.y() &
                            1 << (font.height - 1)) != 0;
        const QPoint middle = origin + pixel * cell + QPoint(cell / 2, cell / 2);
        isRight = isRight && screen.pixel(middle) == (isLit ? lit : unlit);
    }
    return isRight;
}

/// How many pixels are not background.
qsizetype painted(const QImage& image) {
    const auto* pixels = reinterpret_cast<const QRgb*>(image.constBits());
    const qsizetype count = image.sizeInBytes() / 4;
    return count - std::count(pixels, pixels + count, background);
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

    void editorStandsCentredAndTakesClicks() {
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
            const QImage screen = screenOf(canvas, canvas.rect());
            QVERIFY(shows(screen, *open.font, 2, {x, y}, cell));
            QCOMPARE(screen.pixel(x, y) == outline, cell >= 4);
            QCOMPARE(screen.pixel(x - 1, y), background);
            QCOMPARE(screen.pixel(x, y + fontHeight * cell), background);
            int edits = 0;
            canvas.onEdited([&edits] { ++edits; });
            const QPointF first(x, y);
            const QPointF last(x + fontWidth * cell - 1, y + fontHeight * cell - 1);
            for (const QPointF outside : {first - QPointF(0.6, 0), first - QPointF(0, 0.6),
                                          last + QPointF(0.6, 0), last + QPointF(0, 0.6)}) {
                click(canvas, outside);
            }
            click(canvas, last, Qt::RightButton);
            QCOMPARE(edits, 0);
            Bytes toggled = open.font->columns;
            toggled.back() ^= 1;
            click(canvas, last + QPointF(0.4, 0.4));
            QCOMPARE(open.font->columns, toggled);
            QCOMPARE(edits, 1);
        }
    }

    void keysToggleUnderTheCursor() {
        OpenFont open{FontDocument{.name = "Test", .width = 3, .height = 2, .columns = Bytes(6)},
                      1};
        FontCanvas canvas(open, FontCanvas::Role::Editor);
        for (const Qt::Key key : {Qt::Key_End, Qt::Key_Space, Qt::Key_Down, Qt::Key_Return}) {
            QTest::keyClick(&canvas, key);
        }
        QCOMPARE(open.font->columns, (Bytes{0, 0, 0, 0, 0, 3}));
        QCOMPARE(canvas.accessibleDescription(), u"Column 3, row 2, set"_s);
        open.font->width = 1; // another font: the cursor stays inside
        QTest::keyClick(&canvas, Qt::Key_Up);
        QCOMPARE(canvas.accessibleDescription(), u"Column 1, row 1, clear"_s);
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
            canvas.showFont();
            canvas.resize(width, height);
            const QImage image = screenOf(canvas, canvas.rect());
            QCOMPARE(canvas.minimumHeight(), height);
            for (int glyph = 0; glyph < glyphs && perRow > 1; ++glyph) {
                const QPoint origin(8 + glyph % perRow * step.width(),
                                    8 + glyph / perRow * step.height());
                QVERIFY(shows(image, *open.font, glyph, origin, scale));
                QVERIFY(painted(image.copy(origin.x(), origin.y() + fontHeight * scale,
                                           step.width(), 20)) > 0);
            }
            // Painting only a part shows the same there.
            for (const QRect area : {QRect(100, 39, 30, 64), QRect(0, height - 6, width, 6)}) {
                const QRect part = area.intersected(image.rect());
                QCOMPARE(screenOf(canvas, part), image.copy(part));
            }
        }
    }

    void noFontIsSaid() {
        OpenFont open;
        for (const auto role : {FontCanvas::Role::Editor, FontCanvas::Role::Preview}) {
            FontCanvas canvas(open, role);
            canvas.resize(400, 300);
            click(canvas, {200, 150});
            QVERIFY(painted(screenOf(canvas, canvas.rect())) > 20);
        }
    }
};

QTEST_MAIN(FontCanvasTest)
#include "FontCanvasTest.moc"
