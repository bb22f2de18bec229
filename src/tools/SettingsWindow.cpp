#include "tools/SettingsWindow.h"

#include "tools/DisplayText.h"
#include "tools/FocusKeeper.h"
#include "tools/WidgetParts.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <exception>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

constexpr const SettingRule& logoHidden = settingRules[0];
constexpr const SettingRule& logoSpeed = settingRules[1];
constexpr const SettingRule& ledsOff = settingRules[2];
constexpr const SettingRule& auxOn = settingRules[3];
constexpr const SettingRule& defaultFont = settingRules[4];

constexpr std::uint8_t readRequest = 0x00;
constexpr std::uint8_t changeRequest = 0x01;

bool holdsFont(const FontSlot& slot) {
    return slot.read && !slot.name.empty();
}

/// Whether the list of fonts to choose from is the same; the attributes do not show in it.
bool offerSameFonts(const FontSlots& left, const FontSlots& right) {
    return std::ranges::equal(left, right, [](const FontSlot& a, const FontSlot& b) {
        return a.read == b.read && a.name == b.name;
    });
}

QVBoxLayout* makeGroup(const QString& title, QVBoxLayout* outer) {
    auto* group = new QGroupBox(title);
    outer->addWidget(group);
    auto* layout = new QVBoxLayout(group);
    layout->setContentsMargins(12, 18, 12, 12);
    layout->setSpacing(12);
    return layout;
}

class SettingsWindow : public QWidget {
public:
    SettingsWindow(QWidget* parent, LinuxSettingsHooks callbacks, const FontSlots& slotInfo);

    /// Takes over the settings that the board confirmed.
    void received(const DeviceSettings& confirmed);

    /// Takes over the board's slots and state.
    void state(const FontSlots& slotInfo, const QString& message, bool unfreeze);

private:
    /// A check box and the setting that it shows.
    struct Switch {
        QCheckBox* box;
        const SettingRule& rule;
        bool isOnAtZero; ///< the board stores the opposite of what the box says
    };

    /// Which font a rebuilt drop-down selects first.
    enum class Prefer { Selection, ConfirmedFont };

    QCheckBox* makeSwitch(const QString& text, const QString& objectName, const SettingRule& rule,
                          bool isOnAtZero);
    void makeLogoGroup(QVBoxLayout* outer);
    void makeFontGroup(QVBoxLayout* outer);
    QLayout* makeBottomRow();
    void orderTabs();

    bool connected() const { return hooks.connected && hooks.connected(); }

    bool isFree() const;

    std::uint8_t confirmed(const SettingRule& rule) const {
        return settings.bytes[rule.recordByte];
    }

    bool isLogoShown() const { return confirmed(logoHidden) == 0; }

    int selectedSlot() const;
    bool offers(int slot) const;

    void makeRoom();
    void render();
    void renderSwitches();
    void renderSpeed();
    QString currentFontText() const;
    void controls();
    void renderFontChoice(bool isEditable);
    void synchronize(Prefer preference);

    void request(Bytes bytes);
    void change(const SettingRule& rule, int value);
    void toggle(const SettingRule& rule);
    void chooseSpeed(int speed);
    void setDefaultFont();

    LinuxSettingsHooks hooks;
    FontSlots fontSlots;
    DeviceSettings settings;
    bool known = false;
    bool pending = false;
    FocusKeeper focus{this};

    std::vector<Switch> switches;
    QButtonGroup* speedGroup = new QButtonGroup(this);
    QLabel* fontMessage = makeTextLabel(u"fontMessageLabel"_s, this);
    QComboBox* fontBox = new QComboBox(this);
    QPushButton* setFontButton = makeButton(u"Set Default Font"_s, u"setFontButton"_s, this);
    QLabel* currentFont = makeTextLabel(u"currentFontLabel"_s, this);
    QLabel* status = makeTextLabel(u"statusLabel"_s, this);
    QPushButton* refreshButton = makeButton(u"Refresh"_s, u"refreshButton"_s, this);
    QPushButton* closeButton = makeButton(u"Close"_s, u"closeButton"_s, this);
};

