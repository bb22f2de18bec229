#pragma once

#include "tools/FocusKeeper.h"
#include "tools/FontCanvas.h"
#include "tools/FontWindow.h"

#include <QString>
#include <QWidget>

#include <stdexcept>

class QLabel;
class QLayout;
class QListView;
class QPushButton;

namespace pivex {

class FontSlotList;
class GlyphModel;
class TextPane;

/// The Font Manager's window. Only its own sources, its self-check and its benchmark see this
/// class; everyone else comes through the entry points. Everything runs on the GUI thread.
class FontWindow : public QWidget {
public:
    FontWindow(QWidget* parent, LinuxFontHooks callbacks);

    /// Takes over the board's slots and shows `message` unless it is empty.
    void state(const FontSlots& slotInfo, const QString& message);

    /// Edits `font` from now on. `path` is empty unless it came from a file.
    void adopt(FontDocument font, const QString& path, bool isUnsaved);

    /// Reads a font file and, when the user lets go of unsaved changes, adopts it. Throws
    /// std::runtime_error when the file holds no font; nothing has then changed.
    void readFile(const QString& path);

    /// Writes the open font to `path`, which becomes its file. Throws std::runtime_error; the font
    /// then stays unsaved.
    void savePath(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    /// What a change of the document touches.
    enum class Change {
        Font,  ///< another font: every widget begins anew
        Glyph, ///< the selected glyph or the file state: only what differs is written
    };

    enum class BoardAction { Save, Delete };

    QLayout* makeHeader();
    QWidget* makePanes();
    QWidget* makeSlotPane();
    QWidget* makeEditorPane();
    QWidget* makeGlyphPane();
    void setUpGlyphList();
    void connectActions();
    void addShortcuts();
    void connectLists();

    void updateDocument(Change change);
    void showText(Change change);
    void showGlyphNumber();
    void controls();
    void selectGlyph(int glyph);
    void selectSlot(int row);

    bool mayDiscard();
    void newFont();
    void openFont();
    bool save(bool saveAs);
    QString askSavePath();
    void fail(const std::runtime_error& error);

    bool ready() const { return hooks.ready && hooks.ready(); }

    const FontSlot& slot() const { return fontSlots[static_cast<std::size_t>(selectedSlot)]; }

    bool isAllowed(BoardAction action) const;
    void refresh();
    void writePCB(BoardAction action);
    bool confirm(BoardAction action);

    LinuxFontHooks hooks;
    FocusKeeper focus{this};
    FontSlots fontSlots;
    OpenFont open;
    QString filePath; ///< empty for a font that has no file
    bool dirty = false;
    int selectedSlot = 0;

    QLabel* nameLabel;
    QPushButton* newButton;
    QPushButton* openButton;
    QPushButton* saveButton;
    QPushButton* saveAsButton;
    FontSlotList* slotList;
    QPushButton* refreshButton;
    QPushButton* saveBoardButton;
    QPushButton* deleteButton;
    QLabel* glyphLabel;
    FontCanvas* editor;
    QLabel* informationLabel;
    GlyphModel* glyphModel;
    QListView* glyphList;
    FontCanvas* preview;
    QLabel* status;
    TextPane* textPane;
};

} // namespace pivex
