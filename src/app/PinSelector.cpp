#include "app/PinSelector.h"

#include "app/PinDiagram.h"
#include "tools/MessageBoxes.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <stdexcept>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int mostPins = 40;

constexpr QStringView boxStyle =
    u"QGroupBox{background:#161b1e;border:1px solid #4f5b60;border-radius:7px;margin-top:10px;"
    "padding:10px;color:#cdd6da;font-weight:600} "
    "QGroupBox::title{subcontrol-origin:margin;left:12px;padding:0 5px} "
    "QPushButton{background:#2b3337;border:1px solid #4f5b60;border-radius:4px;color:#f0f4f5;"
    "min-width:52px;min-height:24px} QPushButton:hover{background:#394449}";

constexpr QStringView packageStyle =
    u"background:#0c0f11;border:2px solid #4d595e;border-radius:5px;color:#78868c;font-size:10px";

constexpr QStringView markedStyle =
    u"background:#1d9954;border:1px solid #49da81;border-radius:4px;color:white;font-weight:700;"
    "min-width:52px;min-height:24px";

/// A button that gives Return to the dialog, where it means OK wherever the focus is; on some
/// desktops it would press the button, or be lost in the box around.
class PinButton : public QPushButton {
public:
    using QPushButton::QPushButton;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
            QCoreApplication::sendEvent(window(), event);
        } else {
            QPushButton::keyPressEvent(event);
        }
    }
};

QPushButton* makePin(int pin, QWidget* parent) {
    auto* button = new PinButton(QString::number(pin), parent);
    button->setAccessibleName(u"Pin %1"_s.arg(pin));
    button->setAutoDefault(false);
    return button;
}

QLabel* makePackage(QWidget* parent) {
    auto* label = new QLabel(u"TOP\nVIEW"_s, parent);
    label->setAlignment(Qt::AlignCenter);
    label->setMinimumWidth(74);
    label->setStyleSheet(packageStyle.toString());
    return label;
}

} // namespace

PinSelector::PinSelector(const OpcodeTool& shownTool, int pins,
                         std::vector<QLineEdit*> argumentFields, QWidget* parent)
    : QGroupBox(u"DIP PIN SELECTOR"_s, parent),
      tool(shownTool),
      pinCount(pins),
      fields(std::move(argumentFields)) {
    setStyleSheet(boxStyle.toString());
    auto* grid = new QGridLayout(this);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(4);
    addPins(grid);
    followFields();
    refresh();
}

void PinSelector::addPins(QGridLayout* grid) {
    const int shown = std::clamp(pinCount, 0, mostPins);
    const int left = shown / 2;
    grid->addWidget(makePackage(this), 0, 1, std::max(left, 1), 1);
    for (int pin = 1; pin <= shown; ++pin) {
        QPushButton* button = makePin(pin, this);
        connect(button, &QPushButton::clicked, this, [this, pin] { click(pin); });
        grid->addWidget(button, pin <= left ? pin - 1 : shown - pin, pin <= left ? 0 : 2);
        buttons.push_back(button);
    }
}

void PinSelector::followFields() {
    for (std::size_t i = 0; i < fields.size(); ++i) {
        connect(fields[i], &QLineEdit::textEdited, this, [this, i] {
            activeField = static_cast<int>(i);
            refresh();
        });
    }
}

std::vector<std::string> PinSelector::texts() const {
    std::vector<std::string> all;
    std::ranges::transform(fields, std::back_inserter(all),
                           [](const QLineEdit* field) { return field->text().toStdString(); });
    return all;
}

void PinSelector::click(int pin) {
    std::vector<std::string> changed = texts();
    try {
        clickPin(tool, changed, pin, pinCount, activeField);
    } catch (const std::runtime_error& failure) {
        // Under the window, so that the box does not take on the look of the pins.
        warn(window(), u"Pin selector"_s, QString::fromUtf8(failure.what()));
        return;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        fields[i]->setText(QString::fromStdString(changed[i]));
    }
    refresh();
}

void PinSelector::refresh() {
    const std::vector<std::string> current = texts();
    for (QPushButton* button : buttons) {
        const std::string number = button->text().toStdString();
        const bool isMarked = pinLabel(tool, current, button->text().toInt(), pinCount) != number;
        const QString style = isMarked ? markedStyle.toString() : QString();
        if (button->styleSheet() != style) {
            button->setStyleSheet(style);
        }
    }
}

} // namespace pivex
