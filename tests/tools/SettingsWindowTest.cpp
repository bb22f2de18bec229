#include "tools/SettingsWindow.h"

#include "ToolStory.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>

using namespace pivex;
using namespace pivex::testing;

namespace {

struct Scene : ToolStory<FontSlots, 0> {
    bool connected = true;
    std::string refusal;
    QComboBox* fonts = nullptr;

    /// Fonts in slots 1, 2 and 4; slot 0 is empty and slot 5 unread in spite of its name.
    Scene() {
        const char* names[] = {"", "One", "<b>Two</b>", "", "Four", "Unread"};
        for (std::size_t slot = 0; slot < known.size(); ++slot) {
            known[slot] = {.read = slot < 5, .name = names[slot]};
        }
        root = openLinuxSettingsWindow(nullptr,
                                       {.connected = [this] { return connected; },
                                        .ready = [this] { return ready; },
                                        .request = [this](const Bytes& bytes) { take(bytes); }},
                                       known);
        fonts = &child<QComboBox>(*root, "fontBox");
        QObject::connect(fonts->model(), &QAbstractItemModel::rowsInserted, root,
                         [this] { told.removeOne(u"rebuilt"_s), told << u"rebuilt"_s; });
        verbs.merge(Verbs{
            {u"board"_s, [this](auto& words) { receive(words[0]); }},
            {u"with"_s, [this](auto& words) { receive(words[0]), act(words[1]); }},
            {u"link"_s, [this](auto& words) { connected = words[0] == u"up"_s, push(); }},
            {u"refuse"_s, [this](auto& words) { refusal = words.join(u' ').toStdString(); }},
            {u"choose"_s, [this](auto& words) { fonts->setCurrentIndex(words[0].toInt()); }},
            {u"popup"_s, [this](auto&) { fonts->showPopup(); }},
        });
        views.push_back({"", [this] { return look(); }});
        views.push_back(
            {"message ", [this] {
                 return isShown("fontMessageLabel")
                            ? child<QObject>(*root, "fontMessageLabel").property("text").toString()
                            : QString();
             }});
        views.push_back({"choice ", [this] { return fonts->currentText(); }});
        views.push_back({"popup ", [this] {
                             return QString(fonts->view()->isVisible() ? u"open"_s : QString());
                         }});
        watchTexts(u"currentFontLabel statusLabel"_s);
    }

    QString summary(const std::string& /*text*/) override { return {}; }

    void take(const Bytes& bytes) {
        QStringList numbers;
        for (const std::uint8_t byte : bytes) {
            numbers << QString::number(byte);
        }
        told << u"asks "_s + numbers.join(u' ');
        if (!refusal.empty()) {
            throw std::runtime_error(refusal);
        }
    }

    /// Hands over a record: a digit each for logo, speed, LEDs and AUX, then the default font.
    void receive(const QString& digits) {
        DeviceSettings record;
        record.bytes.fill(0xEE);
        for (qsizetype i = 0; i < std::ssize(settingRules); ++i) {
            record.bytes[settingRules[static_cast<std::size_t>(i)].recordByte] =
                static_cast<std::uint8_t>(digits.mid(i, i == 4 ? -1 : 1).toInt());
        }
        receivedLinuxSettings(root, record);
    }

    void push(const QString& message = {}, bool unfreeze = false) override {
        updateLinuxSettingsWindow(root, known, message, unfreeze);
    }

    bool isShown(const char* name) const { return child<QWidget>(*root, name).isVisibleTo(root); }

