#include "app/ChipWindow.h"

#include "app/CodeEditor.h"
#include "app/Highlighter.h"
#include "app/InsertDialog.h"
#include "tools/WidgetParts.h"

#include <QAction>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>
#include <future>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int listHeight = 160;
constexpr std::chrono::milliseconds pollInterval{100};

void setName(QObject* object, const char* name) {
    object->setObjectName(QLatin1StringView(name));
}

// Every widget is made inside its pane: one that is moved there later gets its style twice.

QListWidget* addList(QBoxLayout* parent, const QString& caption, const char* name) {
    auto* label = new QLabel(caption, parent->parentWidget());
    auto* list = new QListWidget(parent->parentWidget());
    setName(list, name);
    // The toolkit names an edit by its buddy, but not a list.
    list->setAccessibleName(caption);
    list->setFixedHeight(listHeight);
    list->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    label->setBuddy(list);
    markCurrentRow(list);
    clearRows(list);
    parent->addWidget(label);
    parent->addWidget(list);
    return list;
}

QLineEdit* addLineEdit(QFormLayout* form, const QString& caption, const QString& name) {
    auto* edit = makeLineEdit(name, form->parentWidget());
    form->addRow(caption, edit);
    return edit;
}

QComboBox* addChoice(QFormLayout* form, const QString& caption, const char* name) {
    auto* box = new QComboBox(form->parentWidget());
    setName(box, name);
    guardFromWheel(box);
    form->addRow(caption, box);
    return box;
}

} // namespace

ChipWindow::ChipWindow(ConnectionTimings timings) : connection(timings) {
    // The system takes as long to list its ports as the panes take to be made.
    std::future<std::vector<std::wstring>> ports =
        std::async(std::launch::async, SerialConnection::ports);
    QWidget* pane = centralPane();
    setCentralWidget(pane);
    makeMenus();
    fitToScreen(pane, menuBar()->sizeHint().height());
    resize(1180, 820);
    watchWidgets();
    populate(newDocument(), {});
    offerPorts(ports.get());
    fields.code->setFocus();
    pollTimer.setObjectName(u"pollTimer"_s);
    QObject::connect(&pollTimer, &QTimer::timeout, this, &ChipWindow::serialEvents);
    pollTimer.start(pollInterval);
}

ChipWindow::~ChipWindow() {
    pollTimer.stop();
    for (const QPointer<QWidget>& window : {fontWindow, imageWindow, settingsWindow}) {
        delete window.data();
    }
}

QWidget* ChipWindow::centralPane() {
    auto* pane = new QWidget(this);
    auto* layout = new QVBoxLayout(pane);
    addHeaderRow(layout);
    addPortRow(layout);
    auto* panes = new QSplitter(Qt::Horizontal, pane);
    panes->addWidget(filePane(panes));
    panes->addWidget(codePane(panes));
    panes->addWidget(storedPane(panes));
    panes->setStretchFactor(1, 1);
    panes->setSizes({190, 740, 250});
    layout->addWidget(panes, 1);
    return pane;
}

void ChipWindow::addHeaderRow(QBoxLayout* pane) {
    auto* row = new QHBoxLayout;
    pane->addLayout(row);
    auto* caption = new QLabel(u"PivexGUI"_s, pane->parentWidget());
    caption->setStyleSheet(u"font-size:24px"_s);
    link.status = new QLabel(u"Not Connected"_s, pane->parentWidget());
    setName(link.status, "statusLabel");
    link.status->setTextFormat(Qt::PlainText);
    // A board with a long name must not widen the window.
    link.status->setMinimumWidth(1);
    row->addWidget(caption);
    row->addStretch();
    row->addWidget(link.status);
}

void ChipWindow::addPortRow(QBoxLayout* pane) {
    auto* row = new QHBoxLayout;
    pane->addLayout(row);
    auto* caption = new QLabel(u"Port:"_s, pane->parentWidget());
    link.port = new QComboBox(pane->parentWidget());
    setName(link.port, "portBox");
    link.port->setEditable(true);
    guardFromWheel(link.port);
    // What is typed stays as it is typed: it is not listed on Return and never completed.
    link.port->setInsertPolicy(QComboBox::NoInsert);
    link.port->setCompleter(nullptr);
    link.port->setMinimumWidth(240);
    link.port->setToolTip(u"USB serial port, usually /dev/ttyACM0"_s);
    caption->setBuddy(link.port);
    row->addWidget(caption);
    row->addWidget(link.port);
    link.refresh = button(row, u"Refresh"_s, "portRefreshButton", &ChipWindow::refreshPorts);
    link.connect = button(row, u"Connect"_s, "connectButton", &ChipWindow::toggleConnection);
    row->addStretch();
}

