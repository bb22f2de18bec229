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
    const int columns = width * glyphs;
    made.columns.resize(static_cast<std::size_t>(columns), 1);
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
    Bench()
        : window(openLinuxFontWindow(nullptr,
                                     {.ready = [this] { return ready; },
                                      .refresh = [this] { ++refreshes; },
                                      .write = [this](auto plan) { written << plan; }},
                                     {})) {}

    ~Bench() { delete window; }

    QString label(const char* name) const { return child<QLabel>(*window, name).text(); }

    QString text() const { return child<QPlainTextEdit>(*window, "textPane").toPlainText(); }

    QListWidget& slotList() const { return child<QListWidget>(*window, "slotList"); }

    bool isEnabled(const char* name) const { return child<QWidget>(*window, name).isEnabled(); }

    void press(const char* name) const { child(*window, name).click(); }

    void choose(int slot, const FontSlots& fontSlots, bool isReady = true) {
        ready = isReady;
        slotList().setCurrentRow(slot);
        updateLinuxFontWindow(window, fontSlots, {});
    }

    /// Writes `contents` to a file and opens it.
    QString open(const FontDocument& contents) {
        QString path = folder.filePath(u"Ωmega %1.txt"_s.arg(++files));
        writeFontFile(path, contents);
        openPath(path);
        return path;
    }

    /// Opens a file with `answer` to the question about unsaved changes, if it comes.
    void openPath(const QString& path, QMessageBox::StandardButton answer = QMessageBox::Ok) {
        dialogs.chooseFile(path);
        if (answer != QMessageBox::Ok) {
            dialogs.answer(answer);
        }
        press("openButton");
    }

    void saveAs(const QString& name) {
        dialogs.answer([path = folder.filePath(name)](QWidget* dialog) {
            // The name field alone would leave the file selected with which the dialog began.
            qobject_cast<QFileDialog*>(dialog)->selectFile(path);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        press("saveAsButton");
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
    QPointer<QWidget> window;
};

} // namespace

class FontWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void saysWhatIsOpen();
    void makesANewFont();
    void editsByClicks();
    void savesAndOpens();
    void refusesBadFiles();
    void asksAboutUnsavedChanges_data();
    void asksAboutUnsavedChanges();
    void enablesWhatTheStateAllows_data();
    void enablesWhatTheStateAllows();
    void asksBeforeTheBoardChanges_data();
    void asksBeforeTheBoardChanges();
    void looksAgainAfterTheQuestion_data();
    void looksAgainAfterTheQuestion();
    void refusesAnUnfitFont();
    void followsTheSlots();
    void namesEveryControl();
    void passesItsSelfCheck();
};

void FontWindowTest::saysWhatIsOpen() {
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
    QCOMPARE(bench.text(), u"No font file loaded."_s);
    const auto& glyphs = child<QListView>(*bench.window, "glyphList");
    QCOMPARE(glyphs.model()->rowCount(), 95);
    bench.open(font(5, 7, 97));
    const QList<std::pair<int, QString>> captions{
        {0, u"SP"_s}, {1, u"!"_s}, {94, u"~"_s}, {95, u"95"_s}};
    for (const auto& [row, caption] : captions) {
        QCOMPARE(glyphs.model()->index(row, 0).data().toString(), caption);
    }
    bench.selectGlyph(96);
    QCOMPARE(texts(), (QStringList{u"Font Manager"_s, u"Sample <b>"_s, u"Glyph 96   ASCII 128"_s,
                                   u"Name: Sample <b>\nWidth: 5 pixels\nHeight: 7 pixels\n"
                                   "Glyphs: 97\nColumns per glyph: 5\nDeclared size: 485\n"
                                   "Loaded columns: 485"_s}));
    bench.open(font(5, 7, 3));
    QCOMPARE(texts()[2], u"Glyph 0   ASCII 32"_s);
    QCOMPARE(glyphs.currentIndex().row(), 0);
}

