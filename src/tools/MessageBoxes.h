#pragma once

#include <QMessageBox>
#include <QString>

class QWidget;

namespace pivex {

/// Shows a warning box with an OK button. Here and below every text is shown as it stands but
/// for the rest of overlong lines, never as markup.
void warn(QWidget* parent, const QString& title, const QString& text);

/// Asks with a box of the given icon and standard buttons; gives the button pressed, or
/// `QMessageBox::Cancel` (`No` where there is no Cancel) when the box was closed.
QMessageBox::StandardButton ask(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                const QString& text, QMessageBox::StandardButtons buttons,
                                QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

/// Asks before something is destroyed: Cancel (default and Escape) and a destructive button
/// `action`; true only when that button was pressed.
bool confirmDestructive(QWidget* parent, const QString& title, const QString& text,
                        const QString& action);

} // namespace pivex
