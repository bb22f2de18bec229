#include "tools/FontFiles.h"
#include "tools/FontWindowPrivate.h"
#include "tools/MessageBoxes.h"
#include "tools/NewFontDialog.h"

#include <QCloseEvent>
#include <QFileDialog>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

void FontWindow::adopt(FontDocument font, const QString& path, bool isUnsaved) {
    open = {.font = std::move(font)};
    filePath = path;
    dirty = isUnsaved;
    updateDocument(Change::Font);
    controls();
}

bool FontWindow::mayDiscard() {
    if (!dirty) {
        return true;
    }
    const auto answer =
        ask(this, QMessageBox::Question, u"Unsaved font"_s,
            u"Save your font changes before continuing?"_s,
            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel);
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && save(false));
}

void FontWindow::newFont() {
    if (!mayDiscard()) {
        return;
    }
    if (std::optional<FontDocument> font = askForNewFont(this)) {
        adopt(*std::move(font), {}, true);
    }
}

void FontWindow::openFont() {
    const QString path = QFileDialog::getOpenFileName(this, u"Open Font"_s, {},
                                                      u"Font text (*.txt);;All files (*)"_s);
    if (path.isEmpty()) {
        return;
    }
    try {
        readFile(path);
    } catch (const std::runtime_error& error) {
        fail(error);
    }
}

void FontWindow::readFile(const QString& path) {
    FontDocument font = readFontFile(path);
    if (dirty) {
        if (!mayDiscard()) {
            return;
        }
        // The changes may have been saved into this very file.
        font = readFontFile(path);
    }
    adopt(std::move(font), path, false);
}

bool FontWindow::save(bool saveAs) {
    if (!open.font) {
        return false;
    }
    const QString path = saveAs || filePath.isEmpty() ? askSavePath() : filePath;
    if (path.isEmpty()) {
        return false;
    }
    try {
        savePath(path);
    } catch (const std::runtime_error& error) {
        fail(error);
        return false;
    }
    return true;
}

QString FontWindow::askSavePath() {
    QFileDialog dialog(this, u"Save Font"_s, filePath, u"Font text (*.txt)"_s);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(u"txt"_s);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

void FontWindow::savePath(const QString& path) {
    writeFontFile(path, *open.font);
    filePath = path;
    dirty = false;
    updateDocument(Change::Glyph);
}

void FontWindow::fail(const std::runtime_error& error) {
    warn(this, u"Font Manager"_s, QString::fromUtf8(error.what()));
}

void FontWindow::closeEvent(QCloseEvent* event) {
    if (mayDiscard()) {
        event->accept();
    } else {
        event->ignore();
    }
}

} // namespace pivex