void FontWindowTest::makesANewFont() {
    Bench bench;
    bench.dialogs.answer([](QWidget* dialog) {
        child<QLineEdit>(*dialog, "nameEdit").setText(u" \t "_s);
        auto* box = dialog->findChild<QDialogButtonBox*>();
        QMetaObject::invokeMethod(box->button(QDialogButtonBox::Ok), "click", Qt::QueuedConnection);
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
    QCOMPARE(bench.text(), QString::fromStdString(made.text()));
    QCOMPARE(bench.window->windowTitle(), u"Font Manager *"_s);
}

void FontWindowTest::editsByClicks() {
    Bench bench;
    FontDocument drawn = font(8, 8, 95);
    const QString path = bench.open(drawn);
    bench.selectGlyph(33);
    auto& pane = child<QPlainTextEdit>(*bench.window, "textPane");
    bench.window->resize(600, 700); // narrow enough for a line to be scrolled sideways
    QCoreApplication::processEvents();
    pane.verticalScrollBar()->setValue(100);
    pane.horizontalScrollBar()->setValue(40);
    bench.clickPixel(2, 0);
    bench.clickPixel(7, 7);
    drawn.columns[33 * 8 + 2] = 0x81;
    drawn.columns[33 * 8 + 7] = 0;
    QCOMPARE(bench.text(), QString::fromStdString(drawn.text()));
    QCoreApplication::processEvents();
    QCOMPARE(pane.verticalScrollBar()->value(), 100);
    QCOMPARE(pane.horizontalScrollBar()->value(), 40);
    QCOMPARE(bench.window->windowTitle(), u"Font Manager *"_s);
    bench.clickPixel(7, 7);
    drawn.columns[33 * 8 + 7] = 1;
    QCOMPARE(bench.text(), QString::fromStdString(drawn.text()));
    QVERIFY(!pane.document()->isUndoAvailable());
    bench.openPath(path, QMessageBox::Discard);
    QCOMPARE(bench.text(), QString::fromStdString(font(8, 8, 95).text()));
    QCOMPARE(pane.verticalScrollBar()->value(), 0);
}

void FontWindowTest::savesAndOpens() {
    Bench bench;
    const QString path = bench.open(font(8, 8, 1, "Ωmega"));
    bench.clickPixel(0, 0);
    bench.press("saveButton");
    QCOMPARE(readFontFile(path).columns[0], 0x81);
    QCOMPARE(bench.window->windowTitle(), u"Font Manager"_s);
    bench.saveAs(u"copy"_s);
    QCOMPARE(readFontFile(bench.folder.filePath(u"copy.txt"_s)), readFontFile(path));
    bench.clickPixel(1, 1);
    bench.press("saveButton");
    QCOMPARE(readFontFile(path).columns[1], 1);
    bench.clickPixel(1, 1);
    bench.saveAs(u"missing/copy.txt"_s);
    QCOMPARE(bench.dialogs.seen.last().title, u"Font Manager"_s);
    QVERIFY(!bench.dialogs.seen.last().text.isEmpty());
    QCOMPARE(bench.window->windowTitle(), u"Font Manager *"_s);
    // Saving into the very file that is being opened opens what was saved.
    bench.openPath(bench.folder.filePath(u"copy.txt"_s), QMessageBox::Save);
    QCOMPARE(readFontFile(bench.folder.filePath(u"copy.txt"_s)).columns[1], 1);
    QVERIFY(bench.text().endsWith(u"0b10000001, 0b00000001, 0b00000001, 0b00000001, 0b00000001, "
                                  "0b00000001, 0b00000001, 0b00000001\n"_s));
}

void FontWindowTest::refusesBadFiles() {
    const QList<std::pair<QByteArray, QString>> files{
        {"Hello", u"Missing font name, width, height, size, or [data]."_s},
        {"name=\xff", u"Font file is not valid UTF-8."_s},
        {QByteArray(4'000'001, '\n'), u"Font file is too large (maximum 4 MB)."_s}};
    for (const auto& [contents, message] : files) {
        Bench bench;
        bench.open(font(8, 8, 2));
        bench.clickPixel(0, 0);
        const QString before = bench.text();
        QFile file(bench.folder.filePath(u"bad.txt"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
        file.close();
        bench.openPath(file.fileName());
        // The file is judged first: one that cannot be opened raises no question about changes.
        QCOMPARE(bench.dialogs.seen.size(), 3);
        QCOMPARE(bench.dialogs.seen.last().title, u"Font Manager"_s);
        QCOMPARE(bench.dialogs.seen.last().text, message);
        QCOMPARE(bench.text(), before);
        QCOMPARE(bench.window->windowTitle(), u"Font Manager *"_s);
    }
}

void FontWindowTest::asksAboutUnsavedChanges_data() {
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<bool>("canSave");
    QTest::newRow("cancel") << QMessageBox::Cancel << true;
    QTest::newRow("discard") << QMessageBox::Discard << true;
    QTest::newRow("save") << QMessageBox::Save << true;
    QTest::newRow("save fails") << QMessageBox::Save << false;
}

void FontWindowTest::asksAboutUnsavedChanges() {
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(bool, canSave);
    const bool closes = canSave && answer != QMessageBox::Cancel;
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
    if (canSave) {
        QCOMPARE(readFontFile(path).columns[0] == 0x81, answer == QMessageBox::Save);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(bench.window.isNull(), closes);
}

void FontWindowTest::enablesWhatTheStateAllows_data() {
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

void FontWindowTest::enablesWhatTheStateAllows() {
    QFETCH(bool, ready);
    QFETCH(bool, hasFont);
    QFETCH(int, slot);
    QFETCH(QByteArray, enabled);
    Bench bench;
    if (hasFont) {
        bench.open(font(8, 8, 1));
    }
    bench.choose(slot, mixedSlots(), ready);
    QByteArray look = "RSD";
    for (int at = 0; const char* name : {"refreshButton", "saveBoardButton", "deleteButton"}) {
        look[at] = bench.isEnabled(name) ? look[at] : '-';
        ++at;
    }
    QCOMPARE(look, enabled);
    for (const char* name : {"saveButton", "saveAsButton", "glyphList"}) {
        QCOMPARE(bench.isEnabled(name), hasFont);
    }
    bench.press("refreshButton");
    QCOMPARE(bench.refreshes, ready ? 1 : 0);
}

void FontWindowTest::asksBeforeTheBoardChanges_data() {
    QTest::addColumn<int>("slot");
    QTest::addColumn<bool>("isSaving");
    QTest::addColumn<Qt::Key>("key"); // Return takes the default button, Y means Yes
    QTest::newRow("default") << 1 << true << Qt::Key_Return;
    QTest::newRow("escape") << 3 << false << Qt::Key_Escape;
    QTest::newRow("save") << 1 << true << Qt::Key_Y;
    QTest::newRow("delete") << 3 << false << Qt::Key_Y;
}

void FontWindowTest::asksBeforeTheBoardChanges() {
    QFETCH(int, slot);
    QFETCH(bool, isSaving);
    QFETCH(Qt::Key, key);
    Bench bench;
    const FontDocument shown = font(8, 8, 95);
    bench.open(shown);
    bench.choose(slot, mixedSlots());
    if (key == Qt::Key_Y) {
        bench.dialogs.answer(QMessageBox::Yes);
    } else {
        bench.dialogs.answer(key);
    }
    bench.press(isSaving ? "saveBoardButton" : "deleteButton");
    const SeenDialog& box = bench.dialogs.seen.last();
    QCOMPARE(box.title, isSaving ? u"Save Font to Pivex"_s : u"Delete Font"_s);
    QCOMPARE(box.text,
             (isSaving ? u"Save the current font in PCB slot 1?\n\nCurrent slot: Empty\n"_s
                       : u"Delete the font in PCB slot 3?\n\nCurrent slot: <i>Old</i> %1\n"_s) +
                 u"This permanently changes PCB storage. Local font files are unchanged."_s);
    QCOMPARE(box.defaultButton, u"Cancel"_s);
    QCOMPARE(box.format, Qt::PlainText);
    QCOMPARE(bench.written.size(), key == Qt::Key_Y ? 1 : 0);
    if (key == Qt::Key_Y) {
        QCOMPARE(bench.written.first(),
                 isSaving ? fontUploadPlan(shown, slot) : fontDeletionPlan(slot));
        QCOMPARE(bench.label("statusLabel"), isSaving ? u"Saving font to selected slot…"_s
                                                      : u"Deleting font from selected slot…"_s);
    }
}

void FontWindowTest::looksAgainAfterTheQuestion_data() {
    using Event = std::function<void(Bench&)>;
    QTest::addColumn<Event>("event");
    const auto row = [](const char* name, const Event& event) { QTest::newRow(name) << event; };
    row("board busy", [](Bench& bench) { bench.ready = false; });
    row("other slot", [](Bench& bench) { bench.slotList().setCurrentRow(4); });
    row("slot unread", [](Bench& bench) { updateLinuxFontWindow(bench.window, {}, {}); });
    row("slot renamed", [](Bench& bench) {
        FontSlots changed = mixedSlots();
        changed[3].name = "New";
        updateLinuxFontWindow(bench.window, changed, {});
    });
}

void FontWindowTest::looksAgainAfterTheQuestion() {
    QFETCH(std::function<void(Bench&)>, event);
    for (const char* button : {"saveBoardButton", "deleteButton"}) {
        Bench bench;
        bench.open(font(8, 8, 1));
        bench.choose(3, mixedSlots());
        bench.dialogs.answer(QMessageBox::Yes, [&] { event(bench); });
        bench.press(button);
        QCOMPARE(bench.dialogs.seen.size(), 2);
        QVERIFY(bench.written.isEmpty());
    }
}

void FontWindowTest::refusesAnUnfitFont() {
    Bench bench;
    bench.open(font(1, 1, 256));
    bench.choose(1, mixedSlots());
    bench.press("saveBoardButton");
    QCOMPARE(bench.dialogs.seen.size(), 2);
    QCOMPARE(bench.dialogs.seen.last().title, u"Font Manager"_s);
    QCOMPARE(bench.dialogs.seen.last().text, u"Font dimensions or slot exceed PCB limits."_s);
    QVERIFY(bench.written.isEmpty());
}

void FontWindowTest::followsTheSlots() {
    Bench bench;
    bench.open(font(8, 8, 1));
    bench.choose(3, mixedSlots());
    const QStringList rows{u"Slot 0\nNot read"_s, u"Slot 1\nEmpty"_s, u"Slot 2\nNot read"_s,
                           u"Slot 3\n<i>Old</i> %1"_s};
    for (int row = 0; row < rows.size(); ++row) {
        QCOMPARE(bench.slotList().item(row)->text(), rows[row]);
    }
    QSignalSpy writes(&bench.slotList(), &QListWidget::itemChanged);
    updateLinuxFontWindow(bench.window, mixedSlots(), {});
    QCOMPARE(writes.size(), 0);
    bench.clickPixel(0, 0);
    const QString text = bench.text();
    updateLinuxFontWindow(bench.window, {}, u"Disconnected. Slot contents not read."_s);
    QCOMPARE(bench.slotList().item(3)->text(), u"Slot 3\nNot read"_s);
    QCOMPARE(bench.slotList().currentRow(), 3);
    QCOMPARE(bench.label("statusLabel"), u"Disconnected. Slot contents not read."_s);
    QVERIFY(!bench.isEnabled("saveBoardButton") && !bench.isEnabled("deleteButton"));
    QCOMPARE(bench.text(), text);
    QCOMPARE(bench.window->windowTitle(), u"Font Manager *"_s);
}

void FontWindowTest::namesEveryControl() {
    const Bench bench;
    const std::unique_ptr<QWidget> settings(openLinuxSettingsWindow(nullptr, {}, mixedSlots()));
    for (const QWidget* window : {bench.window.data(), settings.get()}) {
        for (QWidget* control : window->findChildren<QWidget*>()) {
            if (control->focusPolicy() != Qt::NoFocus && control->window() == window) {
                const QAccessibleInterface* read = QAccessible::queryAccessibleInterface(control);
                QVERIFY2(!read->text(QAccessible::Name).isEmpty(),
                         control->metaObject()->className());
            }
        }
    }
}

void FontWindowTest::passesItsSelfCheck() {
    QVERIFY(linuxFontSmoke());
    QVERIFY(linuxSettingsSmoke());
}

QTEST_MAIN(FontWindowTest)
#include "FontWindowTest.moc"
