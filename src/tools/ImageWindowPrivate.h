#pragma once

#include "tools/FocusKeeper.h"
#include "tools/ImageCanvas.h"
#include "tools/ImageCodeView.h"
#include "tools/ImageWindow.h"

#include <QString>
#include <QWidget>

#include <optional>
#include <stdexcept>

class QButtonGroup;
class QLabel;
class QLayout;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace pivex {

class SizeBox;

/// Shows a drawing colour (RGB565) on the button that changes it.
void paintButton(QPushButton* button, std::uint16_t color);

/// The Image Manager's window. Only its own sources and its self-check see this class; everyone
/// else comes through the entry points. Everything runs on the GUI thread.
class ImageWindow : public QWidget {
public:
    ImageWindow(QWidget* parent, LinuxImageHooks callbacks);
    ~ImageWindow() override;

    /// Takes over the board's slots and shows `message` unless it is empty; `unfreeze` releases an
    /// outstanding download. Never opens a dialog, starts a request or touches the artwork.
    void state(const ImageSlots& slotInfo, const QString& message, bool unfreeze);

    /// Adopts a downloaded image, if one was asked for.
    void loaded(ImageDocument image);

    /// Marks a deletable slot as emptied.
    void deleted(int slot);

    /// Edits `image` from now on, without undo steps. `path` is empty unless it came from a file.
    void adopt(ImageDocument image, const QString& path, bool isUnsaved);

    /// Reads an image file and, when the user lets go of unsaved changes, adopts it. Throws
    /// std::runtime_error when the file holds no image; nothing has then changed.
    void readFile(const QString& path);

    /// Writes the image to `path`, which becomes its file. A failure is shown; then false.
    bool savePath(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* makeArtworkPanes();
    QWidget* makeToolPane();
    QLayout* makeToolRow();
    QLayout* makeColorRow();
    QLayout* makeZoomRow();
    QWidget* makeEditorPane();
    QLayout* makeNameRow();
    QWidget* makeBoardPanes();
    QWidget* makeSlotPane();
    QWidget* makeCodePane();
    QLayout* makeSizeRow();
    QLayout* makeButtonRow();
    void addShortcuts();
    void warnOf(const std::runtime_error& error);

    void refresh(bool synchronise);
    void showFields(const ImageDocument* image);
    void showSize(std::size_t bytes);
    void controls();
    bool isReady() const;
    bool isEditable() const;
    bool isPlanValid() const;

    void selectTool(int id);
    void chooseColor(std::uint16_t& color, QPushButton* button);
    void changeZoom(int step);
    void rename(const QString& name);
    void artworkChanged();
    void undo();
    void resizeImage();

    void newDocument();
    void openFile();
    bool save(bool saveAs);
    QString askSavePath();
    bool discard();

    void refreshPCB();
    void loadPCB();
    void writePCB();
    void deletePCB();
    bool confirmReplacement();
    const ImageSlot& selected() const;
    void selectSlot(int row);
    void showSlots();

    LinuxImageHooks hooks;
    FocusKeeper focus{this};
    ImageSlots boardSlots;
    std::optional<ImageDrawing> drawing;
    bool dirty = false;
    bool awaitingDownload = false; ///< a download is under way: nothing may be edited or asked
    int selectedSlot = 1;
    QString filePath; ///< empty for an image that has no file

    ImageCanvas* preview = nullptr;
    ImageCanvas* canvas = nullptr;
    QButtonGroup* toolButtons = nullptr;
    QPushButton* undoButton = nullptr;
    QPushButton* zoomOutButton = nullptr;
    QPushButton* zoomInButton = nullptr;
    QLabel* zoomLabel = nullptr;
    QLineEdit* nameEdit = nullptr;
    SizeBox* widthBox = nullptr;
    SizeBox* heightBox = nullptr;
    QListWidget* slotList = nullptr;
    QPushButton* refreshButton = nullptr;
    ImageCodeView* codeView = nullptr;
    QLabel* sizeLabel = nullptr;
    QLabel* statusLabel = nullptr;
    QPushButton* newButton = nullptr;
    QPushButton* loadFileButton = nullptr;
    QPushButton* saveAsButton = nullptr;
    QPushButton* loadBoardButton = nullptr;
    QPushButton* saveBoardButton = nullptr;
    QPushButton* deleteBoardButton = nullptr;
};

} // namespace pivex
