#include "tools/FontFiles.h"
#include "tools/FontWindowPrivate.h"
#include "tools/SelfCheckParts.h"
#include "tools/SelfChecks.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

/// What the fake board was told and whether it is ready.
struct FakeBoard {
    bool ready = false;
    std::vector<FontPacket> written;

    LinuxFontHooks hooks() {
        return {.ready = [this] { return ready; },
                .refresh = {},
                .write = [this](std::vector<FontPacket> plan) { written = std::move(plan); }};
    }
};

FontDocument smallFont() {
    return {.name = "Self-check", .width = 1, .height = 1, .columns = {0}};
}

/// Clicks the middle of the canvas, where the only pixel of the small font is.
void clickMiddle(QWidget& canvas) {
    const QPointF middle = QRectF(canvas.rect()).center();
    QMouseEvent press(QEvent::MouseButtonPress, middle, canvas.mapToGlobal(middle), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&canvas, &press);
}

/// Presses Yes in the question that opens next; closes any other dialog.
void answerYes() {
    QTimer::singleShot(0, [] {
        QWidget* dialog = QApplication::activeModalWidget();
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QAbstractButton* yes = box != nullptr ? box->button(QMessageBox::Yes) : nullptr;
        if (yes != nullptr) {
            yes->click();
        } else if (dialog != nullptr) {
            dialog->close();
        }
    });
}

/// Lights a pixel, saves it and reads it back.
void checkFont(FontWindow& window, const QString& path) {
    window.adopt(smallFont(), {}, false);
    auto* canvas = window.findChild<FontCanvas*>(u"glyphEditor"_s);
    expect(canvas != nullptr, "the glyph editor is missing");
    clickMiddle(*canvas);
    expect(window.windowTitle() == u"Font Manager *"_s, "a pixel does not count as a change");
    window.savePath(path);
    expect(window.windowTitle() == u"Font Manager"_s, "saving leaves the font unsaved");
    expect(readFontFile(path).columns == Bytes{1}, "the file does not hold what was drawn");
    window.adopt(smallFont(), {}, false);
    window.readFile(path);
}

/// Saves the font that was read back to slot 0 of the board.
void checkBoard(FontWindow& window, FakeBoard& board) {
    FontSlots fontSlots;
    fontSlots[0].read = true;
    window.state(fontSlots, {});
    auto* save = window.findChild<QPushButton*>(u"saveBoardButton"_s);
    expect(save != nullptr && !save->isEnabled(), "saving is offered without a board");
    board.ready = true;
    window.state(fontSlots, {});
    answerYes();
    save->click();
    FontDocument drawn = smallFont();
    drawn.columns = {1};
    expect(board.written == fontUploadPlan(drawn, 0), "another plan was sent");
}

} // namespace

bool linuxFontSmoke() {
    return passes("Font Manager", [] {
        const QTemporaryDir folder;
        FakeBoard board;
        FontWindow window(nullptr, board.hooks());
        window.show();
        checkFont(window, folder.filePath(u"self-check.txt"_s));
        checkBoard(window, board);
    });
}

} // namespace pivex
