#include "tools/FontWindow.h"

#include "ToolStory.h"
#include "tools/FontDocument.h"

#include <QListView>
#include <QScrollBar>

using namespace pivex;
using namespace pivex::testing;

namespace {

struct Scene : ToolStory<FontSlots, 0> {
    Scene() {
        root = openLinuxFontWindow(nullptr, hooks(), known);
        verbs.merge(Verbs{
            {u"glyph"_s,
             [this](auto& words) {
                 glyphs().setCurrentIndex(glyphs().model()->index(words[0].toInt(), 0));
             }},
            {u"click"_s, [this](auto& words) { click(words[0].toInt(), words[1].toInt()); }},
            {u"scroll"_s, [this](auto&) { scroll(); }},
            {u"glyphs"_s, [this](auto&) { told << captions(); }},
        });
        views.push_back({"", [this] { return described(text()); }});
        views.push_back(
            {"", [this] { return child<QListWidget>(*root, "slotList").currentItem()->text(); }});
        views.push_back({"scrolled ", [this] {
                             return u"%1 %2"_s.arg(pane().verticalScrollBar()->value())
                                 .arg(pane().horizontalScrollBar()->value());
                         }});
        // The text is for reading only, so that keeping its changes would be waste.
        views.push_back({"undo ", [this] {
                             return pane().document()->isUndoAvailable() ? u"offered"_s : QString();
                         }});
        watchTexts(u"fontNameLabel glyphLabel statusLabel"_s);
        watchEnabled(
            u"s saveButton a saveAsButton g glyphList R refreshButton S saveBoardButton D deleteButton"_s);
    }

    LinuxFontHooks hooks() {
        return {.ready = [this] { return ready; },
                .refresh = [this] { told << u"refreshes"_s; },
                .write =
                    [this](const auto& plan) {
                        const bool isDeletion = plan == fontDeletionPlan(selected());
                        const bool isRight =
                            isDeletion || plan == fontUploadPlan(parseFont(text()), selected());
                        told << (isDeletion ? u"deletes %1"_s : u"saves %1"_s)
                                    .arg(isRight ? selected() : -1);
                    }};
    }

    void push(const QString& message = {}, bool /*unfreeze*/ = false) override {
        updateLinuxFontWindow(root, known, message);
    }

    /// A font of the words' name and size, 5x7x95 for 95 glyphs, without any lit pixel.
    std::string content(const QString& words) override {
        const QStringList size = words.section(u' ', 1).split(u'x');
        if (size.size() < 3) {
            return words.toStdString();
        }
        FontDocument font{.name = words.section(u' ', 0, 0).toStdString(),
                          .width = size[0].toInt(),
                          .height = size[1].toInt(),
                          .columns = {}};
        font.columns.resize(size[0].toUInt() * std::size_t{size[2].toUInt()});
        return font.text();
    }

    /// "Small 8x8x95 266=81": name, size and the columns with lit pixels.
    QString summary(const std::string& text) override {
        const FontDocument font = parseFont(text);
        QString all =
            u"%1 %2x%3x%4"_s.arg(QString::fromStdString(font.name), QString::number(font.width),
                                 QString::number(font.height), QString::number(font.glyphCount()));
        for (std::size_t at = 0; at < font.columns.size(); ++at) {
            all += font.columns[at] == 0 ? u""_s : u" %1=%2"_s.arg(at).arg(font.columns[at]);
        }
        return all;
    }

    QPlainTextEdit& pane() { return child<QPlainTextEdit>(*root, "textPane"); }

    QListView& glyphs() { return child<QListView>(*root, "glyphList"); }

    /// The information, how many glyphs there are, what some are called and which is selected.
    QString captions() {
        QString texts =
            child<QObject>(*root, "informationLabel").property("text").toString() + u',';
        for (const int row : {0, 1, 94, 95}) {
            texts += u' ' + glyphs().model()->index(row, 0).data().toString();
        }
        return texts +
               u", %1 of %2"_s.arg(glyphs().currentIndex().row()).arg(glyphs().model()->rowCount());
    }

