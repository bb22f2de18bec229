#pragma once

#include "app/OpcodeTools.h"

#include <QGroupBox>

#include <string>
#include <vector>

class QGridLayout;
class QLineEdit;
class QPushButton;

namespace pivex {

/// A DIP package seen from above with a button for each pin. It shows the pins that the argument
/// fields refer to, and a click on a pin writes it into the fields.
class PinSelector : public QGroupBox {
    Q_OBJECT

public:
    /// Draws `pins` pins, at most 40, whatever the count. `argumentFields` are the fields of the
    /// tool's arguments in their order and must live as long as the selector is used.
    PinSelector(const OpcodeTool& shownTool, int pins, std::vector<QLineEdit*> argumentFields,
                QWidget* parent);

private:
    OpcodeTool tool;
    int pinCount;
    std::vector<QLineEdit*> fields;
    std::vector<QPushButton*> buttons; ///< in pin order
    int activeField = -1;              ///< the argument that a click fills next; -1: none

    void addPins(QGridLayout* grid);
    void followFields();
    std::vector<std::string> texts() const;
    void click(int pin);
    void refresh();
};

} // namespace pivex