QWidget* ChipWindow::filePane(QWidget* parent) {
    auto* pane = new QWidget(parent);
    auto* layout = new QVBoxLayout(pane);
    files = addList(layout, u"Chip Files"_s, "chipFileList");
    button(layout, u"Add Files"_s, "addFilesButton", &ChipWindow::addFiles);
    button(layout, u"Load"_s, "loadButton", &ChipWindow::loadCurrentFile);
    button(layout, u"Remove from List"_s, "removeButton", &ChipWindow::removeCurrentFile);
    button(layout, u"Clear List"_s, "clearListButton", &ChipWindow::clearFiles);
    button(layout, u"New File"_s, "newFileButton", &ChipWindow::newFile);
    layout->addStretch();
    uploads.send = button(layout, u"Send to Pivex"_s, "sendButton", &ChipWindow::sendToPivex);
    uploads.send->setToolTip(u"Compile and send the current editor contents to PCB Upload Mode. "
                             "Does not save permanently or run."_s);
    uploads.save = button(layout, u"Save to Pivex"_s, "saveButton", &ChipWindow::saveToPivex);
    uploads.batch =
        button(layout, u"Batch Save to Pivex"_s, "batchSaveButton", &ChipWindow::batchSaveToPivex);
    // Large letters need more.
    pane->setMinimumWidth(std::max(175, layout->minimumSize().width()));
    return pane;
}

QWidget* ChipWindow::codePane(QWidget* parent) {
    auto* pane = new QWidget(parent);
    auto* layout = new QVBoxLayout(pane);
    addEditorRow(layout);
    addOutputPane(layout);
    addOutputRow(layout);
    addStringForm(layout);
    return pane;
}

void ChipWindow::addEditorRow(QBoxLayout* pane) {
    auto* row = new QHBoxLayout;
    pane->addLayout(row, 1);
    fields.code = new CodeEditor(pane->parentWidget());
    setName(fields.code, "codeEditor");
    fields.code->setAccessibleName(u"Code"_s);
    fields.code->setLineWrapMode(QPlainTextEdit::NoWrap);
    fields.code->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    // Attached while the text is empty: to a filled one it reports a change later on, which would
    // mark a fresh document as edited.
    new Highlighter(fields.code->document());
    row->addWidget(fields.code, 1);
    row->addWidget(makeInsertColumn(
        fields.code, [this] { return fields.pins->currentData().toInt(); }, pane->parentWidget()));
}

void ChipWindow::addOutputPane(QBoxLayout* pane) {
    output = new QPlainTextEdit(pane->parentWidget());
    setName(output, "outputPane");
    output->setAccessibleName(u"Output"_s);
    output->setReadOnly(true);
    output->setMaximumHeight(110);
    pane->addWidget(output);
}

void ChipWindow::addOutputRow(QBoxLayout* pane) {
    auto* row = new QHBoxLayout;
    pane->addLayout(row);
    button(row, u"Compile (F7)"_s, "compileButton", &ChipWindow::compile);
    button(row, u"Scan Errors"_s, "scanButton", &ChipWindow::scan);
    button(row, u"Clear Output"_s, "clearOutputButton", &ChipWindow::clearOutput);
}

void ChipWindow::addStringForm(QBoxLayout* pane) {
    auto* form = new QFormLayout;
    pane->addLayout(form);
    for (std::size_t i = 0; i < fields.strings.size(); ++i) {
        fields.strings[i] = addLineEdit(form, u"String %1:"_s.arg(i), u"string%1"_s.arg(i));
    }
}

QWidget* ChipWindow::storedPane(QWidget* parent) {
    auto* pane = new QWidget(parent);
    auto* layout = new QVBoxLayout(pane);
    stored.list = addList(layout, u"Pivex Chips"_s, "storedChipList");
    stored.list->setToolTip(u"Stored PCB tests. Select one, then Load Selected to read it into the "
                            "editor; it will not run."_s);
    stored.refresh = button(layout, u"Refresh"_s, "refreshButton", &ChipWindow::refreshStoredChips);
    stored.load =
        button(layout, u"Load Selected"_s, "loadSelectedButton", &ChipWindow::loadSelectedChip);
    stored.remove = button(layout, u"Delete Selected"_s, "deleteSelectedButton",
                           &ChipWindow::deleteSelectedChip);
    layout->addStretch();
    addMetadataForm(layout);
    layout->addStretch();
    button(layout, u"Save File As…"_s, "saveAsButton", &ChipWindow::saveFileAs);
    button(layout, u"Save File"_s, "saveFileButton", &ChipWindow::saveFile);
    return pane;
}

