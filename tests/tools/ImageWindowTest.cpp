#include "tools/ImageWindow.h"

#include "ToolStory.h"

using namespace pivex;
using namespace pivex::testing;

namespace {

/// A black image of the words' name and size; with a fourth word each pixel is a run of its own.
ImageDocument imageOf(const QStringList& words) {
    ImageDocument image = newImage("Image", words[1].toInt(), words[2].toInt());
    image.name = words[0].toStdString();
    for (std::size_t at = 0; words.size() > 3 && at < image.pixels.size(); ++at) {
        image.pixels[at] = static_cast<std::uint16_t>(at);
    }
    image.rebuild();
    return image;
}

struct Scene : ToolStory<ImageSlots, 1> {
    Scene() {
        root = openLinuxImageWindow(
            nullptr,
            {.ready = [this] { return ready; },
             .refresh = [this] { told << u"refreshes"_s; },
             .load = [this](int slot) { told << u"loads %1"_s.arg(slot); },
             .save = [this](auto plan) { told << u"saves %1"_s.arg(plan[1].payload[0]); },
             .remove = [this](int slot) { told << u"deletes %1"_s.arg(slot); }},
            known);
        verbs.merge(Verbs{
            {u"loaded"_s, [this](auto& words) { loadedLinuxImageWindow(root, imageOf(words)); }},
            {u"deleted"_s,
             [this](auto& words) { deletedLinuxImageWindow(root, words[0].toInt()); }},
            {u"draw"_s, [this](auto& words) { draw(words[0].toInt(), words[1].toInt()); }},
            {u"color"_s,
             [](auto& words) {
                 QApplication::activeModalWidget()->setProperty("currentColor", QColor(words[0]));
             }},
        });
        watchDocument();
        watchTexts(u"imageNameEdit widthBox heightBox sizeLabel sizeLabel.styleSheet "
                   "sizeLabel.toolTip statusLabel zoomLabel leftColorButton.styleSheet"_s);
        watchEnabled(
            u"c editCanvas n imageNameEdit w widthBox h heightBox a saveAsButton N newButton "
            "F loadFileButton U undoButton R refreshButton L loadBoardButton "
            "S saveBoardButton D deleteBoardButton + zoomInButton - zoomOutButton"_s);
    }

    void push(const QString& message = {}, bool unfreeze = false) override {
        updateLinuxImageWindow(root, known, message, unfreeze);
    }

    std::string content(const QString& words) override { return imageOf(words.split(u' ')).text(); }

    /// "Logo 4x2 3.1#4+": name, size and the runs of black, white and other pixels.
    QString summary(const std::string& text) override {
        const ImageDocument image = parseImage(text);
        QString runs;
        for (std::size_t at = 0; at < image.rle.size(); at += 3) {
            const std::uint32_t color = u16At(image.rle, at + 1);
            runs += QString::number(image.rle[at]);
            runs += color == 0 ? u'.' : color == 0xFFFF ? u'#' : u'+';
        }
        return QString::fromStdString(image.name) +
               u" %1x%2 "_s.arg(image.width).arg(image.height) + runs.left(20);
    }

    /// Draws one pixel at the editor's starting zoom.
    void draw(int x, int y) {
        QTest::mouseClick(&child<QWidget>(*root, "editCanvas"), Qt::LeftButton, {},
                          QPoint(x, y) * 6 + QPoint(3, 3));
    }
};

} // namespace

class ImageWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void startsEmptyAndDeletesOnTheBoard() {
        Scene scene;
        QVERIFY(scene.root->isWindow() && scene.slotList()->count() == 239);
        QVERIFY(scene.holdsFocus("refreshButton"));
        scene.play(R"(
            look => Image Manager; No image loaded.; 001 [NOT READ]; 160; 128; 0 / 4096 bytes; No
                image slots read yet.; 6×; background:#ffffff;color:black; +NFR+-
            unready => -R
            slot 15 Logo => 015 Logo
            ready => +RLD
            slot 14 Logo => 014 Logo; -D
            slot 15 => 015 [EMPTY]; -L
            says Reading <i>… => Reading <i>…
            refreshButton => refreshes
            forget => 015 [NOT READ]
            slot 14 Kept => 014 Kept; +L
            slot 20 Logo => 020 Logo; +D
            deleteBoardButton | Return => ? Delete Image from Slot 20?: This empties only the
                selected slot. Other image numbers will not change. [Cancel]
            deleteBoardButton | Delete after busy => ? Delete Image from Slot 20? [Cancel]
            ready =>
            deleteBoardButton | Delete after slot 14 Kept => ? Delete Image from Slot 20? [Cancel];
                014 Kept; -D
            slot 20 Logo => 020 Logo; +D
            deleteBoardButton | Delete => deletes 20; ? Delete Image from Slot 20? [Cancel];
                Deleting image from slot 20…
            deleted 14 =>
            deleted 20 => 020 [EMPTY]; Image deleted from slot 20.; -LD
        )");
    }

    void loadsFromTheBoardAndSavesToIt() {
        Scene().play(R"(
            write a.txt Old 4 4 => a.txt Old 4x4 16.
            loadFileButton | /a.txt => ? Load Image; Old 4x4 16.; Old; 4; 4; 3 / 4096 bytes; +cnwhaS
            loaded Unasked 4 4 =>
            slot 3 New => 003 New; +L
            loadBoardButton => loads 3; Loading image from PCB…; -cnwhaNFRLS
            loaded New 6 5 => Image Manager *; New 6x5 30.; New; 6; 5; Image loaded from PCB. Save
                As to keep a local copy.; +cnwhaNFRLS
            loaded Late 4 4 =>
            loadBoardButton | Discard => loads 3; ? Unsaved image: Save image changes before
                continuing? [Cancel]; Loading image from PCB…; -cnwhaNFRLS
            closeButton | Cancel after loaded Late 4 4 => ? Unsaved image [Cancel]; The image from
                the PCB was given up.; +cnwhaNFRLS
            loadBoardButton | Discard => loads 3; ? Unsaved image [Cancel]; Loading image from PCB…;
                -cnwhaNFRLS
            fails Failed. => Failed.; +cnwhaNFRLS
            loadBoardButton | Cancel => ? Unsaved image [Cancel]
            loadBoardButton | Discard after busy => ? Unsaved image [Cancel]
            ready =>
            loadBoardButton | Discard after slot 3 Renamed => ? Unsaved image [Cancel]; 003 Renamed
            loadBoardButton | Discard after slot 4 Renamed => ? Unsaved image [Cancel]; 004 Renamed
            write b.txt Logo 30 30 noisy => b.txt Logo 30x30 1.1+1+1+1+1+1+1+1+1+
            loadFileButton | /b.txt | Discard => ? Load Image; ? Unsaved image [Cancel]; Image
                Manager; Logo 30x30 1.1+1+1+1+1+1+1+1+1+; Logo; 30; 30; 2700 / 4096 bytes
            slot 20 => 020 [EMPTY]; -L
            saveBoardButton => saves 20; Saving image to slot 20…
            slot 14 Old => 014 Old; +L
            saveBoardButton | Return => ? Replace Image in Slot 14?: This slot already contains an
                image. Its current image data and name will be replaced. [Cancel]
            saveBoardButton | Yes after busy => ? Replace Image in Slot 14? [Cancel]
            ready =>
            saveBoardButton | Yes after slot 13 Old => ? Replace Image in Slot 14? [Cancel]; 013 Old
            saveBoardButton | Yes => saves 13; ? Replace Image in Slot 13? [Cancel]; Saving image to
                slot 13…
            type imageNameEdit . => Image Manager *; . 30x30 1.1+1+1+1+1+1+1+1+1+; .
            type heightBox 29 => 29
            saveBoardButton | Yes => saves 13; ? Replace Image in Slot 13? [Cancel]; . 30x29
                1.1+1+1+1+1+1+1+1+1+; 2610 / 4096 bytes; +U
            unready => -RLS
        )");
    }

    void editsAndUndoesWithToolsColorsAndZoom() {
        Scene scene;
        scene.play(R"(
            write a.txt Logo 8 4 => a.txt Logo 8x4 32.
            loadFileButton | /a.txt => ? Load Image; Logo 8x4 32.; Logo; 8; 4; 3 / 4096 bytes;
                +cnwhaS
            draw 1 2 => Image Manager *; Logo 8x4 17.1#14.; 9 / 4096 bytes; +U
            type widthBox 3 => 3
            key Ctrl+Z => 8
            type widthBox 2\r => Logo 2x4 5.1#2.; 2
            type imageNameEdit Logo3 => Logo3 2x4 5.1#2.; Logo3
            undoButton => Logo3 8x4 17.1#14.; 8
            key Ctrl+Z => Logo3 8x4 32.; 3 / 4096 bytes; -U
            key Ctrl+Z =>
            type heightBox 5 => 5
            key Ctrl+S => a.txt Logo3 8x5 40.; Image Manager; Logo3 8x5 40.; +U
            type heightBox 6 => 6
            newButton | Cancel => ? Unsaved image: Save image changes before continuing? [Cancel];
                Image Manager *; Logo3 8x6 48.
            slot 30 => 030 [EMPTY]
            type heightBox 7 => 7
            saveBoardButton => saves 30; Logo3 8x7 56.; Saving image to slot 30…
            write b.txt Logo 60 50 => b.txt Logo 60x50 255.255.255.255.255.
            loadFileButton | /b.txt | Discard => ? Load Image; ? Unsaved image [Cancel]; Image
                Manager; Logo 60x50 255.255.255.255.255.; Logo; 60; 50; 36 / 4096 bytes; -U
            leftColorButton | OK after color red => ? Drawing color; background:#ff0000;color:white
            fillButton =>
            draw 0 0 => Image Manager *; Logo 60x50 255+255+255+255+255+; +U
            rightColorButton | Cancel => ? Drawing color
        )");
        for (int zoom = 7; zoom <= 20; ++zoom) {
            scene.act(u"zoomInButton"_s);
        }
        QVERIFY(!child(*scene.root, "zoomInButton").isEnabled());
        QCOMPARE(child<QWidget>(*scene.root, "editCanvas").minimumSize(), QSize(60, 50) * 20);
    }

    void keepsTooLargeImagesInFiles() {
        Scene().play(R"(
            slot 15 Large => 015 Large; +LD
            loadBoardButton => loads 15; Loading image from PCB…; -NFRLD
            loaded Large 160 128 noisy => Image Manager *; Large 160x128 1.1+1+1+1+1+1+1+1+1+;
                Large; 61440 / 4096 bytes; color:#ff7373;font-weight:bold; Over PCB capacity. Local
                save is still available.; Image loaded from PCB. Save As to keep a local copy.;
                +cnwhaNFRLD
            key Ctrl+S | /Ω => ? Save Image; Ω.txt Large 160x128 1.1+1+1+1+1+1+1+1+1+; Image Manager
            type imageNameEdit Larger => Image Manager *; Larger 160x128 1.1+1+1+1+1+1+1+1+1+;
                Larger
            key Ctrl+S => Ω.txt Larger 160x128 1.1+1+1+1+1+1+1+1+1+; Image Manager
            type heightBox 1\r => Image Manager *; Larger 160x1 1.1+1+1+1+1+1+1+1+1+; 1; 480 / 4096
                bytes; no text; no text; +US
            saveAsButton | /c => ? Save Image; c.txt Larger 160x1 1.1+1+1+1+1+1+1+1+1+; Image
                Manager
        )");
    }

    void keepsLongNames() {
        Scene scene;
        scene.act(u"write a.txt %1 4 4"_s.arg(QString(40'000, u'x')));
        scene.act(u"loadFileButton | /a.txt"_s);
        QCOMPARE(child<QLineEdit>(*scene.root, "imageNameEdit").text().size(), 40'000);
    }

    void asksBeforeLosingChanges() {
        Scene scene;
        QFile file(scene.folder.filePath(u"bad.txt"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("name=\xff\n") > 0);
        file.close();
        scene.play(R"(
            write a.txt Logo 8 4 => a.txt Logo 8x4 32.
            loadFileButton | /a.txt => ? Load Image; Logo 8x4 32.; Logo; 8; 4; 3 / 4096 bytes;
                +cnwhaS
            draw 2 2 => Image Manager *; Logo 8x4 18.1#13.; 9 / 4096 bytes; +U
            loadFileButton | /bad.txt | OK => ? Load Image; ? Image Manager: Image file is not valid
                UTF-8.
            closeButton | Return => ? Unsaved image: Save image changes before continuing? [Cancel]
            loadFileButton | /a.txt | Save => ? Load Image; ? Unsaved image [Cancel]; a.txt Logo 8x4
                18.1#13.; Image Manager; -U
            newButton | Escape => ? New Image
            draw 3 3 => Image Manager *; Logo 8x4 18.1#8.1#4.; 15 / 4096 bytes; +U
            key Ctrl+N | Discard | OK after fill newNameEdit | OK | OK after fill newNameEdit Icon
                after fill newWidthBox 16 => ? Unsaved image [Cancel]; ? New Image; ? New Image:
                Image name must be 1-31 UTF-8 bytes on one line.; ? New Image; Icon 16x128
                255.255.255.255.255.; Icon; 16; 128; 27 / 4096 bytes; -U
            drop => no a.txt; no bad.txt
            closeButton | Save | /b => ? Unsaved image [Cancel]; ? Save Image; ? Image Manager: No
                such file or directory
            closeButton | Discard => ? Unsaved image [Cancel]; closed
        )");
    }
};

QTEST_MAIN(ImageWindowTest)
#include "ImageWindowTest.moc"
