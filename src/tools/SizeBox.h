#pragma once

#include <QSpinBox>

namespace pivex {

/// A box for a width or a height from 1 to `largest`, which it shows first. Its value counts as
/// edited when the user goes on to something else in the window or presses Return.
class SizeBox : public QSpinBox {
    Q_OBJECT

public:
    SizeBox(const QString& name, int largest, QWidget* parent);

protected:
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
};

} // namespace pivex
