#include "app/FocusMark.h"

#include <QApplication>
#include <QFocusFrame>
#include <QPainter>
#include <QPointer>
#include <QProxyStyle>
#include <QStyleOption>

namespace pivex {

namespace {

constexpr QColor frameColor(0x69, 0xba, 0xff); // 7.5 to 1 against the windows' background
constexpr int frameWidth = 2;

/// Lays the toolkit's focus frame around its control, above everything else.
class FrameStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override {
        return hint == SH_FocusFrame_AboveWidget
                   ? 1
                   : QProxyStyle::styleHint(hint, option, widget, result);
    }

    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        const bool isFrame = metric == PM_FocusFrameHMargin || metric == PM_FocusFrameVMargin;
        return isFrame ? frameWidth : QProxyStyle::pixelMetric(metric, option, widget);
    }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
        if (element == CE_FocusFrame) {
            painter->fillRect(option->rect, frameColor); // its mask leaves the control out
        } else {
            QProxyStyle::drawControl(element, option, painter, widget);
        }
    }
};

/// Moves one frame through all windows. The window that it is in may take it along when it goes.
class FocusMark : public QObject {
public:
    explicit FocusMark(QObject* parent) : QObject(parent) {
        connect(qApp, &QApplication::focusChanged, this,
                [this](QWidget*, QWidget* now) { follow(now); });
    }

private:
    void follow(QWidget* control) {
        if (QGuiApplication::mouseButtons() != Qt::NoButton) {
            isShown = false;
        } else if (control != nullptr &&
                   control->window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
            isShown = true;
        }
        if (isShown && control != nullptr) {
            mark(control);
        } else if (frame != nullptr) {
            frame->setWidget(nullptr);
        }
    }

    void mark(QWidget* control) {
        if (frame == nullptr) {
            frame = new QFocusFrame(control->window());
            auto* style = new FrameStyle;
            style->setParent(frame);
            frame->setStyle(style);
        }
        frame->setWidget(control);
        // The toolkit hides it at a control out of view, which is scrolled into view only now. A
        // window itself has no frame.
        frame->setVisible(frame->widget() != nullptr);
    }

    bool isShown = false;
    QPointer<QFocusFrame> frame;
};

} // namespace

void markKeyboardFocus() {
    new FocusMark(qApp);
}

} // namespace pivex
