#include "tools/ImageWindow.h"

#include "support/Dialogs.h"
#include "tools/FileAccess.h"
#include "tools/SelfChecks.h"

#include <QColorDialog>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

/// An image whose every pixel is a run of its own.
ImageDocument noisy(int width, int height) {
    ImageDocument image = newImage("Noise", width, height);
    for (std::size_t at = 0; at < image.pixels.size(); ++at) {
        image.pixels[at] = static_cast<std::uint16_t>(at);
    }
    image.rebuild();
    return image;
}

/// The window with a fake board that notes what it is asked.
struct Scene {
    QTemporaryDir folder;
    ImageSlots known{};
    bool ready = true;
    QStringList calls;
    std::vector<ImagePacket> plan;
    Dialogs dialogs;
    QPointer<QWidget> window = openLinuxImageWindow(nullptr, hooks(), known);

    ~Scene() { delete window; }

    LinuxImageHooks hooks() {
        return {.ready = [this] { return ready; },
                .refresh = [this] { calls << u"refresh"_s; },
                .load = [this](int slot) { calls << u"load %1"_s.arg(slot); },
                .save =
                    [this](std::vector<ImagePacket> packets) {
                        calls << u"save"_s;
                        plan = std::move(packets);
                    },
                .remove = [this](int slot) { calls << u"remove %1"_s.arg(slot); }};
    }

    void push(const QString& message = {}, bool unfreeze = false) {
        updateLinuxImageWindow(window, known, message, unfreeze);
    }

    /// Tells that `slot` was read and holds `name`, and selects it.
    void select(int slot, const char* name) {
        known[static_cast<std::size_t>(slot - 1)] = {.read = true, .name = name};
        list().setCurrentRow(slot - 1);
        push();
    }

    /// Gives the window an unsaved image, as if from slot 1.
    void download(const ImageDocument& image) {
        select(1, "Source");
        click("loadBoardButton");
        loadedLinuxImageWindow(window, image);
        calls.clear();
    }

    /// Loads a file of these bytes and gives its path.
    QString openFile(const std::string& bytes) {
        QString path = folder.filePath(u"image.txt"_s);
        writeFileAtomically(path, bytes);
        dialogs.chooseFile(path);
        click("loadFileButton");
        return path;
    }

    /// Gives the window a saved image of black pixels from a file.
    QString openFile(const char* name, int width, int height) {
        return openFile(newImage(name, width, height).text());
    }

    void click(const char* name) { child(*window, name).click(); }

    bool isEnabled(const char* name) { return child<QWidget>(*window, name).isEnabled(); }

    /// Presses a shortcut; only an active window hears it, and a dialog may have been active.
    void press(QKeySequence::StandardKey key) {
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTest::keySequence(window, key);
    }

    QListWidget& list() { return child<QListWidget>(*window, "slotList"); }

    QString row(int slot) { return list().item(slot - 1)->text(); }

    QString label(const char* name) { return child<QLabel>(*window, name).text(); }

    QString status() { return label("statusLabel"); }

    std::string code() {
        return child<QPlainTextEdit>(*window, "codeView").toPlainText().toStdString();
    }

    QSpinBox& box(const char* name) { return child<QSpinBox>(*window, name); }

    QLineEdit& name() { return child<QLineEdit>(*window, "imageNameEdit"); }

    bool isDirty() { return window->windowTitle() == u"Image Manager *"_s; }

    /// Types a size without ending the input.
    void type(const char* name, const QString& size) {
        box(name).setFocus();
        box(name).selectAll();
        QTest::keyClicks(&box(name), size);
    }

    /// Draws one pixel at the editor's starting zoom.
    void draw(int x, int y) {
        QTest::mouseClick(&child<QWidget>(*window, "editCanvas"), Qt::LeftButton, {},
                          QPoint(x, y) * 6 + QPoint(3, 3));
    }
};

constexpr const char* watched[] = {"editCanvas",      "imageNameEdit",   "widthBox",
                                   "heightBox",       "saveAsButton",    "newButton",
                                   "loadFileButton",  "undoButton",      "refreshButton",
                                   "loadBoardButton", "saveBoardButton", "deleteBoardButton"};

} // namespace

class ImageWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void startsEmpty() {
        Scene scene;
        QVERIFY(scene.window->isWindow() && scene.window->size() == QSize(1180, 740));
        QCOMPARE(scene.window->windowTitle(), u"Image Manager"_s);
        QCOMPARE(scene.status(), u"No image slots read yet."_s);
        QCOMPARE(scene.label("sizeLabel"), u"0 / 4096 bytes"_s);
        QCOMPARE(scene.code(), "No image loaded.");
        QCOMPARE(scene.list().count(), 239);
        QCOMPARE(scene.row(7), u"007  [NOT READ]"_s);
        QCOMPARE(scene.box("heightBox").value(), 128);
    }

    void controls_data() {
        // Flags: i image, o over-size image, u undo step, b blank name, r ready, w waiting for a
        // download; then the slot and what it holds. A "1" stands for each enabled control of
        // `watched`.
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected");
        const std::pair<const char*, const char*> rows[] = {
            {"- 15 Logo", "000001100000"},   {"r 15 Logo", "000001101101"},
            {"r 14 Logo", "000001101100"},   {"r 15 ", "000001101000"},
            {"i 15 Logo", "111111100000"},   {"ri 15 Logo", "111111101111"},
            {"ri 14 ", "111111101010"},      {"ro 15 Logo", "111111101101"},
            {"rib 15 Logo", "111111101101"}, {"riu 1 ", "111111111010"},
            {"riuw 15 Logo", "000000000000"}};
        for (const auto& [setup, expected] : rows) {
            QTest::newRow(setup) << QString::fromLatin1(setup) << QString::fromLatin1(expected);
        }
    }

    void controls() {
        QFETCH(const QString, setup);
        const QStringList parts = setup.split(u' ');
        const auto has = [&](char16_t flag) { return parts[0].contains(flag); };
        Scene scene;
        if (has(u'i') || has(u'o')) {
            scene.download(has(u'o') ? noisy(160, 9) : newImage("Logo", 8, 8));
        }
        if (has(u'u')) {
            scene.draw(1, 1);
        }
        if (has(u'b')) {
            scene.name().selectAll();
            QTest::keyClicks(&scene.name(), u" "_s);
        }
        scene.select(parts[1].toInt(), parts[2].toLatin1());
        if (has(u'w')) {
            scene.dialogs.answer(QMessageBox::Discard);
            scene.click("loadBoardButton");
        }
        scene.ready = has(u'r');
        scene.push();
        QString actual;
        for (const char* name : watched) {
            actual += scene.isEnabled(name) ? u'1' : u'0';
        }
        QTEST(actual, "expected");
    }

    void pushesOnlyShow() {
        Scene scene;
        scene.download(noisy(20, 20));
        scene.list().setCurrentRow(41);
        QSignalSpy rewritten(&child<QPlainTextEdit>(*scene.window, "codeView"),
                             &QPlainTextEdit::textChanged);
        scene.known[0] = {.read = true, .name = {}};
        scene.known[238] = {.read = true, .name = "<b>%1 Ω"};
        scene.push(u"Reading <i>…"_s);
        scene.push();
        QCOMPARE(scene.status(), u"Reading <i>…"_s);
        QCOMPARE(child<QLabel>(*scene.window, "statusLabel").textFormat(), Qt::PlainText);
        QCOMPARE(scene.row(1), u"001  [EMPTY]"_s);
        QCOMPARE(scene.row(239), u"239  <b>%1 Ω"_s);
        scene.known = {};
        scene.push(u"Disconnected. Image slots not read."_s, true);
        QCOMPARE(scene.row(239), u"239  [NOT READ]"_s);
        QCOMPARE(scene.list().currentRow(), 41);
        QVERIFY(scene.isDirty());
        QCOMPARE(rewritten.count(), 0);
    }

    void loadsFromTheBoard() {
        Scene scene;
        scene.openFile("Old", 4, 4);
        loadedLinuxImageWindow(scene.window, newImage("Unasked", 4, 4));
        QCOMPARE(scene.name().text(), u"Old"_s);
        scene.select(3, "New");
        scene.click("loadBoardButton");
        QCOMPARE(scene.calls, {u"load 3"_s});
        QCOMPARE(scene.status(), u"Loading image from PCB…"_s);
        loadedLinuxImageWindow(scene.window, newImage("New", 6, 5));
        QCOMPARE(scene.status(), u"Image loaded from PCB. Save As to keep a local copy."_s);
        QVERIFY(scene.isDirty() && scene.box("heightBox").value() == 5);
        loadedLinuxImageWindow(scene.window, newImage("Late", 4, 4));
        QCOMPARE(scene.name().text(), u"New"_s);
        // A failure of the transfer unlocks the image that was open before.
        scene.dialogs.answer(QMessageBox::Discard);
        scene.click("loadBoardButton");
        scene.push(u"Failed."_s, true);
        QVERIFY(scene.isEnabled("editCanvas") && scene.isDirty());
    }

    void looksAgainBeforeLoading() {
        using Change = std::function<void(Scene&)>;
        const Change changes[] = {
            {}, // the question is cancelled
            [](Scene& scene) { scene.ready = false; },
            [](Scene& scene) { updateLinuxImageWindow(scene.window, {}, {}, false); },
            [](Scene& scene) { scene.select(3, "Renamed"); },
            [](Scene& scene) { scene.select(4, "Logo"); }};
        for (const Change& change : changes) {
            Scene scene;
            scene.download(newImage("Mine", 4, 4));
            scene.select(3, "Logo");
            scene.dialogs.answer(change ? QMessageBox::Discard : QMessageBox::Cancel,
                                 [&] { change ? change(scene) : void(); });
            scene.click("loadBoardButton");
            QCOMPARE(scene.dialogs.seen.size(), 1);
            QVERIFY(scene.calls.isEmpty() && scene.isEnabled("editCanvas"));
        }
    }

    void savesToTheBoard() {
        Scene scene;
        const ImageDocument image = noisy(30, 30);
        scene.download(image);
        scene.select(20, "");
        scene.click("saveBoardButton");
        QVERIFY(scene.dialogs.seen.isEmpty() && scene.plan == imageUploadPlan(image, 20));
        QCOMPARE(scene.status(), u"Saving image to slot 20…"_s);
        scene.select(14, "Logo");
        scene.dialogs.answer(Qt::Key_Return);
        scene.click("saveBoardButton");
        const SeenDialog question = scene.dialogs.seen.last();
        QCOMPARE(question.title, u"Replace Image in Slot 14?"_s);
        QCOMPARE(question.text, u"This slot already contains an image. Its current image data and "
                                u"name will be replaced."_s);
        QCOMPARE(question.defaultButton, u"Cancel"_s);
        scene.dialogs.answer(QMessageBox::Yes, [&] { scene.ready = false; });
        scene.click("saveBoardButton");
        scene.ready = true;
        scene.push();
        scene.dialogs.answer(QMessageBox::Yes, [&] { scene.select(13, "Logo"); });
        scene.click("saveBoardButton");
        QCOMPARE(scene.calls.size(), 1);
        scene.dialogs.answer(QMessageBox::Yes);
        scene.click("saveBoardButton");
        QVERIFY(scene.plan == imageUploadPlan(image, 13));
    }

    void deletesOnTheBoard() {
        Scene scene;
        scene.select(14, "Kept");
        scene.select(20, "Logo");
        scene.dialogs.answer(Qt::Key_Return);
        scene.click("deleteBoardButton");
        scene.dialogs.answer(Qt::Key_Escape);
        scene.click("deleteBoardButton");
        QCOMPARE(scene.dialogs.seen.last().title, u"Delete Image from Slot 20?"_s);
        QCOMPARE(scene.dialogs.seen.last().text,
                 u"This empties only the selected slot. Other image numbers will not change."_s);
        scene.dialogs.answer(u"Delete"_s, [&] { scene.ready = false; });
        scene.click("deleteBoardButton");
        QVERIFY(scene.calls.isEmpty());
        scene.ready = true;
        scene.push();
        scene.dialogs.answer(u"Delete"_s);
        scene.click("deleteBoardButton");
        QCOMPARE(scene.calls, {u"remove 20"_s});
        QCOMPARE(scene.status(), u"Deleting image from slot 20…"_s);
        for (const int slot : {14, 20, 240}) {
            deletedLinuxImageWindow(scene.window, slot);
        }
        QCOMPARE(scene.row(14), u"014  Kept"_s);
        QCOMPARE(scene.row(20), u"020  [EMPTY]"_s);
        QCOMPARE(scene.status(), u"Image deleted from slot 20."_s);
    }

    void editsAndUndoes() {
        Scene scene;
        scene.openFile("Logo", 8, 4);
        scene.draw(1, 2);
        QTest::keyClicks(&scene.name(), u"2"_s);
        const std::string dotted = scene.code();
        QVERIFY(scene.isDirty() && dotted != newImage("Logo2", 8, 4).text());
        scene.type("widthBox", u"2"_s);
        QTest::keyClick(&scene.box("widthBox"), Qt::Key_Return);
        QVERIFY(scene.code().find("width=2\n\nheight=4\n\nsize=9\n") != std::string::npos);
        QTest::keyClicks(&scene.name(), u"\b3"_s);
        scene.click("undoButton");
        QCOMPARE(scene.box("widthBox").value(), 8);
        QCOMPARE(QByteArray::fromStdString(scene.code()).replace("Logo3", "Logo2"), dotted.c_str());
        // A stroke that the mouse has not released yet is the first to be undone.
        QTest::mousePress(&child<QWidget>(*scene.window, "editCanvas"), Qt::LeftButton, {}, {3, 3});
        scene.press(QKeySequence::Undo);
        scene.press(QKeySequence::Undo);
        QCOMPARE(scene.code(), newImage("Logo3", 8, 4).text());
        QVERIFY(!scene.isEnabled("undoButton"));
    }

    void appliesPendingSizesFirst() {
        Scene scene;
        const QString path = scene.openFile("Logo", 8, 4);
        scene.type("heightBox", u"7"_s);
        scene.select(30, "");
        scene.click("saveBoardButton");
        QVERIFY(scene.plan == imageUploadPlan(newImage("Logo", 8, 7), 30));
        scene.type("heightBox", u"5"_s);
        scene.press(QKeySequence::Save);
        QCOMPARE(readFileBytes(path), newImage("Logo", 8, 5).text());
        scene.type("heightBox", u"6"_s);
        delete scene.window; // while the box still has the focus and something to tell
    }

    void drawsWithToolsColorsAndZoom() {
        Scene scene;
        scene.openFile("Logo", 60, 50);
        scene.dialogs.answer([](QWidget* dialog) {
            auto* colors = qobject_cast<QColorDialog*>(dialog);
            QCOMPARE(colors->currentColor(), QColor(Qt::white));
            colors->setCurrentColor(QColor(255, 0, 0));
            colors->accept();
        });
        scene.click("leftColorButton");
        QCOMPARE(scene.dialogs.seen.last().title, u"Drawing color"_s);
        QCOMPARE(child(*scene.window, "leftColorButton").styleSheet(),
                 u"background:#ff0000;color:white"_s);
        scene.click("fillButton");
        scene.draw(0, 0);
        QVERIFY(scene.code().ends_with("\n255 248 0\n195 248 0\n"));
        for (int step = 0; step < 14; ++step) {
            QVERIFY(scene.isEnabled("zoomInButton"));
            scene.click("zoomInButton");
        }
        QCOMPARE(scene.label("zoomLabel"), u"20×"_s);
        QVERIFY(!scene.isEnabled("zoomInButton") && scene.isEnabled("zoomOutButton"));
        const auto& scroll = child<QScrollArea>(*scene.window, "editScroll");
        QTRY_VERIFY(scroll.horizontalScrollBar()->maximum() > 0);
        QVERIFY(scroll.verticalScrollBar()->maximum() > 0);
    }

    void keepsTooLargeImagesInFiles() {
        Scene scene;
        const ImageDocument image = noisy(160, 128);
        scene.download(image);
        const auto& size = child<QLabel>(*scene.window, "sizeLabel");
        QCOMPARE(size.text(), u"61440 / 4096 bytes"_s);
        QCOMPARE(size.styleSheet(), u"color:#ff7373;font-weight:bold"_s);
        QCOMPARE(size.toolTip(), u"Over PCB capacity. Local save is still available."_s);
        const QString path = scene.folder.filePath(u"Ω large.txt"_s);
        scene.dialogs.chooseFile(path.chopped(4));
        scene.press(QKeySequence::Save);
        QCOMPARE(readFileBytes(path), image.text());
        // The file is known now, so only saving as asks.
        QTest::keyClicks(&scene.name(), u"s"_s);
        scene.dialogs.forget();
        scene.press(QKeySequence::Save);
        scene.click("saveAsButton");
        QVERIFY(!scene.isDirty() && scene.dialogs.seen.size() == 1);
        QCOMPARE(scene.dialogs.seen.last().title, u"Save Image"_s);
        const std::string saved = scene.code();
        scene.openFile("Small", 4, 4);
        QVERIFY(size.styleSheet().isEmpty() && size.toolTip().isEmpty());
        scene.dialogs.chooseFile(path);
        scene.click("loadFileButton");
        QVERIFY(scene.code() == saved && saved == readFileBytes(path));
    }

    void refusesBadFilesBeforeAsking() {
        const std::pair<std::string, QString> cases[] = {
            {"name=x\n", u"Missing image [data] section."_s},
            {"name=\xff\n", u"Image file is not valid UTF-8."_s},
            {std::string(1'000'001, ' '), u"Image file exceeds 1 MB."_s}};
        Scene scene;
        scene.download(newImage("Mine", 4, 4));
        for (const auto& [bytes, message] : cases) {
            scene.dialogs.forget();
            scene.openFile(bytes);
            QCOMPARE(scene.dialogs.seen.size(), 2);
            QCOMPARE(scene.dialogs.seen.last().title, u"Image Manager"_s);
            QCOMPARE(scene.dialogs.seen.last().text, message);
            QVERIFY(scene.isDirty() && scene.name().text() == u"Mine"_s);
        }
    }

    void asksBeforeLosingChanges() {
        Scene scene;
        const QString path = scene.openFile("Logo", 8, 4);
        scene.draw(2, 2);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
            scene.dialogs.answer(key);
            scene.click("closeButton");
        }
        const SeenDialog question = scene.dialogs.seen.last();
        QCOMPARE(question.title, u"Unsaved image"_s);
        QCOMPARE(question.text, u"Save image changes before continuing?"_s);
        QVERIFY(scene.window->isVisible() && readFileBytes(path) == newImage("Logo", 8, 4).text());
        // Saving into the very file that is being loaded loads what was saved.
        const std::string drawn = scene.code();
        scene.dialogs.chooseFile(path);
        scene.dialogs.answer(QMessageBox::Save);
        scene.click("loadFileButton");
        QVERIFY(scene.code() == drawn && readFileBytes(path) == drawn && !scene.isDirty());
        scene.draw(3, 3);
        QVERIFY(scene.folder.remove());
        scene.dialogs.answer(QMessageBox::Save);
        scene.click("closeButton");
        QCOMPARE(scene.dialogs.seen.last().title, u"Image Manager"_s);
        QVERIFY(scene.isDirty() && !scene.dialogs.seen.last().text.isEmpty());
        scene.dialogs.answer(QMessageBox::Discard);
        scene.click("closeButton");
        QTRY_VERIFY(scene.window.isNull());
    }

    void makesNewImages() {
        Scene scene;
        scene.dialogs.answer([&](QWidget* dialog) {
            auto& name = child<QLineEdit>(*dialog, "newNameEdit");
            QCOMPARE(name.text(), u"New Image"_s);
            name.setText(u" "_s);
            scene.dialogs.answer(QMessageBox::Ok);
            QTest::keyClick(dialog, Qt::Key_Return);
            QVERIFY(dialog->isVisible());
            name.setText(u"Icon"_s);
            child<QSpinBox>(*dialog, "newWidthBox").setValue(16);
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        scene.click("newButton");
        QCOMPARE(scene.dialogs.seen.last().title, u"New Image"_s);
        QCOMPARE(scene.dialogs.seen.last().text,
                 u"Image name must be 1-31 UTF-8 bytes on one line."_s);
        QVERIFY(scene.isDirty() && scene.code() == newImage("Icon", 16, 128).text());
        scene.dialogs.answer(QMessageBox::Cancel);
        scene.press(QKeySequence::New);
        QCOMPARE(scene.dialogs.seen.last().title, u"Unsaved image"_s);
    }

    void checksItself() { QVERIFY(linuxImageSmoke()); }
};

QTEST_MAIN(ImageWindowTest)
#include "ImageWindowTest.moc"