void ChipWindow::addMetadataForm(QBoxLayout* pane) {
    auto* form = new QFormLayout;
    pane->addLayout(form);
    fields.name = addLineEdit(form, u"Chip Name"_s, u"nameEdit"_s);
    fields.type = addChoice(form, u"Type"_s, "typeBox");
    fields.pins = addChoice(form, u"No. Pins"_s, "pinsBox");
    fields.image = addChoice(form, u"Image Index"_s, "imageBox");
}

void ChipWindow::makeMenus() {
    const auto keys = [](QKeySequence::StandardKey key) { return QKeySequence::keyBindings(key); };
    QMenu* file = menuBar()->addMenu(u"File"_s);
    entry(file, u"Add Files"_s, "addFilesEntry", &ChipWindow::addFiles, keys(QKeySequence::Open));
    entry(file, u"Save"_s, "saveEntry", &ChipWindow::saveFile, keys(QKeySequence::Save));
    entry(file, u"Save As…"_s, "saveAsEntry", &ChipWindow::saveFileAs, keys(QKeySequence::SaveAs));
    QMenu* edit = menuBar()->addMenu(u"Edit"_s);
    entry(edit, u"Undo"_s, "undoEntry", &ChipWindow::undo, keys(QKeySequence::Undo));
    entry(edit, u"Redo"_s, "redoEntry", &ChipWindow::redo, keys(QKeySequence::Redo));
    QMenu* code = menuBar()->addMenu(u"Code"_s);
    entry(code, u"Compile"_s, "compileEntry", &ChipWindow::compile, {Qt::Key_F7});
    entry(code, u"Scan Errors"_s, "scanEntry", &ChipWindow::scan);
    makeToolsMenu();
}

void ChipWindow::makeToolsMenu() {
    constexpr auto control = Qt::ControlModifier;
    QMenu* tools = menuBar()->addMenu(u"Tools"_s);
    entry(tools, u"Font Manager…"_s, "fontsEntry", &ChipWindow::openFonts,
          {control | Qt::ShiftModifier | Qt::Key_F});
    entry(tools, u"Image Manager…"_s, "imagesEntry", &ChipWindow::openImages,
          {control | Qt::ShiftModifier | Qt::Key_I});
    entry(tools, u"Settings…"_s, "settingsEntry", &ChipWindow::openSettings,
          {control | Qt::Key_Comma});
    stored.refreshEntry =
        tools->addAction(u"Refresh Stored Chips"_s, stored.refresh, &QPushButton::click);
    setName(stored.refreshEntry, "refreshEntry");
    tools->addSeparator();
    stored.deleteAllEntry =
        entry(tools, u"Delete All Chips…"_s, "deleteAllEntry", &ChipWindow::deleteAllChips);
}

void ChipWindow::watchWidgets() {
    QObject::connect(fields.code, &QPlainTextEdit::textChanged, this, &ChipWindow::changed);
    QObject::connect(fields.name, &QLineEdit::textChanged, this, &ChipWindow::changed);
    for (const QLineEdit* edit : fields.strings) {
        QObject::connect(edit, &QLineEdit::textChanged, this, &ChipWindow::changed);
    }
    for (const QComboBox* box : {fields.type, fields.pins, fields.image}) {
        QObject::connect(box, &QComboBox::currentIndexChanged, this, &ChipWindow::changed);
    }
    QObject::connect(stored.list, &QListWidget::currentRowChanged, this,
                     &ChipWindow::deviceControls);
    QObject::connect(link.port, &QComboBox::currentTextChanged, this, &ChipWindow::deviceControls);
}

QPushButton* ChipWindow::button(QBoxLayout* parent, const QString& text, const char* name,
                                Action action) {
    QPushButton* made = makeButton(text, QLatin1StringView(name), parent->parentWidget());
    parent->addWidget(made);
    QObject::connect(made, &QPushButton::clicked, this, action);
    return made;
}

QAction* ChipWindow::entry(QMenu* menu, const QString& text, const char* name, Action action,
                           const QList<QKeySequence>& keys) {
    QAction* made = menu->addAction(text, this, action);
    setName(made, name);
    made->setShortcuts(keys);
    return made;
}

void ChipWindow::undo() {
    fields.code->undo();
}

void ChipWindow::redo() {
    fields.code->redo();
}

} // namespace pivex
