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
    const char* names[] = {"", "One", "<b>Two</b>", "", "Four", "Unread"};
    for (std::size_t slot = 0; slot < made.size(); ++slot) {
        made[slot] = {.read = slot < 5, .name = names[slot]};
    }
    return made;
}

/// A record with the logo flag, the speed, the LED flag, the AUX flag and the default font.
DeviceSettings record(int logo, int speed, int leds, int aux, int font) {
    DeviceSettings made;
    made.bytes.fill(0xEE);
    for (const auto& [at, value] :
         {std::pair(3, logo), {4, speed}, {7, leds}, {8, aux}, {9, font}}) {
        made.bytes[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(value);
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
        const QByteArrayView view(bytes.data(), static_cast<qsizetype>(bytes.size()));
        asked << view.toByteArray().toHex(' ');
        if (!refusal.empty()) {
            throw std::runtime_error(refusal);
        }
    }

    void receive(int logo, int speed, int leds, int aux, int font) const {
        receivedLinuxSettings(window.get(), record(logo, speed, leds, aux, font));
    }

    void update(const FontSlots& fontSlots = storedFonts(), const QString& message = {},
                bool unfreeze = false) const {
        updateLinuxSettingsWindow(window.get(), fontSlots, message, unfreeze);
    }

    QString label(const char* name) const { return child<QLabel>(*window, name).text(); }

    QString status() const { return label("statusLabel"); }

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
            const QByteArray enabled(1, letter);
            text += child<QWidget>(*window, name).isEnabled() ? enabled : enabled.toLower();
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
    QByteArrayList asked;
    std::unique_ptr<QWidget> window;
};

} // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void isUnknownUntilRead() {
        Bench bench;
        QCOMPARE(bench.look(), "pppxxxdsR");
        QCOMPARE(bench.status(), u"Connect to Pivex to load settings."_s);
        QCOMPARE(bench.window->windowTitle(), QString());
        for (const char* name : {"statusLabel", "currentFontLabel", "fontMessageLabel"}) {
            QCOMPARE(child<QLabel>(*bench.window, name).textFormat(), Qt::PlainText);
        }
        bench.press("refreshButton");
        QCOMPARE(bench.asked, QByteArrayList{"00"});
        QCOMPARE(bench.status(), u"Loading Pivex settings and fonts…"_s);
        QCOMPARE(bench.look(), "pppxxxdsr");
        bench.receive(1, 2, 0, 1, 1);
        QCOMPARE(bench.look(), "UCCxxfDsR");
        QVERIFY(!child<QCheckBox>(*bench.window, "logoBox").isTristate());
        bench.press("auxBox");
        bench.connected = bench.ready = false;
        bench.update({}, u"Disconnected. Settings must be read again."_s, true);
        QCOMPARE(bench.look(), "pppxxx--r");
        QCOMPARE(bench.status(), u"Disconnected. Settings must be read again."_s);
        QCOMPARE(bench.label("currentFontLabel"), QString());
        bench.connected = bench.ready = true;
        bench.update();
        QCOMPARE(bench.look(), "pppxxxdsR");
    }

    void clicksAskTheBoard_data() {
        QTest::addColumn<int>("flag");           // of logo, LEDs and AUX
        QTest::addColumn<QByteArray>("request"); // empty when nothing may be sent
        const auto row = [](int flag, const char* control, const char* request) {
            QTest::addRow("%s %d", control, flag) << flag << QByteArray(request);
        };
        row(0, "logoBox", "01 02 01");
        row(1, "logoBox", "01 02 00");
        row(0, "ledsBox", "01 05 01");
        row(1, "ledsBox", "01 05 00");
        row(0, "auxBox", "01 06 01");
        row(1, "auxBox", "01 06 00");
        row(0, "slowButton", "01 03 00");
        row(0, "mediumButton", "");
        row(0, "fastButton", "01 03 02");
        row(1, "fastButton", "");
        row(0, "refreshButton", "00");
        row(0, "setFontButton", "");
    }

    void clicksAskTheBoard() {
        QFETCH(int, flag);
        QFETCH(QByteArray, request);
        const QByteArray control = QByteArray(QTest::currentDataTag()).chopped(2);
        Bench bench;
        bench.receive(flag, 1, flag, flag, 4);
        const QByteArray idle = bench.look();
        const QByteArray expected = request.isEmpty() ? idle : idle.toLower();
        bench.press(control);
        QCOMPARE(bench.look(), expected);
        QCOMPARE(bench.status() == u"Updating Pivex settings…"_s, request.startsWith("01"));
        bench.press(control);
        bench.update();
        QCOMPARE(bench.asked.join(','), request);
        QCOMPARE(bench.look(), expected);
        bench.receive(flag, 1, flag, flag, 4);
        QCOMPARE(bench.look(), idle);
    }

    void showsOnlyWhatTheBoardConfirmed() {
        Bench bench;
        bench.receive(0, 1, 0, 0, 1);
        // The board got busy before any push of its state: the click reverts and nothing is sent.
        bench.ready = false;
        for (const char* control :
             {"logoBox", "ledsBox", "auxBox", "fastButton", "setFontButton"}) {
            bench.press(control);
            QCOMPARE(bench.look().toUpper(), "CCUXMXDSR");
        }
        QVERIFY(bench.asked.isEmpty());
        bench.ready = true;
        bench.update();
        bench.fonts().setCurrentIndex(2);
        QVERIFY(bench.asked.isEmpty());
        QCOMPARE(bench.look(), "CCUXMXDSR");
        bench.press("setFontButton");
        QCOMPARE(bench.asked, QByteArrayList{"01 07 04"});
        QCOMPARE(bench.label("currentFontLabel"), u"Current: One"_s);
        bench.refusal = "Invalid setting or setting value.";
        bench.receive(0, 1, 0, 0, 1);
        bench.press("logoBox");
        QCOMPARE(bench.status(), QString::fromStdString(bench.refusal));
        QCOMPARE(bench.look(), "CCUXMXDsR");
    }

    void controlsFollowTheState_data() {
        QTest::addColumn<QByteArray>("look");
        QTest::addColumn<QString>("message"); // empty when hidden
        const auto row = [](const char* state, const char* look, const QString& message) {
            QTest::newRow(state) << QByteArray(look) << message;
        };
        // State: Connected, Ready, Fonts stored, Pending.
        row("CRF", "CUUSXXDSR", {});
        row("CF", "cuusxxdsr", {});
        row("CRFP", "cuusxxdsr", {});
        row("CR", "CUUSXX--R", u"No fonts are currently saved on Pivex."_s);
        row("CRP", "cuusxx--r", u"Loading saved font slots…"_s);
        row("RFP", "cuusxx--r", u"Connect to Pivex to change the default font."_s);
    }

    void controlsFollowTheState() {
        const QByteArray state = QTest::currentDataTag();
        const FontSlots fontSlots = state.contains('F') ? storedFonts() : FontSlots{};
        Bench bench(fontSlots);
        bench.receive(0, 0, 1, 0, 3);
        if (state.contains('P')) {
            bench.press("auxBox");
        }
        bench.connected = state.contains('C');
        bench.ready = state.contains('R');
        bench.update(fontSlots);
        QTEST(bench.look(), "look");
        QTEST(bench.isShown("fontMessageLabel") ? bench.label("fontMessageLabel") : QString(),
              "message");
    }

    void saysWhichFontIsCurrent() {
        Bench bench;
        bench.receive(0, 0, 0, 0, 2);
        QCOMPARE(bench.label("currentFontLabel"), u"Current: <b>Two</b>"_s);
        for (const int slot : {0, 5, 255}) {
            bench.receive(0, 0, 0, 0, slot);
            QCOMPARE(bench.label("currentFontLabel"),
                     u"Current slot: %1 (no saved font)"_s.arg(slot));
        }
    }

    void keepsTheDropDown() {
        Bench bench;
        bench.receive(0, 0, 0, 0, 1);
        bench.fonts().setCurrentIndex(2);
        QSignalSpy rebuilt(bench.fonts().model(), &QAbstractItemModel::rowsInserted);
        FontSlots fontSlots = storedFonts();
        fontSlots[1].properties = {1, 2, 3};
        bench.fonts().showPopup();
        bench.update(fontSlots, u"Message"_s);
        bench.update(fontSlots);
        QVERIFY(bench.fonts().view()->isVisible() && rebuilt.isEmpty());
        QCOMPARE(bench.status(), u"Message"_s);
        bench.fonts().hidePopup();
        fontSlots[1].name = "Other";
        bench.update(fontSlots);
        QCOMPARE(bench.fonts().itemText(0), u"Other"_s);
        fontSlots[5].read = true;
        bench.update(fontSlots);
        QCOMPARE(bench.fonts().itemData(3).toInt(), 5);
        QCOMPARE(bench.fonts().currentText(), u"Four"_s);
    }

    void selectsInOrderOfPreference() {
        Bench bench;
        QCOMPARE(bench.fonts().currentText(), u"One"_s); // the first, nothing else being known
        bench.receive(0, 0, 0, 0, 2);
        QCOMPARE(bench.fonts().currentText(), u"<b>Two</b>"_s);
        bench.fonts().setCurrentIndex(2);
        bench.receive(0, 0, 0, 0, 3); // holds no font: the selection stays
        QCOMPARE(bench.fonts().currentText(), u"Four"_s);
        bench.receive(0, 0, 0, 0, 2);
        bench.fonts().setCurrentIndex(2);
        FontSlots fontSlots = storedFonts();
        fontSlots[4].name.clear(); // takes the selection away: back to the confirmed font
        bench.update(fontSlots);
        QCOMPARE(bench.fonts().currentText(), u"<b>Two</b>"_s);
    }

    void twoSpacesDoNotClose() {
        for (const char* name :
             {"logoBox", "auxBox", "fastButton", "setFontButton", "refreshButton"}) {
            Bench bench;
            bench.receive(0, 0, 0, 0, 1);
            bench.fonts().setCurrentIndex(1);
            auto& control = child(*bench.window, name);
            control.setFocus();
            for (int time = 0; time < 2; ++time) {
                QTest::keyClick(bench.window->focusWidget(), Qt::Key_Space);
                bench.update();
            }
            QVERIFY(bench.window->isVisible());
            QCOMPARE(bench.asked.size(), 1);
            bench.receive(0, 2, 0, 0, 4);
            QCOMPARE(bench.window->focusWidget() == &control, control.isEnabled());
            bench.press("closeButton");
            QVERIFY(!bench.window->isVisible());
        }
    }
};

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
