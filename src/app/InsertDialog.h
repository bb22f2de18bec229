#pragma once

#include "app/OpcodeTools.h"

#include <QDialog>

#include <functional>
#include <string>
#include <vector>

class QLineEdit;
class QPlainTextEdit;

namespace pivex {

/// Asks for the arguments of one tool: a field for each and, where pins are meant, the package.
class InsertDialog : public QDialog {
    Q_OBJECT

public:
    InsertDialog(const OpcodeTool& tool, int pinCount, QWidget* parent);

    /// The fields' texts in argument order, as UTF-8.
    std::vector<std::string> texts() const;

private:
    std::vector<QLineEdit*> fields;
};

/// Builds the Insert Code column: a label, one button with a menu per category, a stretch. Choosing
/// a tool runs its dialog and inserts its line into `editor`; `pinCount` is asked when the dialog
/// opens.
QWidget* makeInsertColumn(QPlainTextEdit* editor, const std::function<int()>& pinCount,
                          QWidget* parent);

/// Runs the dialog of `tool` and, when accepted, puts the instruction on a line of its own in place
/// of the editor's selection, as it stands when the dialog closes. One step of Undo takes it back.
void insertTool(QPlainTextEdit* editor, const OpcodeTool& tool, int pinCount);

} // namespace pivex
