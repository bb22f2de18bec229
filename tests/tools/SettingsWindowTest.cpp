#include "tools/SettingsWindow.h"

#include "ToolStory.h"
#include "support/Hex.h"

#include <QComboBox>
#include <QLabel>

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
        });
        watchEnabled(u"L logoBox E ledsBox A auxBox s slowButton m mediumButton f fastButton "
                     "D fontBox S setFontButton R refreshButton"_s);
        watchEnabled(u"L logoBox E ledsBox A auxBox s slowButton m mediumButton f fastButton"_s,
                     "checked", "checked ");
        watchEnabled(u"L logoBox E ledsBox A auxBox"_s, "tristate", "unknown ");
        watchEnabled(u"D fontBox S setFontButton"_s, "visible", "shown ");
        views.push_back({"message ", [this] {
                             const auto& label = child<QLabel>(*root, "fontMessageLabel");
                             return label.isVisible() ? label.text() : QString();
                         }});
        watchTexts(u"fontBox.currentText currentFontLabel statusLabel"_s);
    }

    void take(const Bytes& bytes) {
        told << u"asks "_s + QString::fromLatin1(toHex(bytes));
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
};

} // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void followsTheBoard() {
        Scene().play(R"(
            look => +R; checked +LEA; unknown +LEA; shown +DS; One; Connect to Pivex to load
                settings.
            logoBox =>
            refreshButton => asks 00; -R; Loading Pivex settings and fonts…
            board 12011 => rebuilt; +LEADR; checked +f-L; unknown -LEA; Current: One
            auxBox => asks 010600; -LEADR; Updating Pivex settings…
            link down => shown -DS; message Connect to Pivex to change the default font.
            fails Disconnected. => rebuilt; checked +L-f; unknown +LEA; no text; Disconnected.
            link up => +R; shown +DS; no message
            board 10011 => rebuilt; +LEAD; checked +s-L; unknown -LEA; Current: One
            unready => -LEADR
            ready => +LEADR
            forget => -D; shown -DS; message No fonts are currently saved on Pivex.; no text;
                Current slot: 1 (no saved font)
            refreshButton => asks 00; -LEAR; message Loading saved font slots…; Loading Pivex
                settings and fonts…
            closeButton => closed
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
            board 01004 => rebuilt; +LEAsmfD; checked +m-A; unknown -LEA; Four; Current: Four
            mediumButton =>
            setFontButton =>
            logoBox => asks 010201; -LEAsmfDR; Updating Pivex settings…
            logoBox =>
            with 11004 fastButton => rebuilt; +LEADR; checked -L
            logoBox => asks 010200; -LEADR
            with 01004 ledsBox => rebuilt; asks 010501; checked +L
            with 01104 ledsBox => rebuilt; asks 010500; checked -E
            with 01004 auxBox => rebuilt; asks 010601; checked +E
            with 01014 auxBox => rebuilt; asks 010600; checked +A
            with 01004 slowButton => rebuilt; asks 010300; checked -A
            with 00004 fastButton => rebuilt; asks 010302; checked +s-m
            board 02004 => rebuilt; +LEAsmfDR; checked +f-s
            choose 0 => +S; One
            setFontButton => asks 010701; -LEAsmfDSR
            refuse Invalid setting or setting value. =>
            with 02001 logoBox => rebuilt; asks 010201; +LEAsmfDR; Current: One; Invalid setting or
                setting value.
            board 01001 => rebuilt; checked +m-f
            choose 2 => +S; Four
            busy =>
            logoBox => -LEAsmfDSR
        )");
    }

    void keepsTheChoiceOfAFont() {
        Scene scene;
        scene.known[1].properties = {1, 2, 3};
        scene.play(R"(
            board 00002 => rebuilt; +LEAsmfD; checked +s-A; unknown -LEA; <b>Two</b>; Current:
                <b>Two</b>
            board 00003 => rebuilt; +S; Current slot: 3 (no saved font)
            board 00005 => rebuilt; Current slot: 5 (no saved font)
            board 00006 => rebuilt; Current slot: 6 (no saved font)
            choose 2 => Four
            says Message => Message
            board 00003 => rebuilt; Current slot: 3 (no saved font)
            slot 5 Unread => rebuilt
            board 00002 => rebuilt; -S; <b>Two</b>; Current: <b>Two</b>
            choose 2 => +S; Four
            slot 1 Other => rebuilt
            slot 4 => rebuilt; -S; <b>Two</b>
            slot 1 => rebuilt
        )");
    }

    void twoSpacesDoNotClose() {
        for (const char* name :
             {"logoBox", "auxBox", "fastButton", "setFontButton", "refreshButton"}) {
            Scene scene;
            scene.act(u"board 00001"_s);
            QCOMPARE(scene.root->focusWidget(), &child(*scene.root, "refreshButton"));
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
        }
    }
};

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
