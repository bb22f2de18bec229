#include "tools/FocusKeeper.h"

#include <QWidget>

#include <utility>

namespace pivex {

void FocusKeeper::enable(QWidget* control, bool isEnabled) {
    if (!isEnabled && window->focusWidget() == control) {
        hold(control);
    }
    control->setEnabled(isEnabled);
    release(control);
}

void FocusKeeper::reveal(QWidget* control, bool isShown) {
    if (!isShown && window->focusWidget() == control) {
        hold(control);
    }
    control->setVisible(isShown);
    release(control);
}

void FocusKeeper::hold(QWidget* control) {
    owner = control;
    window->setFocus();
}

void FocusKeeper::release(const QWidget* control) {
    // While the menu bar has the focus for a moment, the owner waits.
    if (control == owner && owner->isEnabled() && owner->isVisibleTo(window) &&
        window->focusWidget() == window) {
        std::exchange(owner, nullptr)->setFocus();
    }
}

} // namespace pivex
