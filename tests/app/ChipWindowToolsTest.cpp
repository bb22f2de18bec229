#include "ChipWindowBench.h"
#include "app/StartupOptions.h"

#include <QCheckBox>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The open tool window that holds a child of this name; null when it is not open.
QWidget* toolWindow(const ChipWindowBench& bench, const char* child) {
    for (const QWidget* widget : bench.window.findChildren<QWidget*>(QLatin1StringView(child))) {
        if (widget->window() != &bench.window && widget->window()->isVisible()) {
            return widget->window();
        }
    }
    return nullptr;
}

QWidget* fontWindow(const ChipWindowBench& bench) {
    return toolWindow(bench, "glyphEditor");
}

QWidget* imageWindow(const ChipWindowBench& bench) {
    return toolWindow(bench, "editCanvas");
}

QWidget* settingsWindow(const ChipWindowBench& bench) {
    return toolWindow(bench, "fontBox");
}

/// Whether a label of `window` reads `text`.
bool shows(const QWidget* window, const QString& text) {
    return std::ranges::any_of(window->findChildren<QLabel*>(),
                               [&](const QLabel* label) { return label->text() == text; });
}

/// The commands that the board received, repetitions counted once.
std::vector<Command> commands(const BoardServer& board) {
    std::vector<Command> seen;
    for (const BoardRequest& request : board.requests()) {
        if (seen.empty() || seen.back() != request.command) {
            seen.push_back(request.command);
        }
    }
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
        BoardServer board;
        ChipWindowBench bench;
        bench.window.show();
        carryOut({.port = QString::fromStdString(board.path()),
                  .fonts = true,
                  .images = true,
                  .settings = true},
                 bench.window);
        QVERIFY(fontWindow(bench) && imageWindow(bench) && settingsWindow(bench));
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
        BoardServer board;
        ChipWindowBench bench;
        QVERIFY(bench.connectTo(board));
        bench.window.openFonts();
        QVERIFY(!bench.enabled("sendButton"));
        QVERIFY(bench.idle());
        board.clearRequests();
        const QPointer<QWidget> first = fontWindow(bench);
        first->showMinimized();
        bench.window.openFonts();
        QCOMPARE(fontWindow(bench), first.data());
        QVERIFY(!first->isMinimized());
        first->close();
        bench.window.openFonts();
        QVERIFY(fontWindow(bench) != nullptr && fontWindow(bench) != first);
        QVERIFY(bench.idle());
        QCOMPARE(board.requests().size(), 6);
    }

    void waitsForTheRunningOperation() {
        BoardServer board;
        ChipWindowBench bench;
        QVERIFY(bench.connectTo(board));
        board.clearRequests();
        board.withModel([](BoardModel& model) {
            model.addFault({.kind = FaultKind::Late, .delay = std::chrono::milliseconds(50)});
        });
        bench.click("refreshButton");
        bench.window.openSettings();
        bench.window.openImages();
        using enum Command;
        const std::vector<Command> all{ChipCount, ImageName, Settings, FontSlotRead};
        QTRY_COMPARE_WITH_TIMEOUT(commands(board), all, 20'000);
        QVERIFY(bench.idle());
    }

    void tellsTheWindowsThatTheLinkIsGone_data() {
        QTest::addColumn<bool>("failure");
        QTest::newRow("disconnect") << false;
        QTest::newRow("failure") << true;
    }

    void tellsTheWindowsThatTheLinkIsGone() {
        QFETCH(const bool, failure);
        BoardServer board(boardWithAnImage());
        ChipWindowBench bench;
        QVERIFY(bench.connectTo(board));
        carryOut({.fonts = true, .images = true, .settings = true}, bench.window);
        QVERIFY(bench.reports(u"Pivex settings loaded."_s));
        auto& slots = child<QListWidget>(*imageWindow(bench), "slotList");
        const QString read = slots.item(0)->text();
        QVERIFY2(read.contains(u"Logo"_s), qPrintable(read));
        if (failure) {
            board.withModel([](BoardModel& model) { model.addFault({.kind = FaultKind::HangUp}); });
            bench.click("refreshButton");
            QVERIFY(bench.unlinked());
        } else {
            bench.click("connectButton");
        }
        const QString reason = bench.output();
        QVERIFY(
            shows(imageWindow(bench), failure ? reason : u"Disconnected. Image slots not read."_s));
        QVERIFY(shows(fontWindow(bench),
                      failure ? reason : u"Disconnected. Slot contents not read."_s));
        QVERIFY(shows(settingsWindow(bench),
                      failure ? reason : u"Disconnected. Settings must be read again."_s));
        QVERIFY(!slots.item(0)->text().contains(u"Logo"_s));
        BoardServer next(boardWithAnImage());
        QVERIFY(bench.connectTo(next));
        QVERIFY(bench.reports(u"Pivex settings loaded."_s));
        QCOMPARE(slots.item(0)->text(), read);
    }

    void asksBeforeItStopsASettingsWrite() {
        BoardServer board;
        ChipWindowBench bench;
        QVERIFY(bench.connectTo(board));
        board.withModel([](BoardModel& model) {
            model.addFault({.command = Command::Settings,
                            .packet = 2,
                            .kind = FaultKind::Late,
                            .delay = std::chrono::seconds(20)});
        });
        bench.window.openSettings();
        QVERIFY(bench.idle());
        child(*settingsWindow(bench), "auxBox").click();
        bench.dialogs.answer(QMessageBox::Yes);
        bench.click("connectButton");
        QCOMPARE(bench.dialogs.seen.value(0).title, u"Storage operation in progress"_s);
        QVERIFY(bench.output().startsWith(u"Storage operation interrupted."_s));
    }

    void keepsASentTestSavableThroughReads() {
        BoardServer board(boardWithAnImage());
        ChipWindowBench bench;
        QVERIFY(bench.connectTo(board));
        bench.name.setText(u"Sent"_s);
        bench.code.setPlainText(u"ENDTEST"_s);
        bench.click("sendButton");
        QVERIFY(bench.idle());
        bench.window.openSettings();
        QVERIFY(bench.idle());
        bench.window.openImages();
        QVERIFY(bench.idle());
        QVERIFY(bench.enabled("saveButton"));
        child(*imageWindow(bench), "loadBoardButton").click();
        QVERIFY(bench.idle());
        QVERIFY(!bench.enabled("saveButton"));
        QVERIFY(
            shows(imageWindow(bench), u"Image loaded from PCB. Save As to keep a local copy."_s));
    }

    void finishesAnOperationWhoseWindowWasClosed() {
        BoardServer board;
        ChipWindowBench bench;
        QVERIFY(bench.connectTo(board));
        for (const auto open :
             {&ChipWindow::openFonts, &ChipWindow::openImages, &ChipWindow::openSettings}) {
            (bench.window.*open)();
            for (QWidget* window : {fontWindow(bench), imageWindow(bench), settingsWindow(bench)}) {
                if (window != nullptr) {
                    window->close();
                }
            }
            QVERIFY(bench.idle());
        }
    }

    void closesTheToolWindowsFirst() {
        ChipWindowBench bench;
        bench.window.show();
        carryOut({.fonts = true, .images = true}, bench.window);
        bench.dialogs.answer(Qt::Key_Return);
        child(*imageWindow(bench), "newButton").click();
        bench.dialogs.answer(QMessageBox::Cancel);
        QVERIFY(!bench.window.close());
        QVERIFY(fontWindow(bench) == nullptr && imageWindow(bench) != nullptr);
        QCOMPARE(bench.dialogs.seen.size(), 2);
        bench.dialogs.answer(QMessageBox::Discard);
        QVERIFY(bench.window.close());
        QVERIFY(imageWindow(bench) == nullptr);
    }
};

QTEST_MAIN(ChipWindowToolsTest)
#include "ChipWindowToolsTest.moc"
