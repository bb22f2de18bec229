#pragma once

#include <QString>

class QLabel;
class QPushButton;
class QWidget;

namespace pivex {

/// A button that tests find as `objectName`.
QPushButton* makeButton(const QString& text, const QString& objectName, QWidget* parent);

/// A label for text from files and boards: never markup, and never what widens a window.
QLabel* makeTextLabel(const QString& objectName, QWidget* parent);

/// A visible caption that names `widget` for assistive technology too.
QLabel* makeCaption(const QString& text, QWidget* widget, QWidget* parent);

} // namespace pivex
