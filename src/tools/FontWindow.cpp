#include "tools/DisplayText.h"
#include "tools/FontCanvas.h"
#include "tools/FontSlotList.h"
#include "tools/FontWindowPrivate.h"
#include "tools/GlyphModel.h"
#include "tools/TextPane.h"

#include <QLabel>
#include <QListView>
#include <QPushButton>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

QString information(const std::optional<FontDocument>& font) {
    QStringList values(5, u"—"_s);
    if (font) {
        values = {shortened(QString::fromStdString(font->name)), QString::number(font->width),
                  QString::number(font->height), QString::number(font->glyphCount()),
                  QString::number(font->columns.size())};
    }
    return u"Name: %1\nWidth: %2 pixels\nHeight: %3 pixels\nGlyphs: %4\nColumns per glyph: %2\n"
           "Declared size: %5\nLoaded columns: %5"_s.arg(values[0], values[1], values[2], values[3],
                                                         values[4]);
}

} // namespace

void FontWindow::state(const FontSlots& slotInfo, const QString& message) {
    fontSlots = slotInfo;
    slotList->showSlots(fontSlots);
    if (!message.isEmpty()) {
        status->setText(message);
    }
    controls();
}

void FontWindow::controls() {
    const bool isOpen = open.font.has_value();
    focus.enable(saveButton, isOpen);
    focus.enable(saveAsButton, isOpen);
    focus.enable(glyphList, isOpen);
    focus.enable(refreshButton, ready());
    focus.enable(saveBoardButton, isAllowed(BoardAction::Save));
    focus.enable(deleteButton, isAllowed(BoardAction::Delete));
}

void FontWindow::updateDocument(Change change) {
    setWindowTitle(dirty ? u"Font Manager *"_s : u"Font Manager"_s);
    nameLabel->setText(open.font ? shortened(QString::fromStdString(open.font->name))
                                 : u"No font file loaded"_s);
    showGlyphNumber();
    if (change == Change::Font) {
        glyphModel->setGlyphCount(open.font ? open.font->glyphCount() : printableGlyphs);
        glyphList->setCurrentIndex(glyphModel->index(open.selectedGlyph));
    }
    informationLabel->setText(information(open.font));
    showText(change);
    for (FontCanvas* canvas : {editor, preview}) {
        if (change == Change::Font) {
            canvas->showFont();
        } else {
            canvas->showSelectedGlyph();
        }
    }
}

void FontWindow::showText(Change change) {
    const QString text =
        open.font ? QString::fromStdString(open.font->text()) : u"No font file loaded."_s;
    if (change == Change::Font) {
        textPane->replaceText(text);
    } else {
        textPane->amendText(text);
    }
}

void FontWindow::showGlyphNumber() {
    glyphLabel->setText(u"Glyph %1   ASCII %2"_s.arg(
        QString::number(open.selectedGlyph), QString::number(open.selectedGlyph + firstGlyphCode)));
}

void FontWindow::selectGlyph(int glyph) {
    if (open.font && glyph >= 0 && glyph < open.font->glyphCount()) {
        open.selectedGlyph = glyph;
        showGlyphNumber();
        editor->update();
    }
}

void FontWindow::selectSlot(int row) {
    if (row >= 0 && row < fontSlotCount) {
        selectedSlot = row;
        controls();
    }
}

QWidget* openLinuxFontWindow(QWidget* parent, LinuxFontHooks hooks, const FontSlots& slotInfo) {
    auto* window = new FontWindow(parent, std::move(hooks));
    window->state(slotInfo, {});
    window->show();
    return window;
}

void updateLinuxFontWindow(QWidget* window, const FontSlots& slotInfo, const QString& message) {
    if (auto* fontWindow = dynamic_cast<FontWindow*>(window)) {
        fontWindow->state(slotInfo, message);
    }
}

} // namespace pivex
