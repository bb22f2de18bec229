#include "tools/SettingsWindow.h"

#include "support/Dialogs.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QtTest>

#include <memory>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Fonts in slots 1, 2 and 4; slot 0 is empty and slot 5 unread in spite of its name.
FontSlots storedFonts() {
    FontSlots made;
    for (int slot = 0; slot < 5; ++slot) {
        made[static_cast<std::size_t>(slot)].read = true;
    }
    made[1].name = "One";
    made[2].name = "<b>Two</b>";
    made[4].name = "Four";
    made[5].name = "Unread";
    return made;
}

/// A record with the logo flag, the speed, the LED flag, the AUX flag and the default font.
DeviceSettings record(int logo, int speed, int leds, int aux, int font) {
    DeviceSettings made;
    made.bytes.fill(0xEE);
    const std::array<std::pair<std::size_t, int>, 5> fields{
        {{3, logo}, {4, speed}, {7, leds}, {8, aux}, {9, font}}};
    for (const auto& [at, value] : fields) {
        made.bytes[at] = static_cast<std::uint8_t>(value);
    }
    return made;
}

/// The window over a board that only remembers what it was asked.
struct Bench {
    explicit Bench(const FontSlots& fontSlots = storedFonts())
        : window(openLinuxSettingsWindow(nullptr,
                                         {.connected = [this] { return connected; },
                                          .ready = [this] { return ready; },
                                          .request = [this](const Bytes& bytes) { take(bytes); }},
                                         fontSlots)) {}

    void take(const Bytes& bytes) {
        asked << QByteArray(reinterpret_cast<const char*>(bytes.data()),
                            static_cast<qsizetype>(bytes.size()))
                     .toHex(' ');
        if (!refusal.empty()) {
            throw std::runtime_error(refusal);
        }
    }

    void receive(const DeviceSettings& settings) const {
        receivedLinuxSettings(window.get(), settings);
    }

    void update(const FontSlots& fontSlots = storedFonts(), const QString& message = {},
                bool unfreeze = false) const {
        updateLinuxSettingsWindow(window.get(), fontSlots, message, unfreeze);
    }

    QString label(const char* name) const { return child<QLabel>(*window, name).text(); }

    QComboBox& fonts() const { return child<QComboBox>(*window, "fontBox"); }

    void press(const char* name) const { child(*window, name).click(); }

    bool isShown(const char* name) const {
        return child<QWidget>(*window, name).isVisibleTo(window.get());
    }

    /// What the controls show: a letter for each, in lower case while it is disabled. Boxes: C
    /// checked, U unchecked, P partial. Speeds: the initial when checked, else X. Then D for the
    /// drop-down, S for "Set Default Font" (both - while hidden) and R for "Refresh".
    QByteArray look() const {
        QByteArray text;
        const auto add = [&](const char* name, char letter) {
            const bool isEnabled = child<QWidget>(*window, name).isEnabled();
            text += isEnabled ? QByteArray(1, letter) : QByteArray(1, letter).toLower();
        };
        for (const char* name : {"logoBox", "ledsBox", "auxBox"}) {
            add(name, "UPC"[child<QCheckBox>(*window, name).checkState()]);
        }
        for (const char* name : {"slowButton", "mediumButton", "fastButton"}) {
            const auto& button = child(*window, name);
            add(name, button.isChecked() ? button.text().at(0).toLatin1() : 'X');
        }
        add("fontBox", isShown("fontBox") ? 'D' : '-');
        add("setFontButton", isShown("setFontButton") ? 'S' : '-');
        add("refreshButton", 'R');
        return text;
    }

    bool connected = true;
    bool ready = true;
    std::string refusal;
    QList<QByteArray> asked;
    std::unique_ptr<QWidget> window;
};

} // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void beginsUnknown();
    void clicksAskTheBoard_data();
    void clicksAskTheBoard();
    void showsOnlyWhatTheBoardConfirmed();
    void controlsFollowTheState_data();
    void controlsFollowTheState();
    void saysWhichFontIsCurrent();
    void keepsTheDropDown();
    void selectsInOrderOfPreference();
    void becomesUnknownAgain();
    void showsARefusedRequest();
    void twoSpacesDoNotClose();
};

