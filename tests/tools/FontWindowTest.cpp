#include "tools/FontWindow.h"

#include "ToolStory.h"
#include "tools/FontDocument.h"

#include <QLabel>
#include <QListView>
#include <QScrollBar>

using namespace pivex;
using namespace pivex::testing;

namespace {

struct Scene : ToolStory<FontSlots, 0> {
    Scene() {
        root = openLinuxFontWindow(nullptr,
                                   {.ready = [this] { return ready; },
                                    .refresh = [this] { told << u"refreshes"_s; },
                                    .write = [this](const auto& plan) { told << saying(plan); }},
                                   known);
        verbs.merge(Verbs{
            {u"glyph"_s,
             [this](auto& words) {
                 auto& glyphs = child<QListView>(*root, "glyphList");
                 glyphs.setCurrentIndex(glyphs.model()->index(words[0].toInt(), 0));
                 told << glyphs.currentIndex().data().toString();
             }},
            {u"information"_s,
             [this](auto&) { told << child<QLabel>(*root, "informationLabel").text(); }},
            {u"strike"_s, [this](auto& words) { strike(words[0]); }},
            {u"scroll"_s, [this](auto&) { scrollBar().setValue(100); }},
        });
        watchDocument();
        views.push_back({"scrolled ", [this] { return QString::number(scrollBar().value()); }});
        watchTexts(u"fontNameLabel glyphLabel statusLabel textPane.undoRedoEnabled"_s);
        watchEnabled(u"s saveButton a saveAsButton g glyphList R refreshButton S saveBoardButton "
                     "D deleteButton"_s);
    }

    void push(const QString& message = {}, bool /*unfreeze*/ = false) override {
        updateLinuxFontWindow(root, known, message);
    }

    /// A font of the words' name, width, height and number of glyphs, without any lit pixel.
    std::string content(const QString& words) override {
        const QStringList each = words.split(u' ');
        FontDocument font{each[0].toStdString(), each[1].toInt(), each[2].toInt(), {}};
        font.columns.resize(each[1].toUInt() * std::size_t{each[3].toUInt()});
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

    static QString saying(const std::vector<FontPacket>& plan) {
        const int slot = plan.front().payload.back();
        return (plan.size() == 1 ? u"deletes %1"_s : u"saves %1"_s).arg(slot);
    }

    QScrollBar& scrollBar() const {
        return *child<QPlainTextEdit>(*root, "textPane").verticalScrollBar();
    }

    /// Strikes keys in the glyph editor: "_" toggles the pixel under the cursor, "r" goes right.
    void strike(const QString& letters) {
        for (const QChar letter : letters) {
            QTest::keyClick(&child<QWidget>(*root, "glyphEditor"),
                            letter == u'_' ? Qt::Key_Space : Qt::Key_Right);
        }
    }
};

} // namespace

class FontWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void changesTheBoardWhenThatIsAgreedOn() {
        Scene scene;
        QVERIFY(scene.holdsFocus("refreshButton"));
        scene.play(R"(
            look => Font Manager; No font file loaded.; Slot 0 Not read; scrolled 0; No font file
                loaded; Glyph 0 ASCII 32; No slot information read yet.; false; +R
            information => Name: — Width: — pixels Height: — pixels Glyphs: — Columns per glyph: —
                Declared size: — Loaded columns: —
            write a.txt Sample<b> 5 7 97 => a.txt Sample<b> 5x7x97
            openButton | /a.txt => ? Open Font; Sample<b> 5x7x97; Sample<b>; +sag
            information => Name: Sample<b> Width: 5 pixels Height: 7 pixels Glyphs: 97 Columns per
                glyph: 5 Declared size: 485 Loaded columns: 485
            glyph 0 => SP
            glyph 94 => ~; Glyph 94 ASCII 126
            glyph 96 => 96; Glyph 96 ASCII 128
            refreshButton => refreshes
            slot 0 => Slot 0 Empty; +S
            slot 1 <i>Old</i> %1 => Slot 1 <i>Old</i> %1; +D
            says Disconnected. => Disconnected.
            forget => Slot 1 Not read; -SD
            slot 3 <i>Old</i> %1 => Slot 3 <i>Old</i> %1; +SD
            deleteButton | Return => ? Delete Font: Delete the font in PCB slot 3? Current slot:
                <i>Old</i> %1 This permanently changes PCB storage. Local font files are unchanged.
                [Cancel]
            write b.txt Big 1 1 256 => b.txt Big 1x1x256
            openButton | /b.txt => ? Open Font; Big 1x1x256; Big; Glyph 0 ASCII 32
            saveBoardButton | OK => ? Font Manager: Font dimensions or slot exceed PCB limits.
            newButton | OK => ? New Font; Font Manager *; New Font 8x8x95; New Font
            slot 1 => Slot 1 Empty; -D
            saveBoardButton | Return => ? Save Font to Pivex: Save the current font in PCB slot 1?
                Current slot: Empty This permanently changes PCB storage. Local font files are
                unchanged. [Cancel]
            saveBoardButton | Yes => saves 1; ? Save Font to Pivex [Cancel]; Saving font to selected
                slot…
            saveBoardButton | Yes after busy => ? Save Font to Pivex [Cancel]
            ready =>
            saveBoardButton | Yes after slot 2 => ? Save Font to Pivex [Cancel]; Slot 2 Empty
            saveBoardButton | Yes after slot 2 New => ? Save Font to Pivex: Save the current font in
                PCB slot 2? Current slot: Empty This permanently changes PCB storage. Local font
                files are unchanged. [Cancel]; Slot 2 New; +D
            slot 4 Old => Slot 4 Old
            deleteButton | Yes after slot 4 New => ? Delete Font: Delete the font in PCB slot 4?
                Current slot: Old This permanently changes PCB storage. Local font files are
                unchanged. [Cancel]; Slot 4 New
            deleteButton | Yes => deletes 4; ? Delete Font: Delete the font in PCB slot 4? Current
                slot: New This permanently changes PCB storage. Local font files are unchanged.
                [Cancel]; Deleting font from selected slot…
            unready => -RSD
        )");
    }

