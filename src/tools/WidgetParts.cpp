#include "tools/WidgetParts.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace pivex {

QPushButton* makeButton(const QString& text, const QString& objectName, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(objectName);
    return button;
}

QLabel* makeTextLabel(const QString& objectName, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(objectName);
    label->setTextFormat(Qt::PlainText);
    label->setMinimumWidth(1);
    return label;
}

QLabel* makeCaption(const QString& text, QWidget* widget, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setBuddy(widget);
    widget->setAccessibleName(text);
    return label;
}

void fitToScreen(QWidget* pane, int spare) {
    constexpr QSize decoration(10, 40); // a window's title bar and borders, as desktops draw them
    const QSize room = pane->screen()->availableGeometry().size() - decoration - QSize(0, spare);
    const QSize least = pane->layout()->minimumSize();
    if (least.boundedTo(room) == least) {
        return;
    }
    auto* view = new QScrollArea(pane);
    view->setFrameShape(QFrame::NoFrame);
    view->setFocusPolicy(Qt::NoFocus);
    view->setWidgetResizable(true);
    // Where only the height is short, nobody shall have to scroll sideways as well.
    const int bar = view->verticalScrollBar()->sizeHint().width();
    view->setMinimumWidth(std::min(least.width() + bar, room.width()));
    auto* content = new QWidget(view);
    content->setLayout(pane->layout()); // takes the children along
    view->setWidget(content);
    auto* outer = new QVBoxLayout(pane);
    outer->setContentsMargins({});
    outer->addWidget(view);
}

} // namespace pivex
