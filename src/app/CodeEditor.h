#pragma once

#include <QPlainTextEdit>

namespace pivex {

/// The chip code editor with its instruction-number gutter.
class CodeEditor : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit CodeEditor(QWidget* parent = nullptr);

    /// Gives the pin count that the gutter checks pins against and repaints the gutter.
    void setPinCount(int pins);

    /// Width of the gutter in pixels.
    int numberAreaWidth() const;

private:
    int pinCount = 14;
};

} // namespace pivex
