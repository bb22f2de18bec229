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
            QVERIFY(bench.window.save(false) && bench.window.loadPath(path));
            QVERIFY(bench.window.document() == chip);
            const bool listed = count == 16;
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
        QCOMPARE(bench.files.item(0)->text(), u"<i>one\uFFFD.chip"_s);
        QCOMPARE(bench.files.item(0)->data(Qt::UserRole).toString(), first);
        QVERIFY(bench.files.item(0)->toolTip().contains(u"&lt;i&gt;one"_s));
        QCOMPARE(bench.files.item(1)->toolTip(), second);
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
            QVERIFY(!bench.window.loadPath(path));
            QCOMPARE(bench.lastBox().title, u"PivexGUI"_s);
        }
        QCOMPARE(bench.dialogs.seen.size(), 3);
        QCOMPARE(bench.lastBox().format, Qt::PlainText);
        QVERIFY(bench.lastBox().text.contains(u"<b>x</b>"_s));
        QCOMPARE(bench.name.text(), u"kept"_s);
    }

    void asksBeforeItDiscards_data() {
        QTest::addColumn<bool>("goesOn");
        QTest::newRow("Escape") << false;
        QTest::newRow("Discard") << true;
        QTest::newRow("Save") << true;
    }

    void asksBeforeItDiscards() {
        QFETCH(const bool, goesOn);
        const QString answer = QString::fromUtf8(QTest::currentDataTag());
        ChipWindowBench bench;
        const QString path = bench.file(u"current.chip"_s, "old");
        const QString other = bench.file(u"other.chip"_s, encodeChip(sample()));
        const auto edit = [&] {
            bench.window.populate(sample(), path);
            bench.name.setText(u"edited"_s);
            // Without a button of this name the box is left as by Escape.
            bench.dialogs.answer(answer);
        };
        edit();
        QCOMPARE(bench.window.loadPath(other), goesOn);
        QCOMPARE(bench.name.text() != u"edited"_s, goesOn);
        edit();
        bench.click("newFileButton");
        QCOMPARE(bench.name.text().isEmpty(), goesOn);
        QCOMPARE(bench.content(path) != "old", answer == u"Save"_s);
        edit();
        bench.window.show();
        QCOMPARE(bench.window.close(), goesOn);
        QCOMPARE(bench.window.isVisible(), !goesOn);
        QCOMPARE(bench.dialogs.seen.size(), 3);
        QCOMPARE(bench.lastBox().title, u"Unsaved chip"_s);
    }

    void savesUnderANewName() {
        ChipWindowBench bench;
        bench.window.populate(sample(), {});
        bench.name.setText(u"edited"_s);
        bench.dialogs.answer(Qt::Key_Escape);
        QVERIFY(!bench.window.save(false));
        bench.dialogs.chooseFile(bench.path(u"typed"_s));
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
        const QString path = bench.file(u"kept.chip"_s, "old");
        bench.window.populate(sample(), path);
        bench.name.setText(u"edited"_s);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit none{0, before.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &none);
        const bool saved = bench.window.save(false);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        QVERIFY(!saved && !bench.lastBox().text.isEmpty());
        QCOMPARE(bench.content(path), "old");
        QCOMPARE(QDir(bench.folder.path()).entryList(QDir::Files).size(), 1);
        QVERIFY(bench.window.windowTitle().endsWith(u" *"_s));
    }

    void compilesAndScans() {
        ChipWindowBench bench;
        const auto check = [&](const char* code, const QString& compiled, const QString& scanned,
                               int caretBlock) {
            ChipDocument chip;
            chip.code = code;
            bench.window.populate(chip, {});
            bench.click("compileButton");
            QCOMPARE(bench.output(), compiled);
            QCOMPARE(bench.code.textCursor().blockNumber(), caretBlock);
            bench.code.moveCursor(QTextCursor::Start);
            bench.click("scanButton");
            QCOMPARE(bench.output(), scanned);
            QCOMPARE(bench.code.textCursor().blockNumber(), 0);
        };
        check("// note\nGOSTRT\nENDTEST",
              u"Compile successful: 2 instructions, 32 bytes. Nothing sent to PCB."_s,
              u"No code errors found."_s, 0);
        // Instructions are counted, not lines.
        const QString unknown = u"Line 2: Unknown opcode '<B>'."_s;
        check("\n\nGOSTRT\n\n<B>\nENDTEST\nFUNC f", unknown,
              unknown + u"\nLine 3: Unclosed FUNC block."_s, 4);
        check("GOSTRT\u2028ENDTEST\n<B>", unknown, unknown, 2);
        bench.click("clearOutputButton");
        QCOMPARE(bench.output(), QString());
    }

    void comesUpAsDesigned() {
        ChipWindowBench bench;
        QCOMPARE(bench.window.size(), QSize(1180, 820));
        // Two owners of one key would make both deaf.
        QMap<QKeySequence, QString> owners;
        for (const QAction* action : bench.window.findChildren<QAction*>()) {
            for (const QKeySequence& keys : action->shortcuts()) {
                QCOMPARE(std::exchange(owners[keys], action->text()), QString());
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
