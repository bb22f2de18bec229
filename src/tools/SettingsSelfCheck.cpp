#include "tools/SelfCheckParts.h"
#include "tools/SelfChecks.h"
#include "tools/SettingsWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>

#include <memory>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

template<class Widget>
Widget& child(const QWidget& window, const QString& name) {
    auto* found = window.findChild<Widget*>(name);
    expect(found != nullptr, "a control is missing");
    return *found;
}

/// What the fake board was asked.
struct FakeBoard {
    Bytes asked;

    LinuxSettingsHooks hooks() {
        return {.connected = [] { return true; },
                .ready = [] { return true; },
                .request = [this](Bytes bytes) { asked = std::move(bytes); }};
    }
};

/// The logo hidden, the LEDs on, the auxiliary output off, the font of slot 1 the default.
DeviceSettings storedSettings() {
    DeviceSettings settings;
    settings.bytes[settingRules[0].recordByte] = 1;
    settings.bytes[settingRules[4].recordByte] = 1;
    return settings;
}

void checkReading(QWidget& window, FakeBoard& board) {
    const auto& logo = child<QCheckBox>(window, u"logoBox"_s);
    expect(logo.checkState() == Qt::PartiallyChecked, "a setting is shown before it is known");
    child<QPushButton>(window, u"refreshButton"_s).click();
    expect(board.asked == Bytes{0x00}, "Refresh asks for something else than all settings");
    receivedLinuxSettings(&window, storedSettings());
    expect(logo.checkState() == Qt::Unchecked, "the hidden logo is not shown as hidden");
    expect(child<QCheckBox>(window, u"ledsBox"_s).isChecked(), "the LEDs are not shown as on");
    expect(!child<QPushButton>(window, u"fastButton"_s).isEnabled(),
           "a hidden logo has a speed to choose");
}

void checkChanges(QWidget& window, FakeBoard& board) {
    auto& logo = child<QCheckBox>(window, u"logoBox"_s);
    logo.click();
    expect(board.asked == Bytes{0x01, 0x02, 0x00}, "showing the logo asks for something else");
    expect(!logo.isChecked() && !logo.isEnabled(), "a change shows before it is confirmed");
    receivedLinuxSettings(&window, {});
    expect(logo.isChecked() && logo.isEnabled(), "a confirmed change does not show");
    child<QComboBox>(window, u"fontBox"_s).setCurrentIndex(1);
    child<QPushButton>(window, u"setFontButton"_s).click();
    expect(board.asked == Bytes{0x01, 0x07, 0x01}, "setting the font asks for something else");
}

} // namespace

bool linuxSettingsSmoke() {
    return passes("Settings", [] {
        FakeBoard board;
        FontSlots fontSlots;
        fontSlots[0] = {.read = true, .name = "First"};
        fontSlots[1] = {.read = true, .name = "Second"};
        const std::unique_ptr<QWidget> window(
            openLinuxSettingsWindow(nullptr, board.hooks(), fontSlots));
        checkReading(*window, board);
        checkChanges(*window, board);
    });
}

} // namespace pivex
