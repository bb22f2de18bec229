#pragma once

class QWidget;

namespace pivex {

/// Enables and shows the controls of one window without letting the focus wander. The toolkit hands
/// the focus of a control that goes to the next one, and the second of two presses of the space bar
/// would draw there, or close the window. GUI thread.
class FocusKeeper {
public:
    /// `keptWindow` has the focus itself while its owner cannot: no key does harm there.
    explicit FocusKeeper(QWidget* keptWindow) : window(keptWindow) {}

    void enable(QWidget* control, bool isEnabled);
    void reveal(QWidget* control, bool isShown);

    /// Gives `control` the focus as soon as it is enabled and shown, unless the user moves on.
    void hold(QWidget* control);

private:
    void release(const QWidget* control);

    QWidget* window;
    QWidget* owner = nullptr; ///< is to get the focus back; lives as long as the window
};

} // namespace pivex
