#include "tools/ImageWindowPrivate.h"
#include "tools/MessageBoxes.h"
#include "tools/SizeBox.h"

#include <QColorDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <stdexcept>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

ImageWindow* asImageWindow(QWidget* window) {
    return dynamic_cast<ImageWindow*>(window);
}

/// `image` in another size: cut off at the right and at the bottom, or filled up with black.
ImageDocument resized(const ImageDocument& image, int width, int height) {
    ImageDocument result{
        .name = image.name, .width = width, .height = height, .pixels = {}, .rle = {}};
    result.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    auto from = image.pixels.begin();
    auto to = result.pixels.begin();
    for (int y = 0; y < std::min(height, image.height); ++y) {
        std::copy_n(from, std::min(width, image.width), to);
        from += image.width;
        to += width;
    }
    result.rebuild();
    return result;
}

} // namespace

void paintButton(QPushButton* button, std::uint16_t color) {
    const QColor background = screenColor(color);
    const QString text = background.lightness() <= 128 ? u"white"_s : u"black"_s;
    button->setStyleSheet(u"background:%1;color:%2"_s.arg(background.name(), text));
}

QWidget* openLinuxImageWindow(QWidget* parent, LinuxImageHooks hooks, const ImageSlots& slotInfo) {
    auto* window = new ImageWindow(parent, std::move(hooks));
    window->state(slotInfo, {}, false);
    window->show();
    return window;
}

void updateLinuxImageWindow(QWidget* window, const ImageSlots& slotInfo, const QString& message,
                            bool unfreeze) {
    if (ImageWindow* images = asImageWindow(window)) {
        images->state(slotInfo, message, unfreeze);
    }
}

void loadedLinuxImageWindow(QWidget* window, ImageDocument image) {
    if (ImageWindow* images = asImageWindow(window)) {
        images->loaded(std::move(image));
    }
}

void deletedLinuxImageWindow(QWidget* window, int slot) {
    if (ImageWindow* images = asImageWindow(window)) {
        images->deleted(slot);
    }
}

ImageWindow::~ImageWindow() {
    // The child that has the focus still reports its loss while the widgets are destroyed, after
    // the members that its report would use.
    canvas->detach();
    preview->detach();
    for (QObject* child : findChildren<QObject*>()) {
        child->disconnect(this);
    }
}

void ImageWindow::adopt(ImageDocument image, const QString& path, bool isUnsaved) {
    canvas->finish();
    drawing.emplace(std::move(image));
    filePath = path;
    dirty = isUnsaved;
    refresh(true);
}

void ImageWindow::refresh(bool synchronise) {
    const ImageDocument* image = drawing ? &drawing->document : nullptr;
    setWindowTitle(dirty ? u"Image Manager *"_s : u"Image Manager"_s);
    zoomLabel->setText(u"%1×"_s.arg(canvas->zoom));
    if (synchronise) {
        showFields(image);
    }
    codeView->showImage(image);
    showSize(image == nullptr ? 0 : image->rle.size());
    canvas->setMinimumSize(canvas->imageArea());
    canvas->update();
    preview->update();
    controls();
}

void ImageWindow::showFields(const ImageDocument* image) {
    const QString name = image == nullptr ? QString() : QString::fromStdString(image->name);
    if (nameEdit->text() != name) {
        nameEdit->setText(name);
    }
    if (image != nullptr) {
        widthBox->setValue(image->width);
        heightBox->setValue(image->height);
    }
}

void ImageWindow::showSize(std::size_t bytes) {
    const bool fits = bytes <= maxBoardImageBytes;
    sizeLabel->setText(
        u"%1 / %2 bytes"_s.arg(QString::number(bytes), QString::number(maxBoardImageBytes)));
    const QString style = fits ? QString() : u"color:#ff7373;font-weight:bold"_s;
    if (sizeLabel->styleSheet() != style) {
        sizeLabel->setStyleSheet(style);
        sizeLabel->setToolTip(fits ? QString()
                                   : u"Over PCB capacity. Local save is still available."_s);
    }
}