void SettingsWindowTest::beginsUnknown() {
    Bench bench;
    QCOMPARE(bench.look(), QByteArray("pppxxxdsR"));
    QCOMPARE(bench.label("statusLabel"), u"Connect to Pivex to load settings."_s);
    QCOMPARE(bench.label("currentFontLabel"), QString());
    QCOMPARE(bench.window->windowTitle(), QString());
    for (const char* name : {"statusLabel", "currentFontLabel", "fontMessageLabel"}) {
        QCOMPARE(child<QLabel>(*bench.window, name).textFormat(), Qt::PlainText);
    }
    bench.press("refreshButton");
    QCOMPARE(bench.asked, QList<QByteArray>{"00"});
    QCOMPARE(bench.label("statusLabel"), u"Loading Pivex settings and fonts…"_s);
    QCOMPARE(bench.look(), QByteArray("pppxxxdsr"));
    bench.receive(record(0, 2, 0, 1, 1));
    QCOMPARE(bench.look(), QByteArray("CCCXXFDsR"));
    QVERIFY(!child<QCheckBox>(*bench.window, "logoBox").isTristate());
}

void SettingsWindowTest::clicksAskTheBoard_data() {
    QTest::addColumn<DeviceSettings>("before");
    QTest::addColumn<QByteArray>("control");
    QTest::addColumn<QByteArray>("request"); // empty when nothing may be sent
    const auto row = [](const char* name, const DeviceSettings& before, const char* control,
                        const char* request) {
        QTest::newRow(name) << before << QByteArray(control) << QByteArray(request);
    };
    row("hide the logo", record(0, 1, 0, 0, 1), "logoBox", "01 02 01");
    row("show the logo", record(1, 1, 0, 0, 1), "logoBox", "01 02 00");
    row("LEDs off", record(0, 1, 0, 0, 1), "ledsBox", "01 05 01");
    row("LEDs on", record(0, 1, 1, 0, 1), "ledsBox", "01 05 00");
    row("AUX on", record(0, 1, 0, 0, 1), "auxBox", "01 06 01");
    row("AUX off", record(0, 1, 0, 1, 1), "auxBox", "01 06 00");
    row("slow", record(0, 1, 0, 0, 1), "slowButton", "01 03 00");
    row("medium", record(0, 0, 0, 0, 1), "mediumButton", "01 03 01");
    row("fast", record(0, 1, 0, 0, 1), "fastButton", "01 03 02");
    row("confirmed speed", record(0, 1, 0, 0, 1), "mediumButton", "");
    row("speed of a hidden logo", record(1, 1, 0, 0, 1), "fastButton", "");
    row("refresh", record(0, 1, 0, 0, 1), "refreshButton", "00");
    row("confirmed font", record(0, 1, 0, 0, 4), "setFontButton", "");
}

void SettingsWindowTest::clicksAskTheBoard() {
    QFETCH(DeviceSettings, before);
    QFETCH(QByteArray, control);
    QFETCH(QByteArray, request);
    Bench bench;
    bench.receive(before);
    const QByteArray idle = bench.look();
    bench.press(control);
    QCOMPARE(bench.asked, request.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{request});
    const bool isSent = !request.isEmpty();
    QCOMPARE(bench.look(), isSent ? idle.toLower() : idle);
    if (request.startsWith("01")) {
        QCOMPARE(bench.label("statusLabel"), u"Updating Pivex settings…"_s);
    }
    bench.press(control);
    bench.update();
    QCOMPARE(bench.asked.size(), isSent ? 1 : 0);
    QCOMPARE(bench.look(), isSent ? idle.toLower() : idle);
    bench.receive(before);
    QCOMPARE(bench.look(), idle);
}

