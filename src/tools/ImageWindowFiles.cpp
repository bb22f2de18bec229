#include "model/Utf8.h"
#include "tools/FileAccess.h"
#include "tools/ImageWindowPrivate.h"
#include "tools/MessageBoxes.h"
#include "tools/SizeBox.h"

#include <QCloseEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

#include <stdexcept>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

constexpr FileLimit imageFileLimit{maxImageFileBytes, "Image file exceeds 1 MB."};

ImageDocument readImageFile(const QString& path) {
    std::string text = readFileBytes(path, imageFileLimit);
    if (!isUtf8(text)) {
        throw std::runtime_error("Image file is not valid UTF-8.");
    }
    return parseImage(std::move(text));
}

/// Asks for name and size of a new image until they are good.
class NewImageDialog : public QDialog {
public:
    explicit NewImageDialog(QWidget* parent) : QDialog(parent) {
        setWindowTitle(u"New Image"_s);
        auto* form = new QFormLayout(this);
        form->addRow(u"Name"_s, name);
        name->setObjectName(u"newNameEdit"_s);
        form->addRow(u"Width"_s, width);
        form->addRow(u"Height"_s, height);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
        form->addRow(buttons);
        connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
        connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    }

    void accept() override {
        try {
            image = newImage(name->text().toStdString(), width->value(), height->value());
        } catch (const std::runtime_error& error) {
            warn(this, windowTitle(), QString::fromUtf8(error.what()));
            return;
        }
        QDialog::accept();
    }

    ImageDocument image; ///< the new image, once the dialog was accepted

private:
    QLineEdit* name = new QLineEdit(u"New Image"_s, this);
    SizeBox* width = new SizeBox(u"newWidthBox"_s, maxImageWidth, this);
    SizeBox* height = new SizeBox(u"newHeightBox"_s, maxImageHeight, this);
};

} // namespace

void ImageWindow::newDocument() {
    if (awaitingDownload || !discard()) {
        return;
    }
    NewImageDialog dialog(this);
    if (dialog.exec() == QDialog::Accepted) {
        adopt(std::move(dialog.image), {}, true);
    }
}

void ImageWindow::openFile() {
    if (awaitingDownload) {
        return;
    }
    const QString path = QFileDialog::getOpenFileName(this, u"Load Image"_s, {},
                                                      u"Pivex image text (*.txt);;All files (*)"_s);
    if (path.isEmpty()) {
        return;
    }
    try {
        readFile(path);
    } catch (const std::runtime_error& error) {
        warnOf(error);
    }
}

void ImageWindow::readFile(const QString& path) {
    readImageFile(path);
    if (discard()) {
        // Read only now: the changes may have been saved into this very file.
        adopt(readImageFile(path), path, false);
    }
}

bool ImageWindow::save(bool saveAs) {
    if (!isEditable()) {
        return false;
    }
    const QString path = saveAs || filePath.isEmpty() ? askSavePath() : filePath;
    return !path.isEmpty() && savePath(path);
}

QString ImageWindow::askSavePath() {
    QFileDialog dialog(this, u"Save Image"_s, filePath, u"Pivex image text (*.txt)"_s);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(u"txt"_s);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().constFirst() : QString();
}

bool ImageWindow::savePath(const QString& path) {
    canvas->finish();
    resizeImage();
    try {
        const std::string text = drawing->document.text();
        // A name can hold what its file form cannot: what does not read back is not written.
        parseImage(text);
        writeFileAtomically(path, text, imageFileLimit);
    } catch (const std::runtime_error& error) {
        warnOf(error);
        return false;
    }
    filePath = path;
    dirty = false;
    refresh(false);
    return true;
}

bool ImageWindow::discard() {
    canvas->finish();
    resizeImage();
    if (!dirty) {
        return true;
    }
    const auto answer = ask(
        this, QMessageBox::Question, u"Unsaved image"_s, u"Save image changes before continuing?"_s,
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel);
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && save(false));
}

void ImageWindow::closeEvent(QCloseEvent* event) {
    // Whoever closes the window gives the download up: it would replace what the question is about.
    if (std::exchange(awaitingDownload, false)) {
        statusLabel->setText(u"The image from the PCB was given up."_s);
        controls();
    }
    event->setAccepted(discard());
}

} // namespace pivex
