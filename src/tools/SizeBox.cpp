#include "tools/SizeBox.h"

#include "tools/WidgetParts.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QSignalBlocker>

#include <optional>

namespace pivex {

SizeBox::SizeBox(const QString& name, int largest, QWidget* parent) : QSpinBox(parent) {
    setObjectName(name);
    setRange(1, largest);
    setValue(largest);
    guardFromWheel(this);
}

bool SizeBox::event(QEvent* event) {
    // The line inside would keep the key from the window even with nothing to undo.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Undo)) {
        event->ignore();
        return false;
    }
    return QSpinBox::event(event);
}

void SizeBox::focusOutEvent(QFocusEvent* event) {
    // From another window and from a menu the user comes back to go on typing.
    const bool comesBack =
        event->reason() == Qt::ActiveWindowFocusReason || event->reason() == Qt::PopupFocusReason;
    std::optional<QSignalBlocker> silence;
    if (comesBack) {
        silence.emplace(this);
    }
    QSpinBox::focusOutEvent(event);
}

} // namespace pivex
