#include "tools/ImageDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>
#include <utility>

namespace pivex {

namespace {

constexpr std::size_t maxSnapshots = 20;
constexpr int unset = -1;

/// Half the height of an ellipse with the radii `along` and `across`, `offset` from its centre.
double halfChord(double offset, double along, double across) {
    const double t = offset / along;
    return across * std::sqrt(std::max(0.0, 1 - t * t));
}

/// Gives `color` to the pixel `start` and to all pixels of its colour that are joined to it by
/// their sides.
void floodFill(std::span<std::uint16_t> pixels, std::uint32_t width, std::uint32_t start,
               std::uint16_t color) {
    const std::uint16_t target = pixels[start];
    if (target == color) {
        return;
    }
    // Painted when it enters the stack, so no pixel enters twice and this much always suffices.
    std::vector<std::uint32_t> stack(pixels.size());
    std::size_t depth = 0;
    const auto visit = [pixels, target, color, &depth, top = stack.data()](std::uint32_t at) {
        if (pixels[at] == target) {
            pixels[at] = color;
            top[depth++] = at;
        }
    };
    visit(start);
    while (depth > 0) {
        const std::uint32_t at = stack[--depth];
        const std::uint32_t column = at % width;
        if (column > 0) {
            visit(at - 1);
        }
        if (column + 1 < width) {
            visit(at + 1);
        }
        if (at >= width) {
            visit(at - width);
        }
        if (at + width < pixels.size()) {
            visit(at + width);
        }
    }
}

} // namespace

ImageDrawing::ImageDrawing(ImageDocument image) : document(std::move(image)) {
}

void ImageDrawing::begin() {
    if (active) {
        return;
    }
    base = document.pixels;
    active = true;
}

void ImageDrawing::apply(ImageTool tool, int x, int y, std::uint16_t color) {
    if (x < 0 || y < 0 || x >= document.width || y >= document.height || document.pixels.empty()) {
        return;
    }
    begin();
    switch (tool) {
    case ImageTool::Pencil:
        plot(x, y, color);
        break;
    case ImageTool::Fill:
        fill(x, y, color);
        break;
    case ImageTool::Line:
    case ImageTool::Ellipse:
    case ImageTool::Circle:
        drawShape(tool, x, y, color);
        break;
    }
}

bool ImageDrawing::finish() {
    if (!active) {
        return false;
    }
    const bool isChanged = document.pixels != base;
    if (isChanged) {
        ImageDocument snapshot{document.name, document.width, document.height, std::move(base), {}};
        snapshot.rebuild();
        remember(std::move(snapshot));
    }
    base.clear();
    active = false;
    anchorX = anchorY = unset;
    document.rebuild();
    return isChanged;
}

void ImageDrawing::abandon() {
    if (active) {
        document.pixels = base;
        finish();
    }
}

void ImageDrawing::remember(ImageDocument snapshot) {
    history.push_back(std::move(snapshot));
    if (history.size() > maxSnapshots) {
        history.erase(history.begin());
    }
}

void ImageDrawing::drawShape(ImageTool tool, int x, int y, std::uint16_t color) {
    if (anchorX == unset) {
        anchorX = x;
        anchorY = y;
    }
    // The shape follows the pointer, so the one drawn at the last step has to go.
    document.pixels = base;
    if (tool == ImageTool::Line) {
        line(anchorX, anchorY, x, y, color);
    } else if (tool == ImageTool::Ellipse) {
        ellipse(anchorX, anchorY, x, y, color);
    } else {
        const int dx = x - anchorX;
        const int dy = y - anchorY;
        const long radius = std::lround(std::sqrt(dx * dx + dy * dy));
        circle(anchorX, anchorY, static_cast<int>(radius), color);
    }
}

void ImageDrawing::plot(std::int64_t x, std::int64_t y, std::uint16_t color) {
    if (x < 0 || y < 0 || x >= document.width || y >= document.height) {
        return;
    }
    const auto at = static_cast<std::size_t>(y * document.width + x);
    if (at < document.pixels.size()) {
        document.pixels[at] = color;
    }
}

void ImageDrawing::fill(int x, int y, std::uint16_t color) {
    floodFill(document.pixels, static_cast<std::uint32_t>(document.width),
              static_cast<std::uint32_t>(y * document.width + x), color);
}

void ImageDrawing::line(int x0, int y0, int x1, int y1, std::uint16_t color) {
    std::int64_t x = x0;
    std::int64_t y = y0;
    const std::int64_t dx = std::abs(x1 - x);
    const std::int64_t dy = std::abs(y1 - y);
    const int stepX = x1 > x0 ? 1 : -1;
    const int stepY = y1 > y0 ? 1 : -1;
    std::int64_t error = dx - dy;
    plot(x, y, color);
    while (x != x1 || y != y1) {
        const std::int64_t doubled = 2 * error;
        if (doubled >= -dy) {
            error -= dy;
            x += stepX;
        }
        if (doubled <= dx) {
            error += dx;
            y += stepY;
        }
        plot(x, y, color);
    }
}

void ImageDrawing::ellipse(int x0, int y0, int x1, int y1, std::uint16_t color) {
    const auto [left, right] = std::minmax({x0, x1});
    const auto [top, bottom] = std::minmax({y0, y1});
    const double radiusX = (static_cast<double>(right) - left) / 2;
    const double radiusY = (static_cast<double>(bottom) - top) / 2;
    if (radiusX == 0 || radiusY == 0) {
        line(x0, y0, x1, y1, color);
        return;
    }
    const double centerX = left + radiusX;
    const double centerY = top + radiusY;
    // One pass leaves gaps where the outline is steep, the other where it is flat. Only the columns
    // and rows of the image count, so a corner far outside costs nothing.
    for (int x = std::max(left, 0); x <= std::min(right, document.width - 1); ++x) {
        const double half = halfChord(x - centerX, radiusX, radiusY);
        plot(x, std::lround(centerY - half), color);
        plot(x, std::lround(centerY + half), color);
    }
    for (int y = std::max(top, 0); y <= std::min(bottom, document.height - 1); ++y) {
        const double half = halfChord(y - centerY, radiusY, radiusX);
        plot(std::lround(centerX - half), y, color);
        plot(std::lround(centerX + half), y, color);
    }
}

void ImageDrawing::circle(int centerX, int centerY, int radius, std::uint16_t color) {
    const std::int64_t cx = centerX;
    const std::int64_t cy = centerY;
    std::int64_t x = radius;
    std::int64_t y = 0;
    std::int64_t decision = 1 - x;
    while (x >= 0 && y <= x) {
        for (const auto& [dx, dy] : {std::pair(x, y), std::pair(y, x)}) {
            plot(cx + dx, cy + dy, color);
            plot(cx - dx, cy + dy, color);
            plot(cx + dx, cy - dy, color);
            plot(cx - dx, cy - dy, color);
        }
        ++y;
        if (decision < 0) {
            decision += 2 * y + 1;
        } else {
            --x;
            decision += 2 * (y - x) + 1;
        }
    }
}

} // namespace pivex