void SettingsWindowTest::showsOnlyWhatTheBoardConfirmed() {
    Bench bench;
    bench.receive(record(0, 1, 0, 0, 1));
    // The board got busy before any push of its state: the click reverts and nothing is sent.
    bench.ready = false;
    for (const char* control : {"logoBox", "ledsBox", "auxBox", "fastButton", "setFontButton"}) {
        bench.press(control);
        QCOMPARE(bench.look().toUpper(), QByteArray("CCUXMXDSR"));
    }
    QVERIFY(bench.asked.isEmpty());
    bench.ready = true;
    bench.update();
    bench.fonts().setCurrentIndex(2);
    QVERIFY(bench.asked.isEmpty());
    QCOMPARE(bench.look(), QByteArray("CCUXMXDSR"));
    bench.press("setFontButton");
    QCOMPARE(bench.asked, QList<QByteArray>{"01 07 04"});
    QCOMPARE(bench.label("currentFontLabel"), u"Current: One"_s);
    bench.receive(record(0, 1, 0, 0, 4));
    QCOMPARE(bench.label("currentFontLabel"), u"Current: Four"_s);
}

void SettingsWindowTest::controlsFollowTheState_data() {
    QTest::addColumn<QByteArray>("state"); // of: Connected, Ready, Fonts stored, Pending
    QTest::addColumn<QByteArray>("look");
    QTest::addColumn<QString>("message"); // empty when hidden
    const auto row = [](const char* state, const char* look, const QString& message) {
        QTest::newRow(state) << QByteArray(state) << QByteArray(look) << message;
    };
    row("CRF", "CUUSXXDSR", {});
    row("CF", "cuusxxdsr", {});
    row("CRFP", "cuusxxdsr", {});
    row("CR", "CUUSXX--R", u"No fonts are currently saved on Pivex."_s);
    row("CRP", "cuusxx--r", u"Loading saved font slots…"_s);
    row("RFP", "cuusxx--r", u"Connect to Pivex to change the default font."_s);
}

void SettingsWindowTest::controlsFollowTheState() {
    QFETCH(QByteArray, state);
    QFETCH(QByteArray, look);
    QFETCH(QString, message);
    const FontSlots fontSlots = state.contains('F') ? storedFonts() : FontSlots{};
    Bench bench(fontSlots);
    bench.receive(record(0, 0, 1, 0, 3));
    if (state.contains('P')) {
        bench.press("auxBox");
    }
    bench.connected = state.contains('C');
    bench.ready = state.contains('R');
    bench.update(fontSlots);
    QCOMPARE(bench.look(), look);
    QCOMPARE(bench.isShown("fontMessageLabel"), !message.isEmpty());
    if (!message.isEmpty()) {
        QCOMPARE(bench.label("fontMessageLabel"), message);
    }
}

void SettingsWindowTest::saysWhichFontIsCurrent() {
    Bench bench;
    const QList<std::pair<int, QString>> texts{{2, u"Current: <b>Two</b>"_s},
                                               {0, u"Current slot: 0 (no saved font)"_s},
                                               {5, u"Current slot: 5 (no saved font)"_s},
                                               {255, u"Current slot: 255 (no saved font)"_s}};
    for (const auto& [font, text] : texts) {
        bench.receive(record(0, 0, 0, 0, font));
        QCOMPARE(bench.label("currentFontLabel"), text);
    }
}

