#pragma once

#include "device/SerialConnection.h"
#include "model/ChipDocument.h"
#include "tools/FocusKeeper.h"

#include <QKeySequence>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

class QAction;
class QBoxLayout;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QPlainTextEdit;
class QPushButton;

namespace pivex {

class CodeEditor;
struct LinuxFontHooks;
struct LinuxImageHooks;
struct LinuxSettingsHooks;

/// The main window: chip files on disk, the chip test being edited, the tests stored on the board,
/// and the one connection to it. Owns what is known of the board and passes it on to the tool
/// windows. At most one board operation runs at a time, whichever window asked for it.
class ChipWindow : public QMainWindow {
    Q_OBJECT

public:
    /// Builds the window with a new document; `timings` are the waits of its connection.
    explicit ChipWindow(ConnectionTimings timings = {});

    /// Deletes the open tool windows first: they call back into this window.
    ~ChipWindow() override;

    /// What the widgets hold, as it stands, texts in UTF-8.
    ChipDocument document() const;

    /// Fills the widgets from `source` and makes `path` the current file; empty means no file.
    void populate(const ChipDocument& source, const QString& path);

    /// Appends the files to the chip file list, each absolute path once, and loads none.
    void addPaths(const QStringList& paths);

    /// Reads a file into the editor, asking first when there are unsaved changes; true when it was
    /// loaded. A file that cannot be read is reported before anything is asked.
    bool loadPath(const QString& path);

    /// Saves to the current file, or to one that the user chooses when there is none or `saveAs`
    /// is set; true when it was written. Whatever fails is reported in one box.
    bool save(bool saveAs);

    /// Whether it is fine to replace the document: asks when there are unsaved changes.
    bool confirmDiscard();

    /// Compiles the document and shows the result; on an error the caret moves to its line.
    void compile();

    /// Shows every problem that the checker finds.
    void scan();

    /// Starts connecting to `port`, listed or not; nothing while connecting or connected.
    void connectTo(const QString& port);

    /// Opens the tool window or raises the open one; a fresh one reads the board when it is idle.
    void openFonts();
    void openImages();
    void openSettings();

    /// The upload plans of all listed files, in list order, from what is saved on disk. Throws
    /// std::runtime_error that names the first bad file.
    std::vector<UploadPlan> batchPlans() const;

    /// Drives the window through a short round without showing it; prints one line that says what
    /// failed and returns whether everything passed.
    bool smoke();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    using Action = void (ChipWindow::*)();

    struct LinkControls {
        QLabel* status = nullptr;
        QComboBox* port = nullptr;
        QPushButton* refresh = nullptr;
        QPushButton* connect = nullptr;
    };

    struct DocumentFields {
        CodeEditor* code = nullptr;
        QLineEdit* name = nullptr;
        QComboBox* type = nullptr;
        QComboBox* pins = nullptr;
        QComboBox* image = nullptr;
        std::array<QLineEdit*, 8> strings{};
    };

    struct UploadControls {
        QPushButton* send = nullptr;
        QPushButton* save = nullptr;
        QPushButton* batch = nullptr;
    };

    struct StoredControls {
        QListWidget* list = nullptr;
        QPushButton* refresh = nullptr;
        QPushButton* load = nullptr;
        QPushButton* remove = nullptr;
        QAction* refreshEntry = nullptr;
        QAction* deleteAllEntry = nullptr;
    };

    // Layout and menus.
    QWidget* centralPane();
    void addHeaderRow(QBoxLayout* pane);
    void addPortRow(QBoxLayout* pane);
    QWidget* filePane(QWidget* parent);
    QWidget* codePane(QWidget* parent);
    void addEditorRow(QBoxLayout* pane);
    void addOutputPane(QBoxLayout* pane);
    void addOutputRow(QBoxLayout* pane);
    void addStringForm(QBoxLayout* pane);
    QWidget* storedPane(QWidget* parent);
    void addMetadataForm(QBoxLayout* pane);
    void makeMenus();
    void makeToolsMenu();
    void watchWidgets();
    void undo();
    void redo();
    QPushButton* button(QBoxLayout* parent, const QString& text, const char* name, Action action);
    QAction* entry(QMenu* menu, const QString& text, const char* name, Action action,
                   const QList<QKeySequence>& keys = {});

