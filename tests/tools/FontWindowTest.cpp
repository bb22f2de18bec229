#include "tools/FontWindow.h"

#include "support/Dialogs.h"
#include "tools/FontFiles.h"
#include "tools/SelfChecks.h"
#include "tools/SettingsWindow.h"

#include <QAccessible>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListView>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QtTest>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

FontDocument font(int width, int height, int glyphs, const char* name = "Sample <b>") {
    FontDocument made{.name = name, .width = width, .height = height, .columns = {}};
    made.columns.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(glyphs), 1);
    return made;
}

/// Slot 0 unread, slot 1 empty, slots 3 and 4 with fonts of one name.
FontSlots mixedSlots() {
    FontSlots made;
    made[1].read = true;
    made[3] = made[4] = {.read = true, .name = "<i>Old</i> %1"};
    return made;
}

/// The window over a board that only remembers what it was asked.
struct Bench {
    ~Bench() { delete window; }

    QString label(const char* name) const { return child<QLabel>(*window, name).text(); }

    QPlainTextEdit& pane() const { return child<QPlainTextEdit>(*window, "textPane"); }

    std::string text() const { return pane().toPlainText().toStdString(); }

    QListWidget& slotList() const { return child<QListWidget>(*window, "slotList"); }

    bool isEnabled(const char* name) const { return child<QWidget>(*window, name).isEnabled(); }

    bool isDirty() const { return window->windowTitle() == u"Font Manager *"_s; }

    void press(const char* name) const { child(*window, name).click(); }

    void update(const FontSlots& fontSlots, const QString& message = {}) const {
        updateLinuxFontWindow(window, fontSlots, message);
    }

    /// Opens a font and selects slot `slot` of a board that is ready.
    void prepare(const FontDocument& contents, int slot) {
        open(contents);
        ready = true;
        slotList().setCurrentRow(slot);
        update(mixedSlots());
    }

    /// Writes `contents` to a file and opens it.
    QString open(const FontDocument& contents) {
        QString path = folder.filePath(u"Ωmega %1.txt"_s.arg(++files));
        writeFontFile(path, contents);
        openPath(path);
        return path;
    }

    /// Opens a file, with `answer` to the question that comes when there are unsaved changes.
    void openPath(const QString& path, std::optional<QMessageBox::StandardButton> answer = {}) {
        dialogs.chooseFile(path);
        if (answer) {
            dialogs.answer(*answer);
        }
        press("openButton");
    }

    /// Clicks the middle of pixel (column, row) of an 8 x 8 font.
    void clickPixel(int column, int row) const {
        auto& canvas = child<QWidget>(*window, "glyphEditor");
        const int cell = std::min({32, (canvas.width() - 24) / 8, (canvas.height() - 48) / 8});
        const QPoint origin((canvas.width() - 8 * cell) / 2, (canvas.height() - 8 * cell) / 2);
        QTest::mouseClick(&canvas, Qt::LeftButton, {},
                          origin + QPoint(column, row) * cell + QPoint(cell / 2, cell / 2));
    }

    void selectGlyph(int glyph) const {
        auto& list = child<QListView>(*window, "glyphList");
        list.setCurrentIndex(list.model()->index(glyph, 0));
    }

    QTemporaryDir folder;
    Dialogs dialogs;
    bool ready = false;
    int refreshes = 0;
    int files = 0;
    QList<std::vector<FontPacket>> written;
    QPointer<QWidget> window =
        openLinuxFontWindow(nullptr,
                            {.ready = [this] { return ready; },
                             .refresh = [this] { ++refreshes; },
                             .write = [this](auto plan) { written << plan; }},
                            {});
};

} // namespace

class FontWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void saysWhatIsOpen() {
        Bench bench;
        const auto texts = [&bench] {
            return QStringList{bench.window->windowTitle(), bench.label("fontNameLabel"),
                               bench.label("glyphLabel"), bench.label("informationLabel")};
        };
        QCOMPARE(texts(),
                 (QStringList{u"Font Manager"_s, u"No font file loaded"_s, u"Glyph 0   ASCII 32"_s,
                              u"Name: —\nWidth: — pixels\nHeight: — pixels\nGlyphs: —\n"
                              "Columns per glyph: —\nDeclared size: —\nLoaded columns: —"_s}));
        QCOMPARE(bench.label("statusLabel"), u"No slot information read yet."_s);
        QCOMPARE(bench.text(), "No font file loaded.");
        const auto& glyphs = child<QListView>(*bench.window, "glyphList");
        QCOMPARE(glyphs.model()->rowCount(), 95);
        bench.open(font(5, 7, 97));
        QString captions;
        for (const int row : {0, 1, 94, 95}) {
            captions += glyphs.model()->index(row, 0).data().toString();
        }
        QCOMPARE(captions, u"SP!~95"_s);
        bench.selectGlyph(96);
        QCOMPARE(texts(),
                 (QStringList{u"Font Manager"_s, u"Sample <b>"_s, u"Glyph 96   ASCII 128"_s,
                              u"Name: Sample <b>\nWidth: 5 pixels\nHeight: 7 pixels\n"
                              "Glyphs: 97\nColumns per glyph: 5\nDeclared size: 485\n"
                              "Loaded columns: 485"_s}));
        bench.open(font(5, 7, 3));
        QCOMPARE(texts()[2], u"Glyph 0   ASCII 32"_s);
        QCOMPARE(glyphs.currentIndex().row(), 0);
    }

    void makesANewFont() {
        Bench bench;
        bench.dialogs.answer([](QWidget* dialog) {
            child<QLineEdit>(*dialog, "nameEdit").setText(u" \t "_s);
            auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
            QMetaObject::invokeMethod(ok, "click", Qt::QueuedConnection);
        });
        bench.dialogs.answer(QMessageBox::Ok);
        bench.dialogs.answer(u"OK"_s, [] {
            QWidget& dialog = *QApplication::activeModalWidget();
            child<QLineEdit>(dialog, "nameEdit").setText(u" Größe\nzwei "_s);
            child<QSpinBox>(dialog, "widthBox").setValue(3);
            child<QSpinBox>(dialog, "glyphsBox").setValue(1000);
        });
        bench.press("newButton");
        QCOMPARE(bench.dialogs.seen.size(), 3);
        QCOMPARE(bench.dialogs.seen[1].text, u"Enter a font name."_s);
        FontDocument made = font(3, 8, 224, "Größe zwei");
        made.columns.assign(made.columns.size(), 0);
        QCOMPARE(bench.text(), made.text());
        QVERIFY(bench.isDirty());
    }

    void editsByClicks() {
        Bench bench;
        FontDocument drawn = font(8, 8, 95);
        const QString path = bench.open(drawn);
        bench.selectGlyph(33);
        const QPlainTextEdit& pane = bench.pane();
        bench.window->resize(600, 700); // narrow enough for a line to be scrolled sideways
        QCoreApplication::processEvents();
        pane.verticalScrollBar()->setValue(100);
        pane.horizontalScrollBar()->setValue(40);
        bench.clickPixel(2, 0);
        bench.clickPixel(7, 7);
        drawn.columns[33 * 8 + 2] = 0x81;
        drawn.columns[33 * 8 + 7] = 0;
        QCOMPARE(bench.text(), drawn.text());
        QCoreApplication::processEvents();
        QCOMPARE(pane.verticalScrollBar()->value(), 100);
        QCOMPARE(pane.horizontalScrollBar()->value(), 40);
        QVERIFY(bench.isDirty() && !pane.document()->isUndoAvailable());
        bench.openPath(path, QMessageBox::Discard);
        QCOMPARE(bench.text(), font(8, 8, 95).text());
        QCOMPARE(pane.verticalScrollBar()->value(), 0);
    }

    void savesAndOpens() {
        Bench bench;
        const QString path = bench.open(font(8, 8, 1, "Ωmega"));
        const QString copy = bench.folder.filePath(u"copy.txt"_s);
        const auto saveAs = [&bench](const QString& target) {
            bench.dialogs.answer([target](QWidget* dialog) {
                // The name field alone would leave the file with which the dialog began.
                qobject_cast<QFileDialog*>(dialog)->selectFile(target);
                QMetaObject::invokeMethod(dialog, "accept");
            });
            bench.press("saveAsButton");
        };
        bench.clickPixel(0, 0);
        bench.press("saveButton");
        QCOMPARE(readFontFile(path).columns[0], 0x81);
        QVERIFY(!bench.isDirty());
        saveAs(copy.chopped(4));
        QCOMPARE(readFontFile(copy), readFontFile(path));
        bench.clickPixel(1, 1);
        saveAs(bench.folder.filePath(u"missing/copy.txt"_s));
        QCOMPARE(bench.dialogs.seen.last().title, u"Font Manager"_s);
        QVERIFY(!bench.dialogs.seen.last().text.isEmpty() && bench.isDirty());
        // Saving into the very file that is being opened opens what was saved.
        bench.openPath(copy, QMessageBox::Save);
        QCOMPARE(readFontFile(copy).columns[1], 0x41);
        QCOMPARE(readFontFile(path).columns[1], 1);
        QCOMPARE(bench.text(), readFontFile(copy).text());
    }

    void refusesBadFiles() {
        const QList<std::pair<QByteArray, QString>> files{
            {"Hello", u"Missing font name, width, height, size, or [data]."_s},
            {"name=\xff", u"Font file is not valid UTF-8."_s},
            {QByteArray(4'000'001, '\n'), u"Font file is too large (maximum 4 MB)."_s}};
        Bench bench;
        bench.open(font(8, 8, 2));
        bench.clickPixel(0, 0);
        const std::string before = bench.text();
        for (const auto& [contents, message] : files) {
            QFile file(bench.folder.filePath(u"bad.txt"_s));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
            file.close();
            bench.dialogs.forget();
            bench.openPath(file.fileName());
            // The file is judged first: one that cannot be opened raises no question.
            QCOMPARE(bench.dialogs.seen.size(), 2);
            QCOMPARE(bench.dialogs.seen.last().title, u"Font Manager"_s);
            QCOMPARE(bench.dialogs.seen.last().text, message);
            QVERIFY(bench.text() == before && bench.isDirty());
        }
    }

    void asksAboutUnsavedChanges() {
        using enum QMessageBox::StandardButton;
        for (const auto& [answer, canSave] :
             {std::pair(Cancel, true), {Discard, true}, {Save, true}, {Save, false}}) {
            const bool closes = canSave && answer != Cancel;
            Bench bench;
            const QString path = bench.open(font(8, 8, 1));
            bench.clickPixel(0, 0);
            if (!canSave) {
                QVERIFY(bench.folder.remove());
            }
            bench.dialogs.answer(answer);
            QCOMPARE(bench.window->close(), closes);
            const SeenDialog& question = bench.dialogs.seen[1];
            QCOMPARE(question.title, u"Unsaved font"_s);
            QCOMPARE(question.text, u"Save your font changes before continuing?"_s);
            QCOMPARE(question.defaultButton, u"Cancel"_s);
            QCOMPARE(bench.dialogs.seen.size(), canSave ? 2 : 3);
            QVERIFY(!canSave || (readFontFile(path).columns[0] == 0x81) == (answer == Save));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(bench.window.isNull(), closes);
        }
    }

    void enablesWhatTheStateAllows_data() {
        QTest::addColumn<bool>("ready");
        QTest::addColumn<bool>("hasFont");
        QTest::addColumn<int>("slot");
        QTest::addColumn<QByteArray>("enabled"); // initials of Refresh, Save to Pivex, Delete
        QTest::newRow("no board") << false << true << 3 << QByteArray("---");
        QTest::newRow("unread slot") << true << true << 0 << QByteArray("R--");
        QTest::newRow("empty slot") << true << true << 1 << QByteArray("RS-");
        QTest::newRow("slot with a font") << true << true << 3 << QByteArray("RSD");
        QTest::newRow("no font open") << true << false << 3 << QByteArray("R-D");
    }

    void enablesWhatTheStateAllows() {
        QFETCH(bool, ready);
        QFETCH(bool, hasFont);
        QFETCH(int, slot);
        Bench bench;
        if (hasFont) {
            bench.open(font(8, 8, 1));
        }
        bench.ready = ready;
        bench.update(mixedSlots());
        bench.slotList().setCurrentRow(slot);
        QByteArray enabled;
        for (const char* name : {"RefreshButton", "SaveBoardButton", "DeleteButton"}) {
            const QByteArray button = QByteArray(name, 1).toLower() + (name + 1);
            enabled += bench.isEnabled(button) ? *name : '-';
        }
        QTEST(enabled, "enabled");
        for (const char* name : {"saveButton", "saveAsButton", "glyphList"}) {
            QCOMPARE(bench.isEnabled(name), hasFont);
        }
        bench.press("refreshButton");
        QCOMPARE(bench.refreshes, ready ? 1 : 0);
    }

    void asksBeforeTheBoardChanges() {
        const FontDocument shown = font(8, 8, 95);
        for (const bool isSaving : {true, false}) {
            Bench bench;
            bench.prepare(shown, isSaving ? 1 : 3);
            // The default button, the way out and at last the consent.
            bench.dialogs.answer(Qt::Key_Return);
            bench.dialogs.answer(Qt::Key_Escape);
            bench.dialogs.answer(QMessageBox::Yes, [&] { QVERIFY(bench.written.isEmpty()); });
            for (int time = 0; time < 3; ++time) {
                bench.press(isSaving ? "saveBoardButton" : "deleteButton");
            }
            const SeenDialog& box = bench.dialogs.seen.last();
            QCOMPARE(box.title, isSaving ? u"Save Font to Pivex"_s : u"Delete Font"_s);
            QCOMPARE(
                box.text,
                (isSaving ? u"Save the current font in PCB slot 1?\n\nCurrent slot: Empty\n"_s
                          : u"Delete the font in PCB slot 3?\n\n"
                            "Current slot: <i>Old</i> %1\n"_s) +
                    u"This permanently changes PCB storage. Local font files are unchanged."_s);
            QCOMPARE(box.format, Qt::PlainText);
            QCOMPARE(bench.written, {isSaving ? fontUploadPlan(shown, 1) : fontDeletionPlan(3)});
            QCOMPARE(bench.label("statusLabel"), isSaving ? u"Saving font to selected slot…"_s
                                                          : u"Deleting font from selected slot…"_s);
        }
    }

    void looksAgainAfterTheQuestion() {
        FontSlots renamed = mixedSlots();
        renamed[3].name = "New";
        const std::function<void(Bench&)> events[] = {
            [](Bench& bench) { bench.ready = false; },
            [](Bench& bench) { bench.slotList().setCurrentRow(4); },
            [](Bench& bench) { bench.update({}); }, [&](Bench& bench) { bench.update(renamed); }};
        for (const auto& event : events) {
            for (const char* button : {"saveBoardButton", "deleteButton"}) {
                Bench bench;
                bench.prepare(font(8, 8, 1), 3);
                bench.dialogs.answer(QMessageBox::Yes, [&] { event(bench); });
                bench.press(button);
                QCOMPARE(bench.dialogs.seen.size(), 2);
                QVERIFY(bench.written.isEmpty());
            }
        }
    }

    void refusesAnUnfitFont() {
        Bench bench;
        bench.prepare(font(1, 1, 256), 1);
        bench.press("saveBoardButton");
        QCOMPARE(bench.dialogs.seen.size(), 2);
        QCOMPARE(bench.dialogs.seen.last().title, u"Font Manager"_s);
        QCOMPARE(bench.dialogs.seen.last().text, u"Font dimensions or slot exceed PCB limits."_s);
        QVERIFY(bench.written.isEmpty());
    }

    void followsTheSlots() {
        Bench bench;
        bench.prepare(font(8, 8, 1), 3);
        QStringList rows;
        for (int row = 0; row < 4; ++row) {
            rows += bench.slotList().item(row)->text();
        }
        QCOMPARE(rows.join(u'|'),
                 u"Slot 0\nNot read|Slot 1\nEmpty|Slot 2\nNot read|Slot 3\n<i>Old</i> %1"_s);
        bench.clickPixel(0, 0);
        const std::string text = bench.text();
        bench.update({}, u"Disconnected. Slot contents not read."_s);
        QCOMPARE(bench.slotList().item(3)->text(), u"Slot 3\nNot read"_s);
        QCOMPARE(bench.slotList().currentRow(), 3);
        QCOMPARE(bench.label("statusLabel"), u"Disconnected. Slot contents not read."_s);
        QVERIFY(!bench.isEnabled("saveBoardButton") && !bench.isEnabled("deleteButton"));
        QVERIFY(bench.text() == text && bench.isDirty());
    }

    void namesEveryControl() {
        const Bench bench;
        const std::unique_ptr<QWidget> settings(openLinuxSettingsWindow(nullptr, {}, mixedSlots()));
        for (const QWidget* window : {bench.window.data(), settings.get()}) {
            for (QWidget* control : window->findChildren<QWidget*>()) {
                const auto* read = QAccessible::queryAccessibleInterface(control);
                QVERIFY2(control->focusPolicy() == Qt::NoFocus || control->window() != window ||
                             !read->text(QAccessible::Name).isEmpty(),
                         control->metaObject()->className());
            }
        }
    }

    void passesItsSelfCheck() {
        QVERIFY(linuxFontSmoke());
        QVERIFY(linuxSettingsSmoke());
    }
};

QTEST_MAIN(FontWindowTest)
#include "FontWindowTest.moc"
