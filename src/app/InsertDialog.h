#pragma once

#include "app/OpcodeTools.h"

#include <functional>

class QPlainTextEdit;
class QWidget;

namespace pivex {

/// Builds the Insert Code column: a label, one button with a menu per category, a stretch. Choosing
/// a tool runs its dialog and inserts its line into `editor`; `pinCount` is asked when the dialog
/// opens.
QWidget* makeInsertColumn(QPlainTextEdit* editor, std::function<int()> pinCount, QWidget* parent);

/// Runs the dialog of `tool` and, when accepted, inserts the instruction line at the cursor.
void insertTool(QPlainTextEdit* editor, const OpcodeTool& tool, int pinCount);

} // namespace pivex