    // The document and its file.
    static ChipDocument newDocument();
    static void options(QComboBox* box, std::span<const MetadataOption> list, std::int32_t value);
    static ChipDocument read(const QString& path);
    static void write(const QString& path, const ChipDocument& source);
    QString choosePath();
    void addFiles();
    void loadCurrentFile();
    void removeCurrentFile();
    void clearFiles();
    void newFile();
    void saveFile();
    void saveFileAs();
    void changed();
    void title();
    void clearOutput();
    void report(const QString& text);
    void report(const SerialEvent& event);
    void error(const QString& message);
    void gotoLine(std::int32_t line);

    // Actions on the board.
    bool ready() const;
    void refreshPorts();
    void offerPorts(const std::vector<std::wstring>& ports);
    void toggleConnection();
    void connectBoard(const QString& port);
    void disconnectBoard();
    void dropLink();
    QString interruptionText() const;
    bool confirmStopUpload();
    void sendToPivex();
    void saveToPivex();
    void batchSaveToPivex();
    void refreshStoredChips();
    void loadSelectedChip();
    void deleteSelectedChip();
    void deleteAllChips();
    void startOperation(std::initializer_list<bool*> flags);
    void deviceControls();

    // The parts of the self-check; each throws a sentence about what it found wrong.
    void checkFileRound();
    void checkCodeActions();
    void checkBoardStates();

    // What the connection reports.
    void serialEvents();
    void handle(SerialEvent& event);
    void onStatus(SerialEvent& event);
    void onConnected(SerialEvent& event);
    void onChipListed(SerialEvent& event);
    void onChipListDone(SerialEvent& event);
    void onFailed(SerialEvent& event);
    void onChipLoaded(SerialEvent& event);
    void onUploadDone(SerialEvent& event);
    void onUploadModeMissing(SerialEvent& event);
    void onStorageChanged(SerialEvent& event);
    void onChipListStarted(SerialEvent& event);
    void onFontSlotLoaded(SerialEvent& event);
    void onFontSlotsDone(SerialEvent& event);
    void onImageSlotsLoaded(SerialEvent& event);
    void onImageLoaded(SerialEvent& event);
    void onImageDeleted(SerialEvent& event);
    void onImageSlotsDone(SerialEvent& event);
    void onSettingsLoaded(SerialEvent& event);

    // The tool windows.
    LinuxFontHooks fontHooks();
    LinuxImageHooks imageHooks();
    LinuxSettingsHooks settingsHooks();
    void readFonts();
    void writeFonts(std::vector<FontPacket> packets);
    void readImages();
    void loadImage(int slot);
    void saveImage(std::vector<ImagePacket> packets);
    void deleteImage(int slot);
    void requestSettings(Bytes payload);
    void clearFontState(const QString& message);
    void clearImageState(const QString& message);
    void clearSettingsState(const QString& message);
    void endToolOperation(bool& pending);
    void pushToolState();
    void passStatus(const QString& text);
    void startPendingRead();
    bool closeToolWindows();

    LinkControls link;
    DocumentFields fields;
    UploadControls uploads;
    StoredControls stored;
    QListWidget* files = nullptr;
    QPlainTextEdit* output = nullptr;

    FocusKeeper focus{this};

    QString filePath;               ///< empty for a document that was never saved
    bool dirty = false;             ///< edited since the last load or save
    bool loading = false;           ///< the widgets are being filled: their changes are no edits
    std::uint64_t revision = 0;     ///< counts edits and fills
    std::uint64_t readRevision = 0; ///< `revision` when a stored test was requested
    std::uint64_t sentRevision = 0; ///< `revision` at the last Send
    QString uploadName;             ///< chip name at the last Send

    bool linked = false;      ///< the port is open, or being opened
    bool connected = false;   ///< the board has identified itself
    bool busy = false;        ///< an operation runs; every other one waits
    bool uploading = false;   ///< it is a Send
    bool deleting = false;    ///< it deletes stored tests
    bool storing = false;     ///< it writes to permanent storage
    bool saveAllowed = false; ///< the last upload was acknowledged and is what the editor shows

    FontSlots fontSlots;
    ImageSlots imageSlots;
    bool fontPending = false; ///< the running operation serves this window
    bool imagePending = false;
    bool settingsPending = false;
    bool fontStale = false; ///< to be read as soon as the board is idle
    bool imageStale = false;
    bool settingsStale = false;
    QPointer<QWidget> fontWindow;
    QPointer<QWidget> imageWindow;
    QPointer<QWidget> settingsWindow;

    SerialConnection connection;
    QTimer pollTimer{this};
};

} // namespace pivex
