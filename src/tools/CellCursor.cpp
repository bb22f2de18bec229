#include "tools/CellCursor.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace pivex {

namespace {

constexpr QColor restingColor(0x69, 0xba, 0xff);
constexpr QColor drawingColor(0xf5, 0xcf, 0x79);
constexpr int leap = 8; ///< cells for an arrow key with Ctrl

} // namespace

void CellCursor::follow(QPoint pressed) {
    cell = pressed;
    isShown = false;
}

void CellCursor::meet(const QFocusEvent& event) {
    if (event.reason() == Qt::TabFocusReason || event.reason() == Qt::BacktabFocusReason) {
        isShown = true;
    }
}

bool CellCursor::take(const QKeyEvent& event, QSize cells) {
    const int step = event.modifiers().testFlag(Qt::ControlModifier) ? leap : 1;
    QPoint next = in(cells);
    switch (event.key()) {
    case Qt::Key_Left:
        next.rx() -= step;
        break;
    case Qt::Key_Right:
        next.rx() += step;
        break;
    case Qt::Key_Up:
        next.ry() -= step;
        break;
    case Qt::Key_Down:
        next.ry() += step;
        break;
    case Qt::Key_Home:
        next.setX(0);
        break;
    case Qt::Key_End:
        next.setX(cells.width());
        break;
    default:
        return false;
    }
    cell = next;
    cell = in(cells);
    isShown = true;
    return true;
}

QPoint CellCursor::in(QSize cells) const {
    return {std::clamp(cell.x(), 0, cells.width() - 1),
            std::clamp(cell.y(), 0, cells.height() - 1)};
}

void CellCursor::draw(QPainter& painter, const QRect& square, const QRect& bounds,
                      bool isDrawing) const {
    if (!isShown) {
        return;
    }
    // Two lines, dark and bright, so that one of them differs from whatever is drawn there.
    const QRect outer = square.marginsAdded(margins).intersected(bounds);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Qt::black);
    painter.drawRect(outer.adjusted(0, 0, -1, -1));
    painter.setPen(isDrawing ? drawingColor : restingColor);
    painter.drawRect(outer.adjusted(1, 1, -2, -2));
}

} // namespace pivex
