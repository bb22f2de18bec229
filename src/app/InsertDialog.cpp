#include "app/InsertDialog.h"

#include "app/PinSelector.h"
#include "tools/MessageBoxes.h"
#include "tools/WidgetParts.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextCursor>
#include <QVBoxLayout>

#include <algorithm>
#include <stdexcept>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

QString textOf(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// What the menus and the dialog's title call a tool.
QString titleOf(const OpcodeTool& tool) {
    return textOf(tool.opcode) + u" \u2014 "_s + textOf(tool.description);
}

/// Whether clicks on pins make sense for `tool`. SETPIN and RDPIN take a pin number or a register,
/// so their kinds do not tell.
bool needsPins(const OpcodeTool& tool) {
    using enum ToolArgKind;
    return tool.opcode == "SETPIN" || tool.opcode == "RDPIN" ||
           std::ranges::any_of(tool.args, [](const ToolArg& arg) {
               return arg.kind == pin || arg.kind == pinList || arg.kind == sideBitfield;
           });
}

/// `line` with the line feeds that keep it apart from the text around the positions `start`, `end`.
QString apart(QString line, const QString& text, int start, int end) {
    if (start != 0 && text[start - 1] != u'\n') {
        line.prepend(u'\n');
    }
    if (end < text.size() && text[end] != u'\n') {
        line.append(u'\n');
    }
    return line;
}

/// `selector` itself or, on a screen too low for the whole dialog, a view that scrolls it.
QWidget* fitted(PinSelector* selector, QWidget* parent) {
    // Title bar, margins, three fields, buttons and the space between.
    const int rest = 86 + 4 * QPushButton(u"OK"_s, parent).sizeHint().height();
    const QSize size = selector->sizeHint();
    const int room = parent->screen()->availableGeometry().height() - rest;
    if (size.height() <= room) {
        return selector;
    }
    auto* view = new QScrollArea(parent);
    view->setWidget(selector);
    view->setWidgetResizable(true);
    view->setFrameShape(QFrame::NoFrame);
    view->setFocusPolicy(Qt::NoFocus);
    view->setMinimumSize(size.width() + view->verticalScrollBar()->sizeHint().width(), room);
    return view;
}

QPushButton* makeCategoryButton(std::string_view category, QPlainTextEdit* editor,
                                const std::function<int()>& pinCount, QWidget* parent) {
    QPushButton* button = makeButton(textOf(category), {}, parent);
    auto* menu = new QMenu(button);
    for (const OpcodeTool& tool : opcodeTools) {
        if (tool.category == category) {
            menu->addAction(titleOf(tool), editor,
                            [editor, tool, pinCount] { insertTool(editor, tool, pinCount()); });
        }
    }
    button->setMenu(menu);
    return button;
}

} // namespace

InsertDialog::InsertDialog(const OpcodeTool& tool, int pinCount, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(titleOf(tool));
    setModal(true);
    auto* form = new QFormLayout(this);
    for (const ToolArg& arg : tool.args) {
        auto* field = new QLineEdit(textOf(arg.defaultText), this);
        form->addRow(textOf(arg.label), field);
        fields.push_back(field);
    }
    if (needsPins(tool)) {
        form->addRow(fitted(new PinSelector(tool, pinCount, fields, this), this));
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* accepting = buttons->button(QDialogButtonBox::Ok);
    accepting->setDefault(true);
    if (fields.empty()) {
        accepting->setFocus(); // on some desktops Cancel stands first
    } else {
        fields.front()->selectAll(); // what is typed replaces the default
    }
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
}

std::vector<std::string> InsertDialog::texts() const {
    std::vector<std::string> all;
    std::ranges::transform(fields, std::back_inserter(all),
                           [](const QLineEdit* field) { return field->text().toStdString(); });
    return all;
}

QWidget* makeInsertColumn(QPlainTextEdit* editor, const std::function<int()>& pinCount,
                          QWidget* parent) {
    auto* column = new QWidget(parent);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(u"Insert Code"_s, column));
    std::string_view last;
    for (const OpcodeTool& tool : opcodeTools) {
        if (tool.category != last) {
            last = tool.category;
            layout->addWidget(makeCategoryButton(last, editor, pinCount, column));
        }
    }
    layout->addStretch();
    return column;
}

void insertTool(QPlainTextEdit* editor, const OpcodeTool& tool, int pinCount) {
    QTextCursor cursor = editor->textCursor();
    InsertDialog dialog(tool, pinCount, editor->window());
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    QString line;
    try {
        line = QString::fromStdString(toolInstruction(tool, dialog.texts()));
    } catch (const std::runtime_error& failure) {
        warn(editor->window(), u"PivexGUI"_s, QString::fromUtf8(failure.what()));
        return;
    }
    // The editor counts blocks as lines, so a pasted line separator must not stay inside of one.
    line.replace(QChar::LineSeparator, u'\n');
    cursor.insertText(
        apart(line, editor->toPlainText(), cursor.selectionStart(), cursor.selectionEnd()));
    editor->setTextCursor(cursor);
    editor->setFocus();
}

} // namespace pivex
