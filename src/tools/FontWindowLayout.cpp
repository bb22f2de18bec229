#include "tools/FontCanvas.h"
#include "tools/FontSlotList.h"
#include "tools/FontWindowPrivate.h"
#include "tools/GlyphModel.h"
#include "tools/TextPane.h"
#include "tools/WidgetParts.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

QScrollArea* makeScrollArea(QWidget* content, QWidget* parent) {
    auto* area = new QScrollArea(parent);
    area->setWidgetResizable(true);
    area->setWidget(content);
    area->setAccessibleName(content->accessibleName());
    return area;
}

} // namespace

FontWindow::FontWindow(QWidget* parent, LinuxFontHooks callbacks)
    : QWidget(parent, Qt::Window),
      hooks(std::move(callbacks)),
      nameLabel(makeTextLabel(u"fontNameLabel"_s, this)),
      newButton(makeButton(u"New Font…"_s, u"newButton"_s, this)),
      openButton(makeButton(u"Open Font…"_s, u"openButton"_s, this)),
      saveButton(makeButton(u"Save"_s, u"saveButton"_s, this)),
      saveAsButton(makeButton(u"Save As…"_s, u"saveAsButton"_s, this)),
      slotList(new FontSlotList(this)),
      refreshButton(makeButton(u"Refresh Slots"_s, u"refreshButton"_s, this)),
      saveBoardButton(makeButton(u"Save to Pivex"_s, u"saveBoardButton"_s, this)),
      deleteButton(makeButton(u"Delete Font from Slot"_s, u"deleteButton"_s, this)),
      glyphLabel(new QLabel(this)),
      editor(new FontCanvas(open, FontCanvas::Role::Editor, this)),
      informationLabel(makeTextLabel(u"informationLabel"_s, this)),
      glyphModel(new GlyphModel(this)),
      glyphList(new QListView(this)),
      preview(new FontCanvas(open, FontCanvas::Role::Preview, this)),
      status(makeTextLabel(u"statusLabel"_s, this)),
      textPane(new TextPane(this)) {
    setAttribute(Qt::WA_DeleteOnClose);
    resize(1180, 740);
    status->setWordWrap(true);
    textPane->setObjectName(u"textPane"_s);
    textPane->setMaximumHeight(145);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(makeHeader());
    layout->addWidget(makePanes(), 1);
    layout->addWidget(status);
    layout->addWidget(makeCaption(u"Font File Text"_s, textPane, this));
    layout->addWidget(textPane);

    fitToScreen(this);
    connectActions();
    addShortcuts();
    connectLists();
    updateDocument(Change::Font);
    state({}, u"No slot information read yet."_s);
}

QLayout* FontWindow::makeHeader() {
    auto* heading = new QLabel(u"Font Manager"_s, this);
    heading->setStyleSheet(u"font-size:20px;font-weight:bold"_s);
    auto* row = new QHBoxLayout;
    row->addWidget(heading);
    row->addStretch();
    row->addWidget(nameLabel);
    for (QPushButton* button : {newButton, openButton, saveButton, saveAsButton}) {
        row->addWidget(button);
    }
    return row;
}

QWidget* FontWindow::makePanes() {
    auto* splitter = new QSplitter(Qt::Horizontal, this);
    splitter->addWidget(makeSlotPane());
    splitter->addWidget(makeEditorPane());
    splitter->addWidget(makeGlyphPane());
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setStretchFactor(2, 1);
    splitter->setSizes({190, 620, 350});
    return splitter;
}

QWidget* FontWindow::makeSlotPane() {
    auto* pane = new QWidget(this);
    auto* layout = new QVBoxLayout(pane);
    slotList->setObjectName(u"slotList"_s);
    layout->addWidget(makeCaption(u"Pivex Font Slots"_s, slotList, pane));
    layout->addWidget(slotList);
    for (QPushButton* button : {refreshButton, saveBoardButton, deleteButton}) {
        layout->addWidget(button);
    }
    return pane;
}

QWidget* FontWindow::makeEditorPane() {
    auto* pane = new QWidget(this);
    editor->setObjectName(u"glyphEditor"_s);
    glyphLabel->setObjectName(u"glyphLabel"_s);
    auto* row = new QHBoxLayout;
    row->addWidget(makeCaption(u"Glyph Editor"_s, editor, pane));
    row->addStretch();
    row->addWidget(glyphLabel);
    informationLabel->setMinimumSize(180, 135);
    informationLabel->setStyleSheet(u"background:#293135;padding:8px;border-radius:8px"_s);

    auto* layout = new QVBoxLayout(pane);
    layout->addLayout(row);
    QScrollArea* area = makeScrollArea(editor, pane);
    area->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(area, 1);
    layout->addWidget(new QLabel(u"Font Information"_s, pane));
    layout->addWidget(informationLabel);
    return pane;
}

QWidget* FontWindow::makeGlyphPane() {
    auto* pane = new QWidget(this);
    auto* layout = new QVBoxLayout(pane);
    setUpGlyphList();
    preview->setObjectName(u"fontPreview"_s);
    layout->addWidget(makeCaption(u"Glyphs"_s, glyphList, pane));
    layout->addWidget(glyphList);
    layout->addWidget(makeCaption(u"Current Font Preview"_s, preview, pane));
    QScrollArea* area = makeScrollArea(preview, pane);
    layout->addWidget(area);
    setTabOrder(glyphList, area);
    return pane;
}

void FontWindow::setUpGlyphList() {
    glyphList->setObjectName(u"glyphList"_s);
    glyphList->setModel(glyphModel);
    markCurrentRow(glyphList);
    glyphList->setViewMode(QListView::IconMode);
    glyphList->setFlow(QListView::LeftToRight);
    glyphList->setWrapping(true);
    glyphList->setResizeMode(QListView::Adjust);
    glyphList->setMovement(QListView::Static);
    glyphList->setGridSize({43, 39});
    glyphList->setUniformItemSizes(true);
    glyphList->setSelectionMode(QAbstractItemView::SingleSelection);
    glyphList->setMinimumHeight(155);
    glyphList->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    glyphList->setStyleSheet(
        u"QListView::item { background:#343e42; border-radius:4px; margin:2px; } "
        "QListView::item:selected { background:#2677b7; }"_s);
}

void FontWindow::connectActions() {
    connect(newButton, &QPushButton::clicked, this, [this] { newFont(); });
    connect(openButton, &QPushButton::clicked, this, [this] { openFont(); });
    connect(saveButton, &QPushButton::clicked, this, [this] { save(false); });
    connect(saveAsButton, &QPushButton::clicked, this, [this] { save(true); });
    connect(refreshButton, &QPushButton::clicked, this, [this] { refresh(); });
    connect(saveBoardButton, &QPushButton::clicked, this, [this] { writePCB(BoardAction::Save); });
    connect(deleteButton, &QPushButton::clicked, this, [this] { writePCB(BoardAction::Delete); });
}

void FontWindow::addShortcuts() {
    new QShortcut(QKeySequence::New, this, [this] { newFont(); });
    new QShortcut(QKeySequence::Open, this, [this] { openFont(); });
    new QShortcut(QKeySequence::Save, this, [this] { save(false); });
    new QShortcut(QKeySequence::SaveAs, this, [this] { save(true); });
}

void FontWindow::connectLists() {
    connect(slotList, &QListWidget::currentRowChanged, this, &FontWindow::selectSlot);
    connect(glyphList->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { selectGlyph(current.row()); });
    editor->onEdited([this] {
        dirty = true;
        updateDocument(Change::Glyph);
    });
}

} // namespace pivex
