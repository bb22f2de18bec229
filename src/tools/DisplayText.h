#pragma once

#include <QString>

namespace pivex {

/// `text` on one line: control characters, line breaks and the marks that embed or override a
/// direction of writing are shown as U+FFFD.
QString oneLine(QString text);

/// `text` without the rest of each line that is longer than anybody reads: the toolkit would take
/// minutes to lay out a line of a million letters.
QString shortened(const QString& text);

/// A tool tip that shows `text` as it stands, also where it looks like markup.
QString plainToolTip(const QString& text);

} // namespace pivex