void ImageWindow::controls() {
    const bool canEdit = isEditable();
    const bool ready = isReady();
    const bool canAsk = ready && !awaitingDownload;
    const bool holdsImage = selected().read && !selected().name.empty();
    const std::pair<QWidget*, bool> enabled[] = {
        {canvas, canEdit},
        {nameEdit, canEdit},
        {widthBox, canEdit},
        {heightBox, canEdit},
        {saveAsButton, canEdit},
        {newButton, !awaitingDownload},
        {loadFileButton, !awaitingDownload},
        {undoButton, canEdit && !drawing->history.empty()},
        {refreshButton, canAsk},
        {loadBoardButton, canAsk && holdsImage},
        {saveBoardButton, ready && isPlanValid()},
        {deleteBoardButton, canAsk && holdsImage && selectedSlot >= firstDeletableImageSlot},
        {zoomInButton, canvas->zoom < ImageCanvas::maxZoom},
        {zoomOutButton, canvas->zoom > ImageCanvas::minZoom},
    };
    for (const auto& [widget, isEnabled] : enabled) {
        focus.enable(widget, isEnabled);
    }
}

bool ImageWindow::isReady() const {
    return hooks.ready && hooks.ready();
}

bool ImageWindow::isEditable() const {
    return drawing.has_value() && !awaitingDownload;
}

bool ImageWindow::isPlanValid() const {
    if (!isEditable()) {
        return false;
    }
    try {
        return !imageUploadPlan(drawing->document, selectedSlot).empty();
    } catch (const std::runtime_error&) {
        return false;
    }
}

void ImageWindow::warnOf(const std::runtime_error& error) {
    warn(this, u"Image Manager"_s, QString::fromUtf8(error.what()));
}

void ImageWindow::selectTool(int id) {
    canvas->finish();
    canvas->tool = static_cast<ImageTool>(id);
}

void ImageWindow::chooseColor(std::uint16_t& color, QPushButton* button) {
    canvas->finish();
    const QColor chosen = QColorDialog::getColor(screenColor(color), this, u"Drawing color"_s);
    if (chosen.isValid()) {
        color = boardColor(chosen);
        paintButton(button, color);
    }
}

void ImageWindow::changeZoom(int step) {
    canvas->finish();
    canvas->zoom = std::clamp(canvas->zoom + step, ImageCanvas::minZoom, ImageCanvas::maxZoom);
    refresh(false);
}

void ImageWindow::rename(const QString& name) {
    if (!isEditable()) {
        return;
    }
    drawing->document.name = name.toStdString();
    dirty = true;
    refresh(false);
}

void ImageWindow::artworkChanged() {
    drawing->document.rebuild();
    dirty = true;
    refresh(false);
}

void ImageWindow::undo() {
    if (!isEditable()) {
        return;
    }
    resizeImage(); // a size that is typed but not yet taken is what goes first
    if (drawing->history.empty()) {
        return;
    }
    std::string name = std::move(drawing->document.name);
    drawing->document = std::move(drawing->history.back());
    drawing->document.name = std::move(name);
    drawing->history.pop_back();
    dirty = true;
    refresh(true);
}

void ImageWindow::resizeImage() {
    if (!isEditable()) {
        return;
    }
    canvas->finish();
    // Typed text that is no size gives way to the size that stood there before.
    widthBox->interpretText();
    heightBox->interpretText();
    ImageDocument& image = drawing->document;
    if (widthBox->value() == image.width && heightBox->value() == image.height) {
        return;
    }
    ImageDocument next = resized(image, widthBox->value(), heightBox->value());
    drawing->remember(std::exchange(image, std::move(next)));
    dirty = true;
    refresh(true);
}

} // namespace pivex
