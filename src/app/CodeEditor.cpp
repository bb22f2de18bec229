#include "app/CodeEditor.h"

namespace pivex {

CodeEditor::CodeEditor(QWidget* parent) : QPlainTextEdit(parent) {
}

void CodeEditor::setPinCount(int pins) {
    pinCount = pins;
}

int CodeEditor::numberAreaWidth() const {
    return 0;
}

} // namespace pivex
