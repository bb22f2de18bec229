#pragma once

#include "tools/ImageDocument.h"

#include <vector>

namespace pivex {

/// The drawing tools; the values are the ids of the tool buttons.
enum class ImageTool { Pencil = 0, Fill = 1, Line = 2, Ellipse = 3, Circle = 4 };

/// An image being edited, with its undo history. A gesture runs from the first `apply` to
/// `finish` and is one undo step. Coordinates are pixels from the top left.
class ImageDrawing {
public:
    explicit ImageDrawing(ImageDocument image = {});

    /// One step of `tool` at (x, y); begins a gesture when none is active. Ignored outside.
    void apply(ImageTool tool, int x, int y, std::uint16_t color);

    /// Begins a gesture at which the shape tools have no anchor yet, unless one is active.
    void begin();

    /// Ends the gesture and encodes the document; true when it changed the image, which added one
    /// undo snapshot. False without a gesture.
    bool finish();

    /// Ends the gesture and takes back what it drew. Nothing happens without one.
    void abandon();

    /// Adds `snapshot` to the history, which keeps the latest 20.
    void remember(ImageDocument snapshot);

    /// Bresenham line, both ends included. Pixels outside the image are skipped, here and below.
    void line(int x0, int y0, int x1, int y1, std::uint16_t color);

    /// Ellipse inscribed in the rectangle between the two corners; a line when that is flat.
    void ellipse(int x0, int y0, int x1, int y1, std::uint16_t color);

    /// Midpoint circle; radius 0 is one pixel, a negative one nothing.
    void circle(int centerX, int centerY, int radius, std::uint16_t color);

    ImageDocument document;
    std::vector<ImageDocument> history; ///< undo snapshots, oldest first

private:
    void plot(std::int64_t x, std::int64_t y, std::uint16_t color);
    void fill(int x, int y, std::uint16_t color);
    void drawShape(ImageTool tool, int x, int y, std::uint16_t color);

    Pixels base; ///< pixels as they were when the gesture began
    int anchorX = -1;
    int anchorY = -1;
    bool active = false;
};

} // namespace pivex
