#include "tools/FontCanvas.h"

#include "tools/GlyphModel.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

constexpr QColor backgroundColor(0x1c, 0x24, 0x27);
constexpr QColor litColor(0xe1, 0xe8, 0xeb);
constexpr QColor unlitColor(0x30, 0x39, 0x3d);
constexpr QColor outlineColor(0x52, 0x60, 0x68);
constexpr QColor captionColor(0xae, 0xb8, 0xbd);

constexpr int largestCell = 32;
constexpr int smallestOutlinedCell = 4;
constexpr QSize editorMargin(24, 48); ///< kept free beside and above the glyph, both sides together
constexpr int noticeMargin = 12;
constexpr int leastWidth = 120;
constexpr int leastEditorHeight = 180;
constexpr int leastPreviewHeight = 80;
constexpr int emptyPreviewHeight = 120;

constexpr int previewMargin = 8;
constexpr QSize previewGap(12, 24); ///< between glyphs; the caption stands in the lower one
constexpr int captionBaseline = 15;
constexpr int largestCaption = 13; ///< pixel size of letters that fit into the gap

std::size_t columnIndex(const FontDocument& font, int glyph, int column) {
    const int at = glyph * font.width + column;
    return static_cast<std::size_t>(at);
}

bool isLit(const FontDocument& font, int glyph, int column, int row) {
    const int value = font.columns[columnIndex(font, glyph, column)];
    return (value >> (font.height - 1 - row) & 1) != 0;
}

/// Where the pixels of one glyph stand: squares of `cell` screen pixels from `origin` on.
struct PixelGrid {
    QPoint origin;
    int cell;
    QSize pixels;

    QRect area() const { return {origin, pixels * cell}; }

    QRect square(int column, int row) const {
        return {origin.x() + column * cell, origin.y() + row * cell, cell, cell};
    }

    /// The pixels that meet `exposed`, as columns and rows of the glyph; may be empty.
    QRect pixelsIn(const QRect& exposed) const {
        const QRect met = area().intersected(exposed).translated(-origin);
        if (met.isEmpty()) {
            return {};
        }
        return {QPoint(met.left() / cell, met.top() / cell),
                QPoint(met.right() / cell, met.bottom() / cell)};
    }
};

PixelGrid editorGrid(const FontDocument& font, const QSize& size) {
    const QSize room(size.width() - editorMargin.width(), size.height() - editorMargin.height());
    const int fitting = std::min(room.width() / font.width, room.height() / font.height);
    const int cell = std::clamp(fitting, 1, largestCell);
    return {.origin = {(size.width() - font.width * cell) / 2,
                       (size.height() - font.height * cell) / 2},
            .cell = cell,
            .pixels = {font.width, font.height}};
}

/// How the preview arranges the glyphs in rows.
struct PreviewLayout {
    PreviewLayout(const FontDocument& font, int canvasWidth)
        : scale(font.width <= 8 ? 3 : (font.width <= 12 ? 2 : 1)),
          pixels(font.width, font.height),
          step(pixels * scale + previewGap),
          glyphs(font.glyphCount()),
          perRow(std::max(1, (canvasWidth - 2 * previewMargin) / step.width())),
          rows((glyphs + perRow - 1) / perRow) {}

    int height() const { return step.height() * rows + 2 * previewMargin; }

    int rowAt(int y) const {
        return std::clamp((y - previewMargin) / step.height(), 0, std::max(0, rows - 1));
    }

    PixelGrid grid(int glyph) const {
        return {.origin = {previewMargin + glyph % perRow * step.width(),
                           previewMargin + glyph / perRow * step.height()},
                .cell = scale,
                .pixels = pixels};
    }

    int scale;
    QSize pixels;
    QSize step;
    int glyphs;
    int perRow;
    int rows;
};

/// Calls `visit` with every pixel of the grid that meets `exposed`: its square and its state.
template<class Visit>
void forPixels(const FontDocument& font, int glyph, const PixelGrid& grid, const QRect& exposed,
               const Visit& visit) {
    const QRect met = grid.pixelsIn(exposed);
    for (int column = met.left(); column <= met.right(); ++column) {
        for (int row = met.top(); row <= met.bottom(); ++row) {
            visit(grid.square(column, row), isLit(font, glyph, column, row));
        }
    }
}

} // namespace

