#include "ChipWindowBench.h"
#include "app/StartupOptions.h"

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A child of each tool window that no other window has.
constexpr auto fonts = "glyphEditor";
constexpr auto images = "editCanvas";
constexpr auto settings = "fontBox";

/// The open tool window that holds a child of this name; null when it is not open.
QWidget* toolWindow(const ChipWindowBench& bench, const char* child) {
    for (const QWidget* widget : bench.window.findChildren<QWidget*>(QLatin1StringView(child))) {
        if (widget->window() != &bench.window && widget->window()->isVisible()) {
            return widget->window();
        }
    }
    return nullptr;
}

/// Whether a label of the tool window reads `text`.
bool shows(const ChipWindowBench& bench, const char* child, const QString& text) {
    return std::ranges::any_of(toolWindow(bench, child)->findChildren<QLabel*>(),
                               [&](const QLabel* label) { return label->text() == text; });
}

/// The commands that the board received, repetitions counted once.
std::vector<Command> commands(const BoardServer& board) {
    std::vector<Command> seen;
    std::ranges::transform(board.requests(), std::back_inserter(seen), &BoardRequest::command);
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    return seen;
}

BoardModel boardWithAnImage() {
    BoardModel model;
    model.storage.images[1] = {.name = "Logo", .width = 2, .height = 1, .rle = {2, 255, 255}};
    return model;
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
        QVERIFY(bench.enabled("sendButton"));
    }

    void raisesAWindowThatIsOpen() {
        ConnectedBench bench;
        bench.window.openFonts();
        QVERIFY(!bench.enabled("sendButton"));
        QVERIFY(bench.idle());
        bench.board.clearRequests();
        const QPointer<QWidget> first = toolWindow(bench, fonts);
        first->showMinimized();
        bench.window.openFonts();
        QCOMPARE(toolWindow(bench, fonts), first.data());
        QVERIFY(!first->isMinimized());
        first->close();
        bench.window.openFonts();
        QVERIFY(toolWindow(bench, fonts) != nullptr && toolWindow(bench, fonts) != first);
        QVERIFY(bench.idle());
        QCOMPARE(bench.board.requests().size(), 6);
    }

    void forgetsWhatTheLastBoardHeld() {
        ConnectedBench bench(boardWithAnImage());
        carryOut({.fonts = true, .images = true, .settings = true}, bench.window);
        QVERIFY(bench.reports(u"Pivex settings loaded."_s));
        auto& slots = child<QListWidget>(*toolWindow(bench, images), "slotList");
        const auto isRead = [&] { return slots.item(0)->text().contains(u"Logo"_s); };
        QVERIFY(isRead());
        bench.click("connectButton");
        QVERIFY(shows(bench, images, u"Disconnected. Image slots not read."_s));
        QVERIFY(shows(bench, fonts, u"Disconnected. Slot contents not read."_s));
        QVERIFY(shows(bench, settings, u"Disconnected. Settings must be read again."_s));
        QVERIFY(!isRead());
        QVERIFY(bench.connectTo(bench.board));
        QVERIFY(bench.reports(u"Pivex settings loaded."_s));
        QVERIFY(isRead());
    }

    void asksBeforeItStopsASettingsWrite() {
        ConnectedBench bench;
        bench.window.openSettings();
        QVERIFY(bench.idle());
        bench.spoil({.kind = FaultKind::Late, .delay = std::chrono::seconds(20)});
        child(*toolWindow(bench, settings), "auxBox").click();
        bench.click("connectButton", QMessageBox::Yes);
        QVERIFY(bench.output().startsWith(u"Storage operation interrupted."_s));
    }

    void keepsASentTestSavableThroughReads() {
        ConnectedBench bench(boardWithAnImage());
        bench.name.setText(u"Sent"_s);
        bench.code.setPlainText(u"ENDTEST"_s);
        QVERIFY(bench.runs("sendButton"));
        for (const auto open :
             {&ChipWindow::openFonts, &ChipWindow::openSettings, &ChipWindow::openImages}) {
            (bench.window.*open)();
            QVERIFY(bench.idle());
        }
        QVERIFY(bench.enabled("saveButton"));
        child(*toolWindow(bench, images), "loadBoardButton").click();
        QVERIFY(bench.idle());
        QVERIFY(!bench.enabled("saveButton"));
    }

    void finishesAnOperationWhoseWindowWasClosed() {
        ConnectedBench bench;
        for (const auto& [open, child] :
             {std::pair(&ChipWindow::openFonts, fonts), std::pair(&ChipWindow::openImages, images),
              std::pair(&ChipWindow::openSettings, settings)}) {
            (bench.window.*open)();
            toolWindow(bench, child)->close();
            QVERIFY(bench.idle());
        }
    }

    void closesTheToolWindowsFirst() {
        ChipWindowBench bench;
        bench.window.show();
        carryOut({.fonts = true, .images = true}, bench.window);
        bench.dialogs.answer(Qt::Key_Return);
        child(*toolWindow(bench, images), "newButton").click();
        bench.dialogs.answer(QMessageBox::Cancel);
        QVERIFY(!bench.window.close());
        QVERIFY(toolWindow(bench, fonts) == nullptr && toolWindow(bench, images) != nullptr);
        QCOMPARE(bench.dialogs.seen.size(), 2);
        bench.dialogs.answer(QMessageBox::Discard);
        QVERIFY(bench.window.close());
        QVERIFY(toolWindow(bench, images) == nullptr);
    }
};

QTEST_MAIN(ChipWindowToolsTest)
#include "ChipWindowToolsTest.moc"
