#include "tools/WidgetParts.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPalette>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>

namespace pivex {

namespace {

/// The application's colours, every one set, so that widgets take this very palette.
QPalette fullPalette() {
    QPalette palette = QApplication::palette();
    for (int group = 0; group < QPalette::NColorGroups; ++group) {
        for (int role = 0; role < QPalette::NColorRoles; ++role) {
            const auto inGroup = static_cast<QPalette::ColorGroup>(group);
            const auto asRole = static_cast<QPalette::ColorRole>(role);
            palette.setBrush(inGroup, asRole, palette.brush(inGroup, asRole));
        }
    }
    return palette;
}

class WheelGuard : public QObject {
public:
    explicit WheelGuard(QWidget* guarded) : QObject(guarded), box(guarded) {
        box->setFocusPolicy(Qt::StrongFocus);
        box->installEventFilter(this);
    }

    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        const bool isPassing = event->type() == QEvent::Wheel && !box->hasFocus();
        if (isPassing) {
            event->ignore(); // what the box stands in takes it
        }
        return isPassing;
    }

private:
    QWidget* box;
};

} // namespace

QPushButton* makeButton(const QString& text, const QString& objectName, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    // The style keeps a picture of a button for all others of its size and palette, but each would
    // have a palette of its own: a window full of buttons takes a third longer to be painted.
    static const QPalette shared = fullPalette();
    button->setPalette(shared);
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

QLineEdit* makeLineEdit(const QString& objectName, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(objectName);
    edit->setMaxLength(std::numeric_limits<int>::max());
    return edit;
}

void guardFromWheel(QWidget* box) {
    new WheelGuard(box);
}

void markCurrentRow(QAbstractItemView* view) {
    QItemSelectionModel* model = view->selectionModel();
    const auto mark = [model] {
        if (!model->hasSelection()) {
            model->select(model->currentIndex(), QItemSelectionModel::Select);
        }
    };
    QObject::connect(model, &QItemSelectionModel::selectionChanged, view, mark);
    QObject::connect(model, &QItemSelectionModel::currentChanged, view, mark);
}

void clearRows(QListWidget* list) {
    list->clear();
    // Else the toolkit makes the first row current as soon as the list has the focus again.
    list->setCurrentIndex({});
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
