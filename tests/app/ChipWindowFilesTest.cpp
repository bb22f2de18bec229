#include "ChipWindowBench.h"
#include "model/ChipFileCodec.h"

#include <QTextBlock>

#include <csignal>

#include <sys/resource.h>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString untitled = u"PivexGUI — Linux chips"_s;

ChipDocument sample() {
    ChipDocument chip;
    chip.name = "Zähler 74193";
    chip.code = "SETPIN 1 1\n  // Ω\nENDTEST";
    chip.type = 4;
    chip.imageIndex = 2;
    chip.pins = 16;
    chip.strings = {"first", "", "third; = [code]", "", "", "", "", std::string(40000, 'x')};
    return chip;
}

/// No byte of a file reaches the disk while one of these lives.
class FullDisk {
public:
    FullDisk() : handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }

    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    void (*handler)(int);
    rlimit before{};
};

} // namespace

class ChipWindowFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void startsWithACleanDocument() {
        ChipWindowBench bench;
        bench.window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bench.window));
        // Whatever reports late would mark the document as edited by now.
        QCoreApplication::processEvents();
        ChipDocument fresh;
        fresh.code = "/* code starts here */\n";
        QVERIFY(bench.window.document() == fresh);
        QCOMPARE(bench.window.windowTitle(), untitled);
        bench.name.setText(u"x"_s);
        QCOMPARE(bench.window.windowTitle(), untitled + u" *"_s);
    }

    void roundTripsADocument() {
        ChipWindowBench bench;
        auto& pins = child<QComboBox>(bench.window, "pinsBox");
        const QString path = bench.path(u"a%2b[*].chip"_s);
        for (const int count : {16, 7, -3, 7}) {
            ChipDocument chip = sample();
            chip.pins = count;
            bench.window.populate(chip, path);
            QVERIFY(bench.window.save(false));
            QVERIFY(bench.window.loadPath(path));
            QVERIFY(bench.window.document() == chip);
            const bool listed = count > 0 && count % 2 == 0;
            QCOMPARE(pins.count(), static_cast<int>(pinOptions.size()) + (listed ? 0 : 1));
            QCOMPARE(pins.itemText(0), listed ? u"2"_s : u"Unlisted (%1)"_s.arg(count));
        }
        QVERIFY(bench.window.windowTitle().startsWith(untitled + u" — a%2b[*]"_s));
        QVERIFY(bench.dialogs.seen.isEmpty());
    }

    void listsEachFileOnceAndAsItIsNamed() {
        ChipWindowBench bench;
        const QString first = bench.path(u"<i>one\n.chip"_s);
        const QString second = bench.path(u"two.chip"_s);
        bench.window.addPaths({first, QDir().relativeFilePath(second)});
        bench.window.addPaths({second, first});
        QCOMPARE(bench.files.count(), 2);
        QCOMPARE(bench.files.item(0)->text(), u"<i>one\uFFFD.chip"_s);
        QCOMPARE(bench.files.item(0)->data(Qt::UserRole).toString(), first);
        QVERIFY(bench.files.item(0)->toolTip().contains(u"&lt;i&gt;one"_s));
        QCOMPARE(bench.files.item(1)->toolTip(), second);
        QCOMPARE(bench.files.currentRow(), -1);
        bench.click("loadButton");
        bench.click("removeButton");
        QCOMPARE(bench.files.count(), 2);
        bench.files.setCurrentRow(0);
        bench.click("removeButton");
        QCOMPARE(bench.files.item(0)->text(), u"two.chip"_s);
        bench.click("clearListButton");
        bench.dialogs.chooseFile(bench.file(u"chosen.chip"_s, "x"));
        bench.click("addFilesButton");
        QCOMPARE(bench.files.count(), 1);
        QCOMPARE(bench.files.item(0)->text(), u"chosen.chip"_s);
    }

    void reportsWhatCannotBeLoaded() {
        ChipWindowBench bench;
        bench.name.setText(u"kept"_s);
        const QString markup = bench.file(u"b.chip"_s, "[meta]\npins=<b>x</b>\n");
        for (const QString& path : {bench.path(u"missing.chip"_s), bench.path(u"."_s), markup}) {
            bench.dialogs.seen.clear();
            QVERIFY(!bench.window.loadPath(path));
            QCOMPARE(bench.dialogs.seen.size(), 1);
            QCOMPARE(bench.lastBox().title, u"PivexGUI"_s);
            QCOMPARE(bench.lastBox().format, Qt::PlainText);
            QVERIFY(!bench.lastBox().text.isEmpty());
        }
        QVERIFY(bench.lastBox().text.contains(u"<b>x</b>"_s));
        QCOMPARE(bench.name.text(), u"kept"_s);
    }

    void asksBeforeItDiscards_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("answer");
        for (const char* operation : {"load", "new", "close"}) {
            for (const char* answer : {"Cancel", "Escape", "Discard", "Save"}) {
                QTest::addRow("%s, %s", operation, answer)
                    << QString::fromLatin1(operation) << QString::fromLatin1(answer);
            }
        }
    }

    void asksBeforeItDiscards() {
        QFETCH(const QString, operation);
        QFETCH(const QString, answer);
        const bool goesOn = answer == u"Discard"_s || answer == u"Save"_s;
        ChipWindowBench bench;
        const QString path = bench.path(u"current.chip"_s);
        bench.window.populate(sample(), path);
        QVERIFY(bench.window.save(false));
        const std::string before = bench.content(path);
        bench.window.show();
        bench.name.setText(u"edited"_s);
        if (answer == u"Escape"_s) {
            bench.dialogs.answer(Qt::Key_Escape);
        } else {
            bench.dialogs.answer(answer);
        }
        if (operation == u"load"_s) {
            QCOMPARE(bench.window.loadPath(bench.file(u"other.chip"_s, before)), goesOn);
        } else if (operation == u"new"_s) {
            bench.click("newFileButton");
        } else {
            QCOMPARE(bench.window.close(), goesOn);
            QCOMPARE(bench.window.isVisible(), !goesOn);
        }
        QCOMPARE(bench.dialogs.seen.size(), 1);
        QCOMPARE(bench.lastBox().title, u"Unsaved chip"_s);
        QCOMPARE(bench.content(path) != before, answer == u"Save"_s);
        QCOMPARE(bench.name.text() == u"edited"_s, !goesOn || operation == u"close"_s);
    }

    void savesUnderANewName() {
        ChipWindowBench bench;
        bench.window.populate(sample(), {});
        bench.dialogs.answer(Qt::Key_Escape);
        QVERIFY(!bench.window.save(false));
        QCOMPARE(bench.lastBox().title, u"Save chip"_s);
        bench.dialogs.chooseFile(bench.path(u"typed"_s));
        bench.name.setText(u"edited"_s);
        QVERIFY(bench.window.save(false));
        QCOMPARE(bench.window.windowTitle(), untitled + u" — typed.chip"_s);
        QCOMPARE(decodeChip(bench.content(bench.path(u"typed.chip"_s))).name, "edited");
        bench.dialogs.answer([](QWidget* dialog) {
            QCOMPARE(dialog->findChild<QLineEdit*>()->text(), u"typed.chip"_s);
            dialog->close();
        });
        bench.click("saveAsButton");
    }

    void keepsTheOldFileWhenTheDiskIsFull() {
        ChipWindowBench bench;
        const QString path = bench.path(u"kept.chip"_s);
        bench.window.populate(sample(), path);
        QVERIFY(bench.window.save(false));
        const std::string before = bench.content(path);
        bench.name.setText(u"edited"_s);
        {
            const FullDisk full;
            QVERIFY(!bench.window.save(false));
        }
        QCOMPARE(bench.dialogs.seen.size(), 1);
        QVERIFY(!bench.lastBox().text.isEmpty());
        QCOMPARE(bench.content(path), before);
        QCOMPARE(QDir(bench.folder.path()).entryList(QDir::Files).size(), 1);
        QVERIFY(bench.window.windowTitle().endsWith(u" *"_s));
    }

    void compilesAndScans_data() {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("compiled");
        QTest::addColumn<QString>("scanned");
        QTest::addColumn<int>("caretBlock");
        QTest::newRow("sound")
            << u"// note\nGOSTRT\nENDTEST"_s
            << u"Compile successful: 2 instructions, 32 bytes. Nothing sent to PCB."_s
            << u"No code errors found."_s << 0;
        const QString unknown = u"Line 2: Unknown opcode '<B>'."_s;
        QTest::newRow("instruction number, not line")
            << u"\n\nGOSTRT\n\n<B>\nENDTEST\nFUNC f"_s << unknown
            << unknown + u"\nLine 3: Unclosed FUNC block."_s << 4;
        QTest::newRow("line separator") << u"GOSTRT\u2028<B>\nENDTEST"_s << unknown << unknown << 1;
    }

    void compilesAndScans() {
        ChipWindowBench bench;
        QFETCH(const QString, code);
        ChipDocument chip;
        chip.code = code.toStdString();
        bench.window.populate(chip, {});
        bench.click("compileButton");
        QTEST(bench.output(), "compiled");
        QTEST(bench.code.textCursor().blockNumber(), "caretBlock");
        bench.code.moveCursor(QTextCursor::Start);
        bench.click("scanButton");
        QTEST(bench.output(), "scanned");
        QCOMPARE(bench.code.textCursor().blockNumber(), 0);
        bench.click("clearOutputButton");
        QCOMPARE(bench.output(), QString());
    }

    void comesUpAsDesigned() {
        ChipWindowBench bench;
        QCOMPARE(bench.window.size(), QSize(1180, 820));
        bench.window.show();
        bench.window.resize(1500, 1000);
        QCoreApplication::processEvents();
        QCOMPARE(bench.files.height(), 160);
        QCOMPARE(bench.stored.height(), 160);
        // Two owners of one key would make both deaf.
        QMap<QKeySequence, QString> owners;
        for (const QAction* action : bench.window.findChildren<QAction*>()) {
            for (const QKeySequence& keys : action->shortcuts()) {
                QVERIFY2(!owners.contains(keys), qPrintable(action->text()));
                owners[keys] = action->text();
            }
        }
        QCOMPARE(owners.value(Qt::Key_F7), u"Compile"_s);
        QCOMPARE(owners.value(QKeySequence::Save), u"Save"_s);
        for (const QAbstractButton* button : bench.window.findChildren<QAbstractButton*>()) {
            QVERIFY2(button->shortcut().isEmpty(), qPrintable(button->text()));
        }
    }
};

QTEST_MAIN(ChipWindowFilesTest)
#include "ChipWindowFilesTest.moc"