SettingsWindow::SettingsWindow(QWidget* parent, LinuxSettingsHooks callbacks,
                               const FontSlots& slotInfo)
    : QWidget(parent, Qt::Window), hooks(std::move(callbacks)), fontSlots(slotInfo) {
    setAttribute(Qt::WA_DeleteOnClose);
    resize(510, 590);
    setStyleSheet(u"QGroupBox { border:1px solid #465158; border-radius:6px; margin-top:8px; } "
                  "QGroupBox::title { subcontrol-origin:margin; left:10px; padding:0 4px; } "
                  "QPushButton:checked { background:#23537d; }"_s);
    guardFromWheel(fontBox);
    auto* heading = new QLabel(u"Pivex Settings"_s, this);
    heading->setStyleSheet(u"font-size:20px;font-weight:bold"_s);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 18, 18, 18);
    layout->setSpacing(16);
    layout->addWidget(heading);
    makeLogoGroup(layout);
    makeGroup(u"Indicator LEDs"_s, layout)
        ->addWidget(makeSwitch(u"LEDs on"_s, u"ledsBox"_s, ledsOff, true));
    makeGroup(u"Auxiliary Output"_s, layout)
        ->addWidget(makeSwitch(u"AUX on"_s, u"auxBox"_s, auxOn, false));
    makeFontGroup(layout);
    layout->addWidget(new QLabel(u"Changes apply immediately to Pivex."_s, this));
    layout->addStretch();
    layout->addLayout(makeBottomRow());
    orderTabs();

    focus.hold(refreshButton); // where no key changes the board
    synchronize(Prefer::Selection);
    render();
    constexpr int roomForMessages = 60;
    fitToScreen(this, roomForMessages);
}

QCheckBox* SettingsWindow::makeSwitch(const QString& text, const QString& objectName,
                                      const SettingRule& rule, bool isOnAtZero) {
    auto* box = new QCheckBox(text, this);
    box->setObjectName(objectName);
    connect(box, &QCheckBox::clicked, this, [this, &rule] { toggle(rule); });
    switches.push_back({.box = box, .rule = rule, .isOnAtZero = isOnAtZero});
    return box;
}

void SettingsWindow::makeLogoGroup(QVBoxLayout* outer) {
    constexpr std::array<const char*, 3> speeds{"Slow", "Medium", "Fast"};
    QVBoxLayout* group = makeGroup(u"Startup Logo"_s, outer);
    group->addWidget(makeSwitch(u"Show logo at startup"_s, u"logoBox"_s, logoHidden, true));
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(u"Logo Speed"_s, this));
    for (int speed = 0; speed < static_cast<int>(speeds.size()); ++speed) {
        const QString text = QString::fromLatin1(speeds[static_cast<std::size_t>(speed)]);
        QPushButton* button = makeButton(text, text.toLower() + u"Button"_s, this);
        button->setAccessibleName(u"Logo Speed "_s + text);
        button->setCheckable(true);
        speedGroup->addButton(button, speed);
        row->addWidget(button);
    }
    group->addLayout(row);
    connect(speedGroup, &QButtonGroup::idClicked, this, [this](int id) { chooseSpeed(id); });
}

void SettingsWindow::makeFontGroup(QVBoxLayout* outer) {
    for (QLabel* label : {fontMessage, currentFont, status}) {
        label->setWordWrap(true);
    }
    fontBox->setObjectName(u"fontBox"_s);
    fontBox->setAccessibleName(u"Default Font"_s);
    status->setText(u"Connect to Pivex to load settings."_s);
    auto* row = new QHBoxLayout;
    row->addWidget(setFontButton);
    row->addStretch();
    row->addWidget(currentFont, 1);

    QVBoxLayout* group = makeGroup(u"Default Font"_s, outer);
    group->addWidget(fontMessage);
    group->addWidget(fontBox);
    group->addLayout(row);
    group->addWidget(status);
    connect(fontBox, &QComboBox::currentIndexChanged, this, [this] { controls(); });
    connect(setFontButton, &QPushButton::clicked, this, [this] { setDefaultFont(); });
}