void SettingsWindowTest::keepsTheDropDown() {
    Bench bench;
    bench.receive(record(0, 0, 0, 0, 1));
    bench.fonts().setCurrentIndex(2);
    QSignalSpy rebuilt(bench.fonts().model(), &QAbstractItemModel::rowsInserted);
    FontSlots fontSlots = storedFonts();
    fontSlots[1].properties = {1, 2, 3};
    bench.fonts().showPopup();
    bench.update(fontSlots, u"Message"_s);
    QVERIFY(bench.fonts().view()->isVisible());
    QCOMPARE(rebuilt.size(), 0);
    QCOMPARE(bench.label("statusLabel"), u"Message"_s);
    bench.update(fontSlots);
    QCOMPARE(bench.label("statusLabel"), u"Message"_s);
    bench.fonts().hidePopup();
    fontSlots[1].name = "Other";
    bench.update(fontSlots);
    QCOMPARE(bench.fonts().itemText(0), u"Other"_s);
    QCOMPARE(bench.fonts().currentText(), u"Four"_s);
    fontSlots[5].read = true;
    bench.update(fontSlots);
    QCOMPARE(bench.fonts().count(), 4);
    QCOMPARE(bench.fonts().itemData(3).toInt(), 5);
}

void SettingsWindowTest::selectsInOrderOfPreference() {
    Bench bench;
    QCOMPARE(bench.fonts().currentText(), u"One"_s); // the first, nothing else being known
    bench.receive(record(0, 0, 0, 0, 2));
    QCOMPARE(bench.fonts().currentText(), u"<b>Two</b>"_s);
    bench.fonts().setCurrentIndex(2);
    bench.receive(record(0, 0, 0, 0, 3)); // holds no font: the selection stays
    QCOMPARE(bench.fonts().currentText(), u"Four"_s);
    bench.receive(record(0, 0, 0, 0, 1));
    bench.fonts().setCurrentIndex(2);
    FontSlots fontSlots = storedFonts();
    fontSlots[4].name.clear(); // takes the selection away: back to the confirmed font
    bench.update(fontSlots);
    QCOMPARE(bench.fonts().currentText(), u"One"_s);
}

void SettingsWindowTest::becomesUnknownAgain() {
    Bench bench;
    bench.receive(record(1, 2, 1, 1, 1));
    bench.press("auxBox");
    bench.connected = bench.ready = false;
    bench.update({}, u"Disconnected. Settings must be read again."_s, true);
    QCOMPARE(bench.look(), QByteArray("pppxxx--r"));
    QCOMPARE(bench.label("statusLabel"), u"Disconnected. Settings must be read again."_s);
    QCOMPARE(bench.label("currentFontLabel"), QString());
    bench.connected = bench.ready = true;
    bench.update();
    QCOMPARE(bench.look(), QByteArray("pppxxxdsR"));
    bench.receive(record(1, 2, 1, 1, 1));
    QCOMPARE(bench.look(), QByteArray("UUCxxfDsR"));
}

void SettingsWindowTest::showsARefusedRequest() {
    Bench bench;
    bench.receive(record(0, 0, 0, 0, 1));
    bench.refusal = "Invalid setting or setting value.";
    bench.press("logoBox");
    QCOMPARE(bench.label("statusLabel"), QString::fromStdString(bench.refusal));
    QCOMPARE(bench.look(), QByteArray("CCUSXXDsR"));
}

void SettingsWindowTest::twoSpacesDoNotClose() {
    for (const char* name : {"logoBox", "auxBox", "fastButton", "setFontButton", "refreshButton"}) {
        Bench bench;
        bench.receive(record(0, 0, 0, 0, 1));
        bench.fonts().setCurrentIndex(1);
        child(*bench.window, name).setFocus();
        QTest::keyClick(bench.window->focusWidget(), Qt::Key_Space);
        bench.update();
        QTest::keyClick(bench.window->focusWidget(), Qt::Key_Space);
        QVERIFY(bench.window->isVisible());
        QCOMPARE(bench.asked.size(), 1);
        bench.receive(record(0, 2, 0, 0, 4));
        QWidget& control = child<QWidget>(*bench.window, name);
        QCOMPARE(bench.window->focusWidget() == &control, control.isEnabled());
        bench.press("closeButton");
        QVERIFY(!bench.window->isVisible());
    }
}

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
