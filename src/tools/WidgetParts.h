#pragma once

#include <QString>

class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

namespace pivex {

/// A button that tests find as `objectName`.
QPushButton* makeButton(const QString& text, const QString& objectName, QWidget* parent);

/// A label for text from files and boards: never markup, and never what widens a window.
QLabel* makeTextLabel(const QString& objectName, QWidget* parent);

/// A field for text from files, of any length: the toolkit's own limit would cut it without a word.
QLineEdit* makeLineEdit(const QString& objectName, QWidget* parent);

/// Lets the content of `pane` scroll, in both directions, where a screen of this size cannot show
/// its least size as a window: with large letters or on a small screen. `spare` is what the pane
/// may still grow by, or what stands beside it. To be called when the pane is complete.
void fitToScreen(QWidget* pane, int spare = 0);

/// A visible caption that names `widget` for assistive technology too.
QLabel* makeCaption(const QString& text, QWidget* widget, QWidget* parent);

} // namespace pivex