    void makesEditsSavesAndOpens() {
        Scene scene;
        QFile file(scene.folder.filePath(u"large.bad"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(4'000'001));
        scene.play(R"(
            newButton | OK after fill nameEdit \t | OK | OK after fill nameEdit \tGröße\nzwei after
                fill widthBox 3 after fill glyphsBox 1000 => ? New Font; ? New Font: Enter a font
                name.; ? New Font; Font Manager *; Größe zwei 3x8x224; Größe zwei; +sag
            saveButton | Escape => ? Save Font
            write a.txt Sample 8 8 95 => a.txt Sample 8x8x95
            openButton | /a.txt | Discard => ? Open Font; ? Unsaved font: Save your font changes
                before continuing? [Cancel]; Font Manager; Sample 8x8x95; Sample
            glyph 33 => A; Glyph 33 ASCII 65
            scroll => scrolled 100
            strike _ => Font Manager *; Sample 8x8x95 264=128
            strike r_ => Sample 8x8x95 264=128 265=128
            strike _ => Sample 8x8x95 264=128
            openButton | /a.txt | Discard => ? Open Font; ? Unsaved font [Cancel]; Font Manager;
                Sample 8x8x95; scrolled 0; Glyph 0 ASCII 32
            write b.txt Ωmega 8 8 1 => b.txt Ωmega 8x8x1
            openButton | /b.txt => ? Open Font; Ωmega 8x8x1; Ωmega
            strike _ => Font Manager *; Ωmega 8x8x1 1=128
            saveButton => b.txt Ωmega 8x8x1 1=128; Font Manager
            saveAsButton | /c => ? Save Font; c.txt Ωmega 8x8x1 1=128
            strike r_ => Font Manager *; Ωmega 8x8x1 1=128 2=128
            saveAsButton | /missing/d.txt | OK => ? Save Font; ? Font Manager: No such file or
                directory
            openButton | /large.bad | OK => ? Open Font; ? Font Manager: Font file is too large
                (maximum 4 MB).
            openButton | /c.txt | Save => ? Open Font; ? Unsaved font [Cancel]; c.txt Ωmega 8x8x1
                1=128 2=128; Font Manager
            newButton | Escape => ? New Font
            strike r_ => Font Manager *; Ωmega 8x8x1 1=128 2=128 3=128
            newButton | Return => ? Unsaved font [Cancel]
            close | Escape => stays; ? Unsaved font [Cancel]
            drop => no a.txt; no b.txt; no c.txt; no large.bad
            close | Save | OK => stays; ? Unsaved font [Cancel]; ? Font Manager
            close | Discard => closes; ? Unsaved font [Cancel]; closed
        )");
    }
};

QTEST_MAIN(FontWindowTest)
#include "FontWindowTest.moc"
