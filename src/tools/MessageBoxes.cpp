#include "tools/MessageBoxes.h"

#include "tools/DisplayText.h"

#include <QPushButton>

namespace pivex {

namespace {

void fill(QMessageBox& box, QMessageBox::Icon icon, const QString& title, const QString& text) {
    box.setIcon(icon);
    box.setWindowTitle(title);
    box.setTextFormat(Qt::PlainText);
    box.setText(shortened(text));
}

} // namespace

void warn(QWidget* parent, const QString& title, const QString& text) {
    ask(parent, QMessageBox::Warning, title, text, QMessageBox::Ok);
}

QMessageBox::StandardButton ask(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                const QString& text, QMessageBox::StandardButtons buttons,
                                QMessageBox::StandardButton defaultButton) {
    QMessageBox box(parent);
    fill(box, icon, title, text);
    box.setStandardButtons(buttons);
    box.setDefaultButton(defaultButton);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

bool confirmDestructive(QWidget* parent, const QString& title, const QString& text,
                        const QString& action) {
    QMessageBox box(parent);
    fill(box, QMessageBox::Warning, title, text);
    QPushButton* cancel = box.addButton(QMessageBox::Cancel);
    QPushButton* destroy = box.addButton(action, QMessageBox::DestructiveRole);
    box.setDefaultButton(cancel);
    box.setEscapeButton(cancel);
    box.exec();
    return box.clickedButton() == destroy;
}

} // namespace pivex
