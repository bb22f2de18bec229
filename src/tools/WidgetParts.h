#pragma once

#include <QString>

class QAbstractItemView;
class QLabel;
class QLineEdit;
class QListWidget;
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

/// Lets the wheel turn `box` only while it has the focus: whoever scrolls a window shall not change
/// what happens to pass below the pointer.
void guardFromWheel(QWidget* box);

/// Keeps the current row of `view`, which has its model, marked: a click with Ctrl takes the mark
/// away, and the buttons would act on a row that nobody sees.
void markCurrentRow(QAbstractItemView* view);

/// Empties `list` and leaves it without a current row until the user chooses one.
void clearRows(QListWidget* list);

/// A visible caption that names `widget` for assistive technology too.
QLabel* makeCaption(const QString& text, QWidget* widget, QWidget* parent);

} // namespace pivex
