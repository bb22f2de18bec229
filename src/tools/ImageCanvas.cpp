#include "tools/ImageCanvas.h"

#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

/// The grid is only drawn where it leaves at least two of three screen pixels of each image pixel.
constexpr int minGridZoom = 3;

constexpr QColor gridColor(0, 0, 0, 45);

constexpr QRgb widened(std::uint16_t value) {
    return qRgb((value >> 11) * 255 / 31, (value >> 5 & 63) * 255 / 63, (value & 31) * 255 / 31);
}

QImage screenImage(const ImageDocument& image) {
    QImage screen(image.width, image.height, QImage::Format_RGB32);
    const std::uint16_t* row = image.pixels.data();
    for (int y = 0; y < image.height; ++y, row += image.width) {
        std::transform(row, row + image.width, reinterpret_cast<QRgb*>(screen.scanLine(y)),
                       widened);
    }
    return screen;
}

/// Draws the upper and left line of every enlarged pixel; those that would end the grid at the
/// right and at the bottom lie on the black around the image.
void drawGrid(QPainter& painter, const QRect& area, int zoom) {
    // One tiled cell: the raster engine hands each long translucent line to its threads, and the
    // waiting for some hundred of them is what a stroke would spend its time on.
    QImage cell(zoom, zoom, QImage::Format_ARGB32_Premultiplied);
    cell.fill(Qt::transparent);
    QPainter lines(&cell);
    lines.fillRect(0, 0, zoom, 1, gridColor);
    lines.fillRect(0, 0, 1, zoom, gridColor);
    lines.end();
    painter.fillRect(area, QBrush(cell));
}

} // namespace

QColor screenColor(std::uint16_t value) {
    return QColor::fromRgb(widened(value));
}

std::uint16_t boardColor(const QColor& color) {
    const int red = (color.red() * 31 + 127) / 255;
    const int green = (color.green() * 63 + 127) / 255;
    const int blue = (color.blue() * 31 + 127) / 255;
    return static_cast<std::uint16_t>(red << 11 | green << 5 | blue);
}

ImageCanvas::ImageCanvas(std::optional<ImageDrawing>* shown, Role role, QWidget* parent)
    : QWidget(parent), drawing(shown), preview(role == Role::Preview) {
    setMinimumSize(maxImageWidth, maxImageHeight);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(preview ? Qt::NoFocus : Qt::StrongFocus);
}

void ImageCanvas::finish() {
    stroking = false;
    if (hasImage() && (*drawing)->finish()) {
        tellChanged();
    }
    update();
}

void ImageCanvas::detach() {
    drawing = nullptr;
    changed = nullptr;
    cursorMoved = nullptr;
}

QSize ImageCanvas::imageArea() const {
    if (!hasImage()) {
        return {maxImageWidth, maxImageHeight};
    }
    return pixels() * zoom;
}

bool ImageCanvas::hasImage() const {
    return drawing != nullptr && drawing->has_value();
}

bool ImageCanvas::isInImage(QPointF position) const {
    const QSize area = imageArea();
    return position.x() >= 0 && position.x() < area.width() && position.y() >= 0 &&
           position.y() < area.height();
}

QSize ImageCanvas::pixels() const {
    const ImageDocument& image = (*drawing)->document;
    return {image.width, image.height};
}

QRect ImageCanvas::cursorPlace() const {
    return {cursor.in(pixels()) * zoom, QSize(zoom, zoom)};
}

QVariant ImageCanvas::inputMethodQuery(Qt::InputMethodQuery query) const {
    if (query == Qt::ImCursorRectangle && hasImage()) {
        return cursorPlace();
    }
    return QWidget::inputMethodQuery(query);
}

QPoint ImageCanvas::pixelAt(QPointF position) const {
    const ImageDocument& image = (*drawing)->document;
    const int x = static_cast<int>(std::floor(position.x() / zoom));
    const int y = static_cast<int>(std::floor(position.y() / zoom));
    return {std::clamp(x, 0, image.width - 1), std::clamp(y, 0, image.height - 1)};
}

void ImageCanvas::tellChanged() {
    if (changed) {
        changed();
    }
}

