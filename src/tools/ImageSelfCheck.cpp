#include "tools/FileAccess.h"
#include "tools/ImageWindowPrivate.h"
#include "tools/SelfCheckParts.h"
#include "tools/SelfChecks.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPushButton>
#include <QTemporaryDir>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

/// What the fake board was told and whether it is ready.
struct FakeBoard {
    bool ready = false;
    int loading = 0;
    std::vector<ImagePacket> saved;

    LinuxImageHooks hooks() {
        return {.ready = [this] { return ready; },
                .refresh = {},
                .load = [this](int slot) { loading = slot; },
                .save = [this](std::vector<ImagePacket> plan) { saved = std::move(plan); },
                .remove = {}};
    }
};

void sendMouse(QWidget& canvas, QEvent::Type type, QPointF position, Qt::MouseButtons held) {
    QMouseEvent event(type, position, canvas.mapToGlobal(position), Qt::LeftButton, held,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&canvas, &event);
}

/// Draws from pixel `from` to pixel `to` with the left button.
void drag(ImageCanvas& canvas, QPoint from, QPoint to) {
    const auto place = [&](QPoint pixel) { return QPointF(pixel * canvas.zoom) + QPointF(1, 1); };
    sendMouse(canvas, QEvent::MouseButtonPress, place(from), Qt::LeftButton);
    sendMouse(canvas, QEvent::MouseMove, place(to), Qt::LeftButton);
    sendMouse(canvas, QEvent::MouseButtonRelease, place(to), Qt::NoButton);
}

QPushButton& button(const ImageWindow& window, const QString& name) {
    auto* found = window.findChild<QPushButton*>(name);
    expect(found != nullptr, "a button is missing");
    return *found;
}

/// Draws a row of white pixels, saves it and reads it back.
void checkArtwork(ImageWindow& window, const QString& path) {
    window.adopt(newImage("Self-check", 8, 4), {}, true);
    drag(*window.findChild<ImageCanvas*>(u"editCanvas"_s), {1, 2}, {6, 2});
    expect(window.windowTitle() == u"Image Manager *"_s, "drawing does not count as a change");
    expect(window.savePath(path), "the image was not saved");
    expect(window.windowTitle() == u"Image Manager"_s, "saving leaves the image unsaved");
    window.readFile(path);
    const Pixels pixels = parseImage(readFileBytes(path)).pixels;
    expect(std::ranges::count(pixels, 0xFFFF) == 6 && pixels[2 * 8 + 1] == 0xFFFF,
           "the file does not hold what was drawn");
}

/// Loads from slot 1 and saves to it, as far as a window without questions goes.
void checkBoard(ImageWindow& window, FakeBoard& board) {
    ImageSlots filled{};
    filled.front() = {.read = true, .name = "Logo"};
    window.state(filled, {}, false);
    expect(!button(window, u"loadBoardButton"_s).isEnabled(), "loading is offered without a board");
    board.ready = true;
    window.state(filled, {}, false);
    expect(!button(window, u"deleteBoardButton"_s).isEnabled(), "slot 1 may be deleted");
    button(window, u"loadBoardButton"_s).click();
    expect(board.loading == 1, "loading asks for another slot");
    window.loaded(newImage("Logo", 2, 2));
    window.state({}, {}, false);
    button(window, u"saveBoardButton"_s).click();
    expect(board.saved == imageUploadPlan(newImage("Logo", 2, 2), 1), "another plan was sent");
}

} // namespace

bool linuxImageSmoke() {
    return passes("Image Manager", [] {
        const QTemporaryDir folder;
        FakeBoard board;
        ImageWindow window(nullptr, board.hooks());
        checkArtwork(window, folder.filePath(u"self-check.txt"_s));
        checkBoard(window, board);
    });
}

} // namespace pivex
