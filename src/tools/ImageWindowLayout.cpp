#include "tools/ImageWindowPrivate.h"
#include "tools/SizeBox.h"
#include "tools/WidgetParts.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

/// The tool buttons, in the order of the `ImageTool` values.
constexpr std::array<const char16_t*, 5> toolNames{u"Pencil", u"Fill", u"Line", u"Ellipse",
                                                   u"Circle"};

/// Two panes side by side, of which the right one takes what the window grows by.
QSplitter* makeSplitter(QWidget* left, QWidget* right, QWidget* parent) {
    auto* splitter = new QSplitter(Qt::Horizontal, parent);
    splitter->addWidget(left);
    splitter->addWidget(right);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({330, 820});
    return splitter;
}

/// Fills a pane beside a splitter's handle, from which it keeps some distance on the given side.
QVBoxLayout* fillPane(QWidget* pane, Qt::Edge handle) {
    constexpr int gap = 6;
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(handle == Qt::LeftEdge ? gap : 0, 0,
                               handle == Qt::RightEdge ? gap : 0, 0);
    return layout;
}

} // namespace

ImageWindow::ImageWindow(QWidget* parent, LinuxImageHooks callbacks)
    : QWidget(parent, Qt::Window), hooks(std::move(callbacks)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(u"imageWindow"_s);
    resize(1180, 740);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeArtworkPanes(), 3);
    layout->addLayout(makeNameRow());
    layout->addWidget(makeBoardPanes(), 2);
    layout->addLayout(makeSizeRow());
    statusLabel = makeTextLabel(u"statusLabel"_s, this);
    statusLabel->setWordWrap(true);
    layout->addWidget(statusLabel);
    layout->addLayout(makeButtonRow());
    setTabOrder(zoomInButton, canvas);
    setTabOrder(refreshButton, codeView);
    fitToScreen(this);
    addShortcuts();
    refresh(true);
    state({}, u"No image slots read yet."_s, false);
}

QWidget* ImageWindow::makeArtworkPanes() {
    // The tool pane's buttons act on the editor's canvas, which must therefore exist first.
    QWidget* editor = makeEditorPane();
    return makeSplitter(makeToolPane(), editor, this);
}

QWidget* ImageWindow::makeToolPane() {
    auto* pane = new QWidget(this);
    QVBoxLayout* layout = fillPane(pane, Qt::RightEdge);
    preview = new ImageCanvas(&drawing, ImageCanvas::Role::Preview, this);
    preview->setObjectName(u"previewCanvas"_s);
    layout->addWidget(makeCaption(u"Display Preview"_s, preview, this));
    layout->addWidget(preview, 1);
    layout->addLayout(makeToolRow());
    layout->addLayout(makeColorRow());
    layout->addLayout(makeZoomRow());
    return pane;
}

QLayout* ImageWindow::makeToolRow() {
    auto* row = new QHBoxLayout;
    toolButtons = new QButtonGroup(this);
    for (const char16_t* name : toolNames) {
        auto* button = new QToolButton(this);
        button->setText(QString::fromUtf16(name));
        button->setObjectName(button->text().toLower() + u"Button"_s);
        button->setCheckable(true);
        // The dark look alone hardly tells the current tool from the others.
        button->setStyleSheet(u"QToolButton:checked { background:#23537d; }"_s);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        toolButtons->addButton(button, static_cast<int>(toolButtons->buttons().size()));
        row->addWidget(button);
    }
    toolButtons->button(static_cast<int>(ImageTool::Pencil))->setChecked(true);
    connect(toolButtons, &QButtonGroup::idClicked, this, &ImageWindow::selectTool);
    return row;
}

QLayout* ImageWindow::makeColorRow() {
    auto* row = new QHBoxLayout;
    const auto addButton = [&](const QString& text, const QString& name, std::uint16_t& color) {
        QPushButton* button = makeButton(text, name, this);
        paintButton(button, color);
        connect(button, &QPushButton::clicked, this,
                [this, button, &color] { chooseColor(color, button); });
        row->addWidget(button);
    };
    addButton(u"Left color"_s, u"leftColorButton"_s, canvas->leftColor);
    addButton(u"Right color"_s, u"rightColorButton"_s, canvas->rightColor);
    return row;
}

QLayout* ImageWindow::makeZoomRow() {
    auto* row = new QHBoxLayout;
    row->addWidget(undoButton = makeButton(u"Undo"_s, u"undoButton"_s, this));
    row->addWidget(zoomOutButton = makeButton(u"−"_s, u"zoomOutButton"_s, this));
    row->addWidget(zoomInButton = makeButton(u"+"_s, u"zoomInButton"_s, this));
    zoomOutButton->setAccessibleName(u"Zoom out"_s);
    zoomInButton->setAccessibleName(u"Zoom in"_s);
    connect(undoButton, &QPushButton::clicked, this, &ImageWindow::undo);
    connect(zoomOutButton, &QPushButton::clicked, this, [this] { changeZoom(-1); });
    connect(zoomInButton, &QPushButton::clicked, this, [this] { changeZoom(+1); });
    return row;
}

