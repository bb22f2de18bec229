#pragma once

#include <QMargins>
#include <QPoint>
#include <QRect>
#include <QSize>

class QFocusEvent;
class QKeyEvent;
class QPainter;

namespace pivex {

/// The cell of a drawing canvas on which the keys act. It shows only while the keyboard is in use.
class CellCursor {
public:
    /// What the frame takes up around its cell.
    static constexpr QMargins margins{2, 2, 2, 2};

    /// Goes to a cell that the mouse took, and out of sight.
    void follow(QPoint pressed);

    /// Comes into sight when the focus came by a key.
    void meet(const QFocusEvent& event);

    /// Takes an arrow key, with Ctrl for eight cells, or Home or End for the ends of the row, and
    /// comes into sight; false for any other key. `cells` are the columns and rows of the canvas.
    bool take(const QKeyEvent& event, QSize cells);

    /// Comes into sight where it is.
    void reveal() { isShown = true; }

    /// The cell, within `cells` even if these have become fewer.
    QPoint in(QSize cells) const;

    /// Draws a frame around `square`, the cell's place, that stays within `bounds`; in another
    /// colour while the cursor draws. Nothing while the cursor is out of sight.
    void draw(QPainter& painter, const QRect& square, const QRect& bounds, bool isDrawing) const;

private:
    QPoint cell;
    bool isShown = false;
};

} // namespace pivex
