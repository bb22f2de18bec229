#pragma once

#include "language/ChipCompiler.h"

#include <QPlainTextEdit>

#include <optional>
#include <vector>

namespace pivex {

class CodeEditor;

/// The strip at the left of the editor that shows instruction numbers and error dots.
class LineNumberArea : public QWidget {
    Q_OBJECT

public:
    explicit LineNumberArea(CodeEditor* owner);

    /// The width that the editor's text asks for, and no height.
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    CodeEditor* editor;
};

/// The chip code editor with its instruction-number gutter.
class CodeEditor : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit CodeEditor(QWidget* parent = nullptr);

    /// Gives the pin count that the gutter checks pins against and repaints the gutter.
    void setPinCount(int pins);

    /// Width in pixels that the gutter needs for the numbers of the current text.
    int numberAreaWidth() const;

    /// Paints the part of the gutter that `event` asks for.
    void paintNumbers(const QPaintEvent* event);

protected:
    /// Maps the source lines of the current text to instruction numbers and error marks.
    virtual std::vector<GutterLine> mapLines() const;

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    LineNumberArea* gutter;
    int pinCount = 14;

    /// The mapping of the current text, from its first use after a change to the repaint that
    /// shows it: one keystroke maps the text once, and nothing outlives a repaint.
    mutable std::optional<std::vector<GutterLine>> mapping;

    const std::vector<GutterLine>& gutterLines() const;
    void applyGutterWidth();
    void keepGlyphs(int bottom) const;
    void followUpdate(const QRect& rect, int scroll);
};

} // namespace pivex
