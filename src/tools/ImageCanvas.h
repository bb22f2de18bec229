#pragma once

#include "tools/CellCursor.h"
#include "tools/ImageDrawing.h"

#include <QColor>
#include <QPoint>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <optional>

namespace pivex {

/// The screen colour of an RGB565 value; each part is widened to 0-255 and rounded down.
QColor screenColor(std::uint16_t value);

/// The RGB565 value next to a screen colour; each part is rounded to nearest.
std::uint16_t boardColor(const QColor& color);

/// Shows an image: either enlarged, with a pixel grid, for drawing, or as a preview that fits the
/// widget and takes no input. By keys, a cursor moves over the pixels; Space or Return presses and
/// releases the left mouse button there, Delete or Backspace the right one, Escape abandons.
class ImageCanvas : public QWidget {
    Q_OBJECT

public:
    enum class Role { Edit, Preview };

    static constexpr int minZoom = 2;
    static constexpr int maxZoom = 20;

    /// `shown` is the image of the window; it must outlive the canvas or be left by `detach`.
    ImageCanvas(std::optional<ImageDrawing>* shown, Role role, QWidget* parent = nullptr);

    /// Ends a mouse gesture and the drawing's; to be called before anything else changes the image
    /// and before tool, colour or zoom change.
    void finish();

    /// Lets go of the image and of `changed`; the canvas shows none from now on.
    void detach();

    /// Size of the enlarged image in screen pixels; 160 by 128 without one.
    QSize imageArea() const;

    int zoom = 6; ///< screen pixels per image pixel, `minZoom` to `maxZoom`
    ImageTool tool = ImageTool::Pencil;
    std::uint16_t leftColor = 0xFFFF;  ///< RGB565, of the left mouse button
    std::uint16_t rightColor = 0x0000; ///< RGB565, of the right mouse button
    std::function<void()> changed;     ///< called after every change that shows
    std::function<void()> cursorMoved; ///< called when the keys may have moved the cursor

    /// For the cursor's rectangle the place of the keys' cursor, which a scroll area keeps in view.
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool hasImage() const;
    bool isInImage(QPointF position) const;
    QPoint pixelAt(QPointF position) const;
    QSize pixels() const;
    QRect cursorPlace() const;
    bool takeKey(const QKeyEvent& event);
    void press(QPoint pixel, std::uint16_t color);
    void drag(QPoint pixel);
    void strike(const QKeyEvent& event, std::uint16_t color);
    void abandon();
    void describeCursor();
    void tellChanged();

    std::optional<ImageDrawing>* drawing;
    bool preview;
    bool stroking = false;
    std::uint16_t strokeColor = 0;
    QPoint last; ///< image pixel that the gesture visited last
    CellCursor cursor;
};

} // namespace pivex