FontCanvas::FontCanvas(OpenFont& shared, Role use, QWidget* parent)
    : QWidget(parent), open(shared), role(use) {
    setMinimumSize(leastWidth, role == Role::Editor ? leastEditorHeight : leastPreviewHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void FontCanvas::onEdited(std::function<void()> callback) {
    edited = std::move(callback);
}

void FontCanvas::showFont() {
    fitMinimumSize();
    setFocusPolicy(role == Role::Editor && open.font ? Qt::StrongFocus : Qt::NoFocus);
    update();
}

void FontCanvas::showSelectedGlyph() {
    if (!open.font) {
        return;
    }
    const PixelGrid grid = role == Role::Editor
                               ? editorGrid(*open.font, size())
                               : PreviewLayout(*open.font, width()).grid(open.selectedGlyph);
    update(grid.area().marginsAdded(CellCursor::margins));
}

void FontCanvas::fitMinimumSize() {
    if (role == Role::Editor) {
        const int needed = open.font ? open.font->width + editorMargin.width() : 0;
        setMinimumWidth(std::max(leastWidth, needed));
    } else {
        const bool isEmpty = !open.font;
        setMinimumHeight(isEmpty ? emptyPreviewHeight
                                 : PreviewLayout(*open.font, width()).height());
    }
}

void FontCanvas::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    const QRect& exposed = event->rect();
    painter.fillRect(exposed, backgroundColor);
    if (!open.font) {
        paintNotice(painter);
    } else if (role == Role::Editor) {
        paintGlyph(painter, exposed);
    } else {
        paintFont(painter, exposed);
    }
}

void FontCanvas::paintNotice(QPainter& painter) const {
    const QString notice =
        role == Role::Editor
            ? u"No glyph loaded\n\nOpen a font file or create a new font to begin."_s
            : u"No font loaded."_s;
    const QRect place = rect().adjusted(noticeMargin, noticeMargin, -noticeMargin, -noticeMargin);
    painter.setPen(captionColor);
    painter.drawText(place, Qt::AlignCenter | Qt::TextWordWrap, notice);
}

void FontCanvas::paintGlyph(QPainter& painter, const QRect& exposed) const {
    const PixelGrid grid = editorGrid(*open.font, size());
    painter.setPen(outlineColor);
    forPixels(*open.font, open.selectedGlyph, grid, exposed, [&](const QRect& square, bool lit) {
        painter.fillRect(square, lit ? litColor : unlitColor);
        if (grid.cell >= smallestOutlinedCell) {
            painter.drawRect(square.adjusted(0, 0, -1, -1));
        }
    });
    if (hasFocus()) {
        const QPoint pixel = cursor.in(grid.pixels);
        cursor.draw(painter, grid.square(pixel.x(), pixel.y()), rect(), false);
    }
}

void FontCanvas::paintFont(QPainter& painter, const QRect& exposed) const {
    const PreviewLayout layout(*open.font, width());
    const int end = std::min(layout.glyphs, (layout.rowAt(exposed.bottom()) + 1) * layout.perRow);
    QFont captionFont = font();
    captionFont.setPixelSize(std::min(QFontInfo(captionFont).pixelSize(), largestCaption));
    painter.setFont(captionFont);
    painter.setPen(captionColor);
    for (int glyph = layout.rowAt(exposed.top()) * layout.perRow; glyph < end; ++glyph) {
        const PixelGrid grid = layout.grid(glyph);
        painter.fillRect(grid.area().intersected(exposed), unlitColor);
        forPixels(*open.font, glyph, grid, exposed, [&painter](const QRect& square, bool lit) {
            if (lit) {
                painter.fillRect(square, litColor);
            }
        });
        painter.drawText(grid.origin + QPoint(0, grid.area().height() + captionBaseline),
                         glyphCaption(glyph));
    }
}

void FontCanvas::mousePressEvent(QMouseEvent* event) {
    if (role != Role::Editor || !open.font || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const PixelGrid grid = editorGrid(*open.font, size());
    const QPoint position = event->position().toPoint();
    if (grid.area().contains(position)) {
        const QPoint inside = position - grid.origin;
        cursor.follow({inside.x() / grid.cell, inside.y() / grid.cell});
        toggle(cursor.in(grid.pixels));
    }
}

void FontCanvas::keyPressEvent(QKeyEvent* event) {
    if (role != Role::Editor || !open.font) {
        QWidget::keyPressEvent(event);
        return;
    }
    const QSize pixels(open.font->width, open.font->height);
    const int key = event->key();
    if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter) {
        cursor.reveal();
        if (!event->isAutoRepeat()) {
            toggle(cursor.in(pixels));
        }
    } else if (!cursor.take(*event, pixels)) {
        QWidget::keyPressEvent(event);
        return;
    }
    describeCursor();
    showSelectedGlyph();
}

void FontCanvas::focusInEvent(QFocusEvent* event) {
    cursor.meet(*event);
    describeCursor();
    QWidget::focusInEvent(event);
}

/// Says where the cursor is, and on what, to assistive technology.
void FontCanvas::describeCursor() {
    if (!open.font) {
        return;
    }
    const QPoint pixel = cursor.in({open.font->width, open.font->height});
    setAccessibleDescription(u"Column %1, row %2, %3"_s.arg(
        QString::number(pixel.x() + 1), QString::number(pixel.y() + 1),
        isLit(*open.font, open.selectedGlyph, pixel.x(), pixel.y()) ? u"set"_s : u"clear"_s));
}

void FontCanvas::toggle(QPoint pixel) {
    FontDocument& font = *open.font;
    std::uint8_t& value = font.columns[columnIndex(font, open.selectedGlyph, pixel.x())];
    value = static_cast<std::uint8_t>(value ^ 1 << (font.height - 1 - pixel.y()));
    if (edited) {
        edited();
    }
}

void FontCanvas::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (role == Role::Preview) {
        fitMinimumSize();
    }
}

} // namespace pivex