    void scroll() {
        root->resize(600, 700); // narrow enough for a line to be scrolled sideways
        QCoreApplication::processEvents();
        pane().verticalScrollBar()->setValue(100);
        pane().horizontalScrollBar()->setValue(40);
    }

    /// Clicks the middle of pixel (column, row) of an 8 x 8 font.
    void click(int column, int row) {
        auto& canvas = child<QWidget>(*root, "glyphEditor");
        const int cell = std::min({32, (canvas.width() - 24) / 8, (canvas.height() - 48) / 8});
        const QPoint origin((canvas.width() - 8 * cell) / 2, (canvas.height() - 8 * cell) / 2);
        QTest::mouseClick(&canvas, Qt::LeftButton, {},
                          origin + QPoint(column, row) * cell + QPoint(cell / 2, cell / 2));
    }
};

} // namespace

class FontWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void showsFontAndSlots() {
        Scene().play(R"(
            look => Font Manager; No font file loaded.; Slot 0 Not read; scrolled 0 0; No font file
                loaded; Glyph 0 ASCII 32; No slot information read yet.; +R
            glyphs => Name: — Width: — pixels Height: — pixels Glyphs: — Columns per glyph: —
                Declared size: — Loaded columns: —, SP ! ~ , 0 of 95
            write a.txt Sample<b> 5x7x97 => a.txt Sample<b> 5x7x97
            openButton | /a.txt => ? Open Font; Sample<b> 5x7x97; Sample<b>; +sag
            glyphs => Name: Sample<b> Width: 5 pixels Height: 7 pixels Glyphs: 97 Columns per glyph:
                5 Declared size: 485 Loaded columns: 485, SP ! ~ 95, 0 of 97
            glyph 96 => Glyph 96 ASCII 128
            write b.txt Small 5x7x3 => b.txt Small 5x7x3
            openButton | /b.txt => ? Open Font; Small 5x7x3; Small; Glyph 0 ASCII 32
            unready => -R
            ready => +R
            refreshButton => refreshes
            slot 0 => Slot 0 Empty; +S
            slot 1 <i>Old</i> %1 => Slot 1 <i>Old</i> %1; +D
            says Disconnected. => Disconnected.
            forget => Slot 1 Not read; -SD
        )");
    }

    void makesAndEditsFonts() {
        Scene().play(R"(
            newButton | OK after fill nameEdit \t | OK | OK after fill nameEdit \tGröße\nzwei after
                fill widthBox 3 after fill glyphsBox 1000 => ? New Font; ? New Font: Enter a font
                name.; ? New Font; Font Manager *; Größe zwei 3x8x224; Größe zwei; +sag
            saveButton | Escape => ? Save Font
            write a.txt Sample 8x8x95 => a.txt Sample 8x8x95
            openButton | /a.txt | Discard => ? Open Font; ? Unsaved font: Save your font changes
                before continuing? [Cancel]; Font Manager; Sample 8x8x95; Sample
            glyph 33 => Glyph 33 ASCII 65
            scroll => scrolled 100 40
            click 2 0 => Font Manager *; Sample 8x8x95 266=128
            click 7 7 => Sample 8x8x95 266=128 271=1
            openButton | /a.txt | Discard => ? Open Font; ? Unsaved font [Cancel]; Font Manager;
                Sample 8x8x95; scrolled 0 0; Glyph 0 ASCII 32
        )");
    }

    void savesAndOpens() {
        Scene scene;
        QFile file(scene.folder.filePath(u"large.bad"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(4'000'001));
        scene.play(R"(
            write a.txt Ωmega 8x8x1 => a.txt Ωmega 8x8x1
            openButton | /a.txt => ? Open Font; Ωmega 8x8x1; Ωmega; +sag
            click 0 0 => Font Manager *; Ωmega 8x8x1 0=128
            saveButton => a.txt Ωmega 8x8x1 0=128; Font Manager
            saveAsButton | /b => ? Save Font; b.txt Ωmega 8x8x1 0=128
            click 1 1 => Font Manager *; Ωmega 8x8x1 0=128 1=64
            saveAsButton | /missing/c.txt | OK => ? Save Font; ? Font Manager: No such file or
                directory
            write text.bad Hello => text.bad Hello
            openButton | /text.bad | OK => ? Open Font; ? Font Manager: Missing font name, width,
                height, size, or [data].
            openButton | /large.bad | OK => ? Open Font; ? Font Manager: Font file is too large
                (maximum 4 MB).
            openButton | /b.txt | Save => ? Open Font; ? Unsaved font: Save your font changes before
                continuing? [Cancel]; b.txt Ωmega 8x8x1 0=128 1=64; Font Manager
            newButton | Escape => ? New Font
            click 2 2 => Font Manager *; Ωmega 8x8x1 0=128 1=64 2=32
            newButton | Return => ? Unsaved font [Cancel]
            close | Escape => stays; ? Unsaved font [Cancel]
            drop => no a.txt; no b.txt; no large.bad; no text.bad
            close | Save | OK => stays; ? Unsaved font [Cancel]; ? Font Manager
            close | Discard => closes; ? Unsaved font [Cancel]; closed
        )");
    }

    void changesTheBoardWhenThatIsAgreedOn() {
        Scene().play(R"(
            slot 3 <i>Old</i> %1 => Slot 3 <i>Old</i> %1; +D
            deleteButton | Return => ? Delete Font: Delete the font in PCB slot 3? Current slot:
                <i>Old</i> %1 This permanently changes PCB storage. Local font files are unchanged.
                [Cancel]
            write a.txt Big 1x1x256 => a.txt Big 1x1x256
            openButton | /a.txt => ? Open Font; Big 1x1x256; Big; +sagS
            saveBoardButton | OK => ? Font Manager: Font dimensions or slot exceed PCB limits.
            newButton | OK => ? New Font; Font Manager *; New Font 8x8x95; New Font
            slot 1 => Slot 1 Empty; -D
            saveBoardButton | Return => ? Save Font to Pivex: Save the current font in PCB slot 1?
                Current slot: Empty This permanently changes PCB storage. Local font files are
                unchanged. [Cancel]
            saveBoardButton | Escape => ? Save Font to Pivex [Cancel]
            saveBoardButton | Yes => saves 1; ? Save Font to Pivex [Cancel]; Saving font to selected
                slot…
            saveBoardButton | Yes after busy => ? Save Font to Pivex [Cancel]
            ready =>
            saveBoardButton | Yes after slot 2 => ? Save Font to Pivex [Cancel]; Slot 2 Empty
            saveBoardButton | Yes after slot 2 New => ? Save Font to Pivex: Save the current font in
                PCB slot 2? Current slot: Empty This permanently changes PCB storage. Local font
                files are unchanged. [Cancel]; Slot 2 New; +D
            saveBoardButton | Yes after forget => ? Save Font to Pivex: Save the current font in PCB
                slot 2? Current slot: New This permanently changes PCB storage. Local font files are
                unchanged. [Cancel]; Slot 2 Not read; -SD
            slot 4 Old => Slot 4 Old; +SD
            deleteButton | Yes after slot 4 New => ? Delete Font: Delete the font in PCB slot 4?
                Current slot: Old This permanently changes PCB storage. Local font files are
                unchanged. [Cancel]; Slot 4 New
            deleteButton | Yes => deletes 4; ? Delete Font: Delete the font in PCB slot 4? Current
                slot: New This permanently changes PCB storage. Local font files are unchanged.
                [Cancel]; Deleting font from selected slot…
            unready => -RSD
        )");
    }
};

QTEST_MAIN(FontWindowTest)
#include "FontWindowTest.moc"
