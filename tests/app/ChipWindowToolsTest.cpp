#include "ChipWindowBench.h"
#include "app/StartupOptions.h"

using namespace pivex;
using namespace pivex::testing;

namespace {

BoardModel boardWithAnImage() {
    BoardModel model;
    model.storage.images[1] = {.name = "Logo", .width = 2, .height = 1, .rle = {2, 255, 255}};
    return model;
}

/// A window over a board with an image. What its tool windows say is seen, and in which order the
/// board is asked for what.
struct Scene : ConnectedBench {
    Scene() : ConnectedBench(boardWithAnImage()) {
        verbs.merge(Verbs{
            {u"fonts"_s, [this](auto&) { window.openFonts(); }},
            {u"images"_s, [this](auto&) { window.openImages(); }},
            {u"settings"_s, [this](auto&) { window.openSettings(); }},
            {u"press"_s,
             [this](auto& words) { child(*tool(words[0]), words[1].toLatin1()).click(); }},
            {u"renew"_s, [this](auto& words) { tool(words[0])->close(), window.openFonts(); }},
            {u"end"_s, [this](auto& words) { tool(words[0])->close(); }},
            {u"shrink"_s, [this](auto& words) { tool(words[0])->showMinimized(); }},
        });
        views.push_back({"fonts ", [this] { return said(u"glyphEditor"_s); }});
        views.push_back({"images ", [this] { return said(u"editCanvas"_s); }});
        views.push_back({"settings ", [this] { return said(u"fontBox"_s); }});
    }

    /// The open tool window that holds a child of this name; null when it is not open.
    QWidget* tool(const QString& content) const {
        for (const QWidget* widget : window.findChildren<QWidget*>(content)) {
            if (widget->window() != &window && widget->window()->isVisible()) {
                return widget->window();
            }
        }
        return nullptr;
    }

    /// The state, the status and the first image slot of a tool window.
    QString said(const QString& content) const {
        const QWidget* found = tool(content);
        if (found == nullptr) {
            return {};
        }
        const auto* slots = found->findChild<QListWidget*>(u"slotList"_s);
        return (found->isMinimized() ? u"(small) "_s : QString()) +
               child<QLabel>(*found, "statusLabel").text() +
               (slots == nullptr ? QString() : u' ' + slots->item(0)->text());
    }
};

/// The commands that the board received, repetitions counted once.
std::vector<Command> commands(const BoardServer& board) {
    std::vector<Command> seen;
    std::ranges::transform(board.requests(), std::back_inserter(seen), &BoardRequest::command);
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    return seen;
}

} // namespace

class ChipWindowToolsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void readsForOneWindowAfterTheOther() {
        ChipWindowBench bench;
        BoardServer board;
        bench.window.show();
        carryOut({.port = QString::fromStdString(board.path()),
                  .fonts = true,
                  .images = true,
                  .settings = true},
                 bench.window);
        using enum Command;
        const std::vector<Command> all{Identify,  ChipCount, FontSlotRead,
                                       ImageName, Settings,  FontSlotRead};
        QTRY_COMPARE_WITH_TIMEOUT(commands(board), all, 20'000);
        QVERIFY(bench.idle());
        // A port on the command line does not disturb a connection.
        carryOut({.port = u"other"_s}, bench.window);
        QVERIFY(bench.isEnabled("sendButton"));
    }

    void readsWhatTheOpenWindowsShow() {
        Scene().play(R"(
            chip Sent => Sent: GOSTRT ENDTEST; no text
            sendButton => talks; Send complete: Sent (32 code bytes). All packets acknowledged. Not
                permanently saved; not run.; +V
            start fonts => -RASVl; fonts No slot information read yet. Slot 0 Not read
            wait => talks; Font slots refreshed.; +RASVl; fonts Font slots refreshed. Slot 0 Empty
            shrink glyphEditor => fonts (small) Font slots refreshed. Slot 0 Empty
            fonts => fonts Font slots refreshed. Slot 0 Empty
            renew glyphEditor => talks
            images => talks; Image slots refreshed.; images Image slots refreshed. 001 Logo
            settings => talks; Pivex settings loaded.; settings Pivex settings loaded.
            connectButton => Disconnected.; Not Connected; +p-RASVl; fonts Disconnected. Slot
                contents not read. Slot 0 Not read; images Disconnected. Image slots not read. 001
                [NOT READ]; settings Disconnected. Settings must be read again.
            connect => talks; Pivex settings loaded.; Connected: Pivex PCB simulator; +RASl-p; fonts
                Font slots refreshed. Slot 0 Empty; images Image slots refreshed. 001 Logo; settings
                Pivex settings loaded.
            sendButton => talks; Send complete: Sent (32 code bytes). All packets acknowledged. Not
                permanently saved; not run.; +V
            press editCanvas loadBoardButton => talks; Image loaded from PCB. Save As to keep a
                local copy.; -V; images Image loaded from PCB. Save As to keep a local copy. 001
                Logo
            late =>
            start press fontBox auxBox => -RASl; settings Updating Pivex settings…
            start connectButton | No => ? Storage operation in progress: Earlier saves remain and
                the last write may complete even if you disconnect or close. Inspect the PCB list
                before retrying. Interrupt this operation? [No]
        )");
    }

    void finishesWhatAClosedWindowBegan() {
        Scene().play(R"(
            start fonts => -RASl; fonts No slot information read yet. Slot 0 Not read
            end glyphEditor => talks; Font slots refreshed.; +RASl; no fonts
            start images => -RASl; images No image slots read yet. 001 [NOT READ]
            end editCanvas => talks; Image slots refreshed.; +RASl; no images
            start settings => -RASl; settings Connect to Pivex to load settings.
            end fontBox => talks; Pivex settings loaded.; +RASl; no settings
        )");
    }

    void closesTheToolWindowsFirst() {
        Scene().play(R"(
            fonts => talks; Font slots refreshed.; fonts Font slots refreshed. Slot 0 Empty
            images => talks; Image slots refreshed.; images Image slots refreshed. 001 Logo
            press editCanvas newButton | Return => ? New Image
            close | Cancel => stays; ? Unsaved image: Save image changes before continuing?
                [Cancel]
            close | Discard => closes; ? Unsaved image [Cancel]; no fonts; no images
        )");
    }
};

QTEST_MAIN(ChipWindowToolsTest)
#include "ChipWindowToolsTest.moc"