void ImageCanvas::mousePressEvent(QMouseEvent* event) {
    const bool draws = event->button() == Qt::LeftButton || event->button() == Qt::RightButton;
    if (preview || !draws || !hasImage() || !isInImage(event->position())) {
        event->ignore();
        return;
    }
    cursor.follow(pixelAt(event->position()));
    press(pixelAt(event->position()), event->button() == Qt::RightButton ? rightColor : leftColor);
}

void ImageCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (stroking && hasImage()) {
        drag(pixelAt(event->position()));
    }
}

void ImageCanvas::press(QPoint pixel, std::uint16_t color) {
    finish();
    strokeColor = color;
    last = pixel;
    (*drawing)->apply(tool, last.x(), last.y(), strokeColor);
    update();
    tellChanged();
    stroking = true;
}

/// Goes on with the gesture at `pixel`; a fill is done with its press.
void ImageCanvas::drag(QPoint pixel) {
    if (tool == ImageTool::Fill || pixel == last) {
        return;
    }
    if (tool == ImageTool::Pencil) {
        (*drawing)->line(last.x(), last.y(), pixel.x(), pixel.y(), strokeColor);
    } else {
        (*drawing)->apply(tool, pixel.x(), pixel.y(), strokeColor);
    }
    last = pixel;
    update();
    tellChanged();
}

void ImageCanvas::mouseReleaseEvent(QMouseEvent* /*event*/) {
    if (stroking) {
        finish();
    }
}

void ImageCanvas::keyPressEvent(QKeyEvent* event) {
    if (preview || !hasImage() || !takeKey(*event)) {
        QWidget::keyPressEvent(event);
        return;
    }
    update();
    describeCursor();
    if (cursorMoved) {
        cursorMoved();
    }
}

bool ImageCanvas::takeKey(const QKeyEvent& event) {
    if (cursor.take(event, pixels())) {
        if (stroking) {
            drag(cursor.in(pixels()));
        }
        return true;
    }
    switch (event.key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        strike(event, leftColor);
        return true;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        strike(event, rightColor);
        return true;
    case Qt::Key_Escape:
        abandon();
        return true;
    default:
        return false;
    }
}

/// A key is struck, not held: the first stroke presses, the second one releases.
void ImageCanvas::strike(const QKeyEvent& event, std::uint16_t color) {
    if (event.isAutoRepeat()) {
        return;
    }
    cursor.reveal();
    if (stroking) {
        finish();
        return;
    }
    press(cursor.in(pixels()), color);
    if (tool == ImageTool::Fill) {
        finish();
    }
}

void ImageCanvas::abandon() {
    if (stroking) {
        stroking = false;
        (*drawing)->abandon();
        tellChanged();
    }
}

/// Says where the cursor is, and on what, to assistive technology.
void ImageCanvas::describeCursor() {
    const QPoint pixel = cursor.in(pixels());
    const ImageDocument& image = (*drawing)->document;
    const auto at = static_cast<std::size_t>(pixel.y()) * static_cast<std::size_t>(image.width) +
                    static_cast<std::size_t>(pixel.x());
    setAccessibleDescription(u"Column %1, row %2, %3%4"_s.arg(
        QString::number(pixel.x() + 1), QString::number(pixel.y() + 1),
        screenColor(image.pixels.at(at)).name(), stroking ? u", drawing"_s : QString()));
}

void ImageCanvas::focusInEvent(QFocusEvent* event) {
    cursor.meet(*event);
    if (hasImage()) {
        describeCursor();
    }
    QWidget::focusInEvent(event);
}

void ImageCanvas::focusOutEvent(QFocusEvent* event) {
    if (stroking) {
        finish();
    }
    QWidget::focusOutEvent(event);
}

void ImageCanvas::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::black);
    if (!hasImage()) {
        painter.setPen(Qt::gray);
        painter.drawText(rect(), Qt::AlignCenter, u"No image loaded"_s);
        return;
    }
    const ImageDocument& image = (*drawing)->document;
    if (preview) {
        QRect target({}, QSize(image.width, image.height).scaled(size(), Qt::KeepAspectRatio));
        target.moveCenter(rect().center());
        painter.drawImage(target, screenImage(image));
        return;
    }
    const QRect area({}, imageArea());
    painter.drawImage(area, screenImage(image));
    if (zoom >= minGridZoom) {
        drawGrid(painter, area, zoom);
    }
    if (hasFocus()) {
        cursor.draw(painter, cursorPlace(), rect(), stroking);
    }
}

} // namespace pivex