QWidget* ImageWindow::makeEditorPane() {
    auto* pane = new QWidget(this);
    QVBoxLayout* layout = fillPane(pane, Qt::LeftEdge);
    canvas = new ImageCanvas(&drawing, ImageCanvas::Role::Edit, this);
    canvas->setObjectName(u"editCanvas"_s);
    canvas->changed = [this] { artworkChanged(); };
    zoomLabel = makeTextLabel(u"zoomLabel"_s, this);
    auto* head = new QHBoxLayout;
    head->addWidget(makeCaption(u"Image Editor"_s, canvas, this));
    head->addStretch();
    head->addWidget(zoomLabel);
    layout->addLayout(head);
    auto* scroll = new QScrollArea(this);
    scroll->setObjectName(u"editScroll"_s);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(canvas);
    canvas->cursorMoved = [this, scroll] { scroll->ensureWidgetVisible(canvas); };
    layout->addWidget(scroll, 1);
    return pane;
}

QLayout* ImageWindow::makeNameRow() {
    nameEdit = makeLineEdit(u"imageNameEdit"_s, this);
    widthBox = new SizeBox(u"widthBox"_s, maxImageWidth, this);
    heightBox = new SizeBox(u"heightBox"_s, maxImageHeight, this);
    auto* row = new QHBoxLayout;
    row->addWidget(makeCaption(u"Image Name"_s, nameEdit, this));
    row->addWidget(nameEdit, 1);
    row->addWidget(makeCaption(u"Width"_s, widthBox, this));
    row->addWidget(widthBox);
    row->addWidget(makeCaption(u"Height"_s, heightBox, this));
    row->addWidget(heightBox);
    connect(nameEdit, &QLineEdit::textEdited, this, &ImageWindow::rename);
    connect(widthBox, &QSpinBox::editingFinished, this, &ImageWindow::resizeImage);
    connect(heightBox, &QSpinBox::editingFinished, this, &ImageWindow::resizeImage);
    return row;
}

QWidget* ImageWindow::makeBoardPanes() {
    return makeSplitter(makeSlotPane(), makeCodePane(), this);
}

QWidget* ImageWindow::makeSlotPane() {
    auto* pane = new QWidget(this);
    QVBoxLayout* layout = fillPane(pane, Qt::RightEdge);
    slotList = new QListWidget(this);
    slotList->setObjectName(u"slotList"_s);
    slotList->setMinimumWidth(230);
    slotList->setUniformItemSizes(true);
    for (int slot = 1; slot <= imageSlotCount; ++slot) {
        slotList->addItem(QString());
    }
    slotList->setCurrentRow(0);
    markCurrentRow(slotList);
    refreshButton = makeButton(u"Refresh Images"_s, u"refreshButton"_s, this);
    layout->addWidget(makeCaption(u"Pivex Image Slots"_s, slotList, this));
    layout->addWidget(slotList, 1);
    layout->addWidget(refreshButton);
    connect(slotList, &QListWidget::currentRowChanged, this, &ImageWindow::selectSlot);
    connect(refreshButton, &QPushButton::clicked, this, &ImageWindow::refreshPCB);
    return pane;
}

QWidget* ImageWindow::makeCodePane() {
    auto* pane = new QWidget(this);
    QVBoxLayout* layout = fillPane(pane, Qt::LeftEdge);
    codeView = new ImageCodeView(this);
    codeView->setObjectName(u"codeView"_s);
    layout->addWidget(makeCaption(u"Image Code"_s, codeView, this));
    layout->addWidget(codeView, 1);
    return pane;
}

QLayout* ImageWindow::makeSizeRow() {
    sizeLabel = makeTextLabel(u"sizeLabel"_s, this);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(u"Compressed Size"_s, this));
    row->addStretch();
    row->addWidget(sizeLabel);
    return row;
}

QLayout* ImageWindow::makeButtonRow() {
    auto* row = new QHBoxLayout;
    const auto add = [&](const QString& text, const QString& name, auto action) {
        QPushButton* button = makeButton(text, name, this);
        connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
        return button;
    };
    newButton = add(u"New"_s, u"newButton"_s, &ImageWindow::newDocument);
    loadFileButton = add(u"Load File"_s, u"loadFileButton"_s, &ImageWindow::openFile);
    saveAsButton = add(u"Save As…"_s, u"saveAsButton"_s, [this] { save(true); });
    row->addStretch();
    loadBoardButton = add(u"Load Pivex"_s, u"loadBoardButton"_s, &ImageWindow::loadPCB);
    saveBoardButton = add(u"Save Pivex"_s, u"saveBoardButton"_s, &ImageWindow::writePCB);
    deleteBoardButton = add(u"Delete"_s, u"deleteBoardButton"_s, &ImageWindow::deletePCB);
    row->addStretch();
    add(u"Close"_s, u"closeButton"_s, &QWidget::close);
    return row;
}

void ImageWindow::addShortcuts() {
    const auto add = [this](QKeySequence::StandardKey key, auto action) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, action);
    };
    add(QKeySequence::Undo, &ImageWindow::undo);
    add(QKeySequence::New, &ImageWindow::newDocument);
    add(QKeySequence::Open, &ImageWindow::openFile);
    add(QKeySequence::Save, [this] { save(false); });
    add(QKeySequence::SaveAs, [this] { save(true); });
}

} // namespace pivex
