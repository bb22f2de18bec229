#include "tools/WidgetParts.h"

#include <QLabel>
#include <QPushButton>

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

} // namespace pivex