    /// What the controls show: a letter for each, in lower case while it is disabled. Boxes: C
    /// checked, U unchecked, P partial. Speeds: the initial when checked, else X. Then D for the
    /// drop-down, S for "Set Default Font" (both - while hidden) and R for "Refresh".
    QString look() const {
        QString text;
        const auto add = [&](const char* name, QChar letter) {
            text += child<QWidget>(*root, name).isEnabled() ? letter : letter.toLower();
        };
        for (const char* name : {"logoBox", "ledsBox", "auxBox"}) {
            const auto& box = child<QCheckBox>(*root, name);
            add(name, box.isTristate() ? u'P' : u"UPC"[box.checkState()]);
        }
        for (const char* name : {"slowButton", "mediumButton", "fastButton"}) {
            const auto& button = child(*root, name);
            add(name, button.isChecked() ? button.text().at(0) : u'X');
        }
        add("fontBox", isShown("fontBox") ? u'D' : u'-');
        add("setFontButton", isShown("setFontButton") ? u'S' : u'-');
        add("refreshButton", u'R');
        return text;
    }
};

} // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void followsTheBoard() {
        Scene().play(R"(
            look => pppxxxdsR; choice One; Connect to Pivex to load settings.
            logoBox =>
            refreshButton => asks 0; pppxxxdsr; Loading Pivex settings and fonts…
            board 12011 => rebuilt; UCCxxfDsR; Current: One
            auxBox => asks 1 6 0; uccxxfdsr; Updating Pivex settings…
            link down => uccxxf--r; message Connect to Pivex to change the default font.
            fails Disconnected. => rebuilt; pppxxx--r; no text; Disconnected.
            link up => pppxxxdsR; no message
            board 10011 => rebuilt; UCCsxxDsR; Current: One
            unready => uccsxxdsr
            ready => UCCsxxDsR
            forget => UCCsxx--R; message No fonts are currently saved on Pivex.; no choice; Current
                slot: 1 (no saved font)
            refreshButton => asks 0; uccsxx--r; message Loading saved font slots…; Loading Pivex
                settings and fonts…
        )");
    }

    void growsForALongName() {
        Scene scene;
        scene.root->show();
        scene.known[1].name = std::string(31, 'W');
        scene.receive(u"12011"_s);
        scene.push(u"Pivex settings loaded."_s);
        QCoreApplication::processEvents();
        const auto& label = child<QWidget>(*scene.root, "currentFontLabel");
        QCOMPARE_GE(label.height(), label.heightForWidth(label.width()));
    }

    void asksForEveryChange() {
        Scene().play(R"(
            board 01004 => rebuilt; CCUXMXDsR; choice Four; Current: Four
            mediumButton =>
            setFontButton =>
            logoBox => asks 1 2 1; ccuxmxdsr; Updating Pivex settings…
            logoBox =>
            with 11004 fastButton => rebuilt; UCUxmxDsR
            logoBox => asks 1 2 0; ucuxmxdsr
            with 01004 ledsBox => rebuilt; asks 1 5 1; ccuxmxdsr
            with 01104 ledsBox => rebuilt; asks 1 5 0; cuuxmxdsr
            with 01004 auxBox => rebuilt; asks 1 6 1; ccuxmxdsr
            with 01014 auxBox => rebuilt; asks 1 6 0; cccxmxdsr
            with 01004 slowButton => rebuilt; asks 1 3 0; ccuxmxdsr
            with 00004 fastButton => rebuilt; asks 1 3 2; ccusxxdsr
            board 02004 => rebuilt; CCUXXFDsR
            choose 0 => CCUXXFDSR; choice One
            setFontButton => asks 1 7 1; ccuxxfdsr
            refuse Invalid setting or setting value. =>
            with 02001 logoBox => rebuilt; asks 1 2 1; CCUXXFDsR; Current: One; Invalid setting or
                setting value.
            board 01001 => rebuilt; CCUXMXDsR
            choose 2 => CCUXMXDSR; choice Four
            busy =>
            logoBox => ccuxmxdsr
            ledsBox =>
            auxBox =>
            fastButton =>
            setFontButton =>
        )");
    }

    void keepsTheChoiceOfAFont() {
        Scene scene;
        scene.known[1].properties = {1, 2, 3};
        scene.play(R"(
            board 00002 => rebuilt; CCUSXXDsR; choice <b>Two</b>; Current: <b>Two</b>
            board 00003 => rebuilt; CCUSXXDSR; Current slot: 3 (no saved font)
            board 00000 => rebuilt; Current slot: 0 (no saved font)
            board 00005 => rebuilt; Current slot: 5 (no saved font)
            board 0000255 => rebuilt; Current slot: 255 (no saved font)
            popup => popup open
            choose 2 => choice Four
            says Message => Message
            board 00003 => rebuilt; Current slot: 3 (no saved font)
            slot 5 Unread => rebuilt
            board 00002 => rebuilt; CCUSXXDsR; choice <b>Two</b>; Current: <b>Two</b>
            choose 2 => CCUSXXDSR; choice Four
            slot 1 Other => rebuilt
            slot 4 => rebuilt; CCUSXXDsR; choice <b>Two</b>
            slot 1 => rebuilt
        )");
    }

    void twoSpacesDoNotClose() {
        for (const char* name :
             {"logoBox", "auxBox", "fastButton", "setFontButton", "refreshButton"}) {
            Scene scene;
            scene.act(u"board 00001"_s);
            scene.fonts->setCurrentIndex(1);
            auto& control = child(*scene.root, name);
            control.setFocus();
            for (int time = 0; time < 2; ++time) {
                QTest::keyClick(scene.root->focusWidget(), Qt::Key_Space);
                scene.push();
            }
            QVERIFY(scene.root->isVisible());
            scene.act(u"board 02004"_s);
            QCOMPARE(scene.root->focusWidget() == &control, control.isEnabled());
            scene.play("closeButton => closed");
        }
    }
};

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