QLayout* SettingsWindow::makeBottomRow() {
    auto* row = new QHBoxLayout;
    row->addWidget(refreshButton);
    row->addStretch();
    row->addWidget(closeButton);
    connect(refreshButton, &QPushButton::clicked, this, [this] { request({readRequest}); });
    connect(closeButton, &QPushButton::clicked, this, &QWidget::close);
    return row;
}

/// The members below the groups are made before them.
void SettingsWindow::orderTabs() {
    QWidget* last = switches.back().box;
    for (QWidget* next :
         {static_cast<QWidget*>(fontBox), static_cast<QWidget*>(setFontButton),
          static_cast<QWidget*>(refreshButton), static_cast<QWidget*>(closeButton)}) {
        setTabOrder(last, next);
        last = next;
    }
}

void SettingsWindow::received(const DeviceSettings& confirmedSettings) {
    settings = confirmedSettings;
    known = true;
    pending = false;
    synchronize(Prefer::ConfirmedFont);
    render();
}

void SettingsWindow::state(const FontSlots& slotInfo, const QString& message, bool unfreeze) {
    if (unfreeze) {
        known = false;
        pending = false;
    }
    const bool isSameChoice = offerSameFonts(fontSlots, slotInfo);
    fontSlots = slotInfo;
    if (!isSameChoice || unfreeze) {
        synchronize(Prefer::Selection);
    }
    if (!message.isEmpty()) {
        status->setText(message);
    }
    render();
    if (!message.isEmpty()) {
        makeRoom();
    }
}

/// Grows the window until every wrapped text is whole: a layout does not do so by itself.
void SettingsWindow::makeRoom() {
    // This layout keeps the height of a group until the group's own layout has been activated.
    for (const QGroupBox* group : findChildren<QGroupBox*>()) {
        group->layout()->activate();
    }
    layout()->activate();
    resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
}

bool SettingsWindow::isFree() const {
    return connected() && hooks.ready && hooks.ready() && !pending;
}

/// The slot of the font that the drop-down shows; -1 when it is empty.
int SettingsWindow::selectedSlot() const {
    return fontBox->currentIndex() < 0 ? -1 : fontBox->currentData().toInt();
}

bool SettingsWindow::offers(int slot) const {
    return slot >= 0 && slot < fontSlotCount &&
           holdsFont(fontSlots[static_cast<std::size_t>(slot)]);
}

void SettingsWindow::render() {
    renderSwitches();
    renderSpeed();
    currentFont->setText(known ? currentFontText() : QString());
    controls();
}

void SettingsWindow::renderSwitches() {
    for (const Switch& each : switches) {
        const bool isOn = (confirmed(each.rule) == 0) == each.isOnAtZero;
        const Qt::CheckState wanted =
            known ? (isOn ? Qt::Checked : Qt::Unchecked) : Qt::PartiallyChecked;
        if (each.box->checkState() == wanted && each.box->isTristate() != known) {
            continue;
        }
        const QSignalBlocker blocker(each.box);
        each.box->setTristate(!known);
        each.box->setCheckState(wanted);
    }
}

void SettingsWindow::renderSpeed() {
    // An exclusive group never lets go of its last checked button.
    speedGroup->setExclusive(false);
    for (QAbstractButton* button : speedGroup->buttons()) {
        button->setChecked(known && speedGroup->id(button) == confirmed(logoSpeed));
    }
    speedGroup->setExclusive(true);
}

QString SettingsWindow::currentFontText() const {
    const int slot = confirmed(defaultFont);
    if (!offers(slot)) {
        return u"Current slot: %1 (no saved font)"_s.arg(slot);
    }
    const FontSlot& font = fontSlots[static_cast<std::size_t>(slot)];
    return u"Current: "_s + oneLine(QString::fromStdString(font.name));
}

void SettingsWindow::controls() {
    const bool isEditable = isFree() && known;
    for (const Switch& each : switches) {
        focus.enable(each.box, isEditable);
    }
    for (QAbstractButton* button : speedGroup->buttons()) {
        focus.enable(button, isEditable && isLogoShown());
    }
    renderFontChoice(isEditable);
    focus.enable(refreshButton, isFree());
}

