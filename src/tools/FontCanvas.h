#pragma once

#include "tools/CellCursor.h"
#include "tools/FontDocument.h"

#include <QWidget>

#include <functional>
#include <optional>

namespace pivex {

/// The open font, empty until one is created or opened, and the glyph of it that is edited.
struct OpenFont {
    std::optional<FontDocument> font;
    int selectedGlyph = 0;
};

/// Draws the open font: as the editor the selected glyph, whose pixels a left click toggles, or
/// Space or Return where a cursor stands that the arrow keys move; as the preview the whole font.
class FontCanvas : public QWidget {
public:
    enum class Role { Editor, Preview };

    /// `shared` is the window's own and must outlive the canvas.
    FontCanvas(OpenFont& shared, Role use, QWidget* parent = nullptr);

    /// Sets what is called after every toggled pixel.
    void onEdited(std::function<void()> callback);

    /// Takes over the size of the open font and repaints everything.
    void showFont();

    /// Repaints only where the selected glyph stands.
    void showSelectedGlyph();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fitMinimumSize();
    void toggle(QPoint pixel);
    void describeCursor();
    void paintNotice(QPainter& painter) const;
    void paintGlyph(QPainter& painter, const QRect& exposed) const;
    void paintFont(QPainter& painter, const QRect& exposed) const;

    OpenFont& open;
    const Role role;
    std::function<void()> edited;
    CellCursor cursor;
};

} // namespace pivex