void SettingsWindow::renderFontChoice(bool isEditable) {
    const bool isLinked = connected();
    const bool hasFonts = fontBox->count() > 0;
    focus.enable(fontBox, isEditable && hasFonts);
    focus.enable(setFontButton, isEditable && hasFonts && selectedSlot() != confirmed(defaultFont));
    fontMessage->setText(!isLinked ? u"Connect to Pivex to change the default font."_s
                         : pending ? u"Loading saved font slots…"_s
                                   : u"No fonts are currently saved on Pivex."_s);
    const bool hasChoice = isLinked && hasFonts;
    // What goes is hidden first: showing lays out at once, and the window would grow for both.
    focus.reveal(fontMessage, fontMessage->isVisibleTo(this) && !hasChoice);
    focus.reveal(fontBox, hasChoice);
    focus.reveal(setFontButton, hasChoice);
    focus.reveal(fontMessage, !hasChoice);
}

void SettingsWindow::synchronize(Prefer preference) {
    const QSignalBlocker blocker(fontBox);
    const int selected = selectedSlot();
    fontBox->clear();
    for (int slot = 0; slot < fontSlotCount; ++slot) {
        if (offers(slot)) {
            const FontSlot& font = fontSlots[static_cast<std::size_t>(slot)];
            fontBox->addItem(oneLine(QString::fromStdString(font.name)), slot);
        }
    }
    const int confirmedFont = known ? fontBox->findData(int{confirmed(defaultFont)}) : -1;
    const int selection = fontBox->findData(selected);
    const bool keepsSelection = preference == Prefer::Selection || confirmedFont < 0;
    const int wanted = keepsSelection && selection >= 0 ? selection : confirmedFont;
    fontBox->setCurrentIndex(wanted >= 0 || fontBox->count() == 0 ? wanted : 0);
}

void SettingsWindow::request(Bytes bytes) {
    if (!isFree() || !hooks.request) {
        render();
        return;
    }
    pending = true;
    status->setText(bytes.front() == readRequest ? u"Loading Pivex settings and fonts…"_s
                                                 : u"Updating Pivex settings…"_s);
    render();
    try {
        hooks.request(std::move(bytes));
    } catch (const std::exception& error) {
        pending = false;
        status->setText(QString::fromUtf8(error.what()));
        render();
    }
}

void SettingsWindow::change(const SettingRule& rule, int value) {
    request({changeRequest, rule.setting, static_cast<std::uint8_t>(value)});
}

void SettingsWindow::toggle(const SettingRule& rule) {
    if (known) {
        change(rule, confirmed(rule) == 0 ? 1 : 0);
    } else {
        render();
    }
}

void SettingsWindow::chooseSpeed(int speed) {
    if (known && isLogoShown() && speed != confirmed(logoSpeed)) {
        change(logoSpeed, speed);
    } else {
        render();
    }
}

void SettingsWindow::setDefaultFont() {
    const int slot = selectedSlot();
    if (known && offers(slot) && slot != confirmed(defaultFont)) {
        change(defaultFont, slot);
    }
}

} // namespace

QWidget* openLinuxSettingsWindow(QWidget* parent, LinuxSettingsHooks hooks,
                                 const FontSlots& slotInfo) {
    auto* window = new SettingsWindow(parent, std::move(hooks), slotInfo);
    window->show();
    return window;
}

void receivedLinuxSettings(QWidget* window, const DeviceSettings& settings) {
    if (auto* settingsWindow = dynamic_cast<SettingsWindow*>(window)) {
        settingsWindow->received(settings);
    }
}

void updateLinuxSettingsWindow(QWidget* window, const FontSlots& slotInfo, const QString& message,
                               bool unfreeze) {
    if (auto* settingsWindow = dynamic_cast<SettingsWindow*>(window)) {
        settingsWindow->state(slotInfo, message, unfreeze);
    }
}

} // namespace pivex
