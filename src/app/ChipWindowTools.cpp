#include "app/ChipWindow.h"
#include "tools/FontWindow.h"
#include "tools/ImageWindow.h"
#include "tools/SettingsWindow.h"

#include <QCloseEvent>
#include <QCoreApplication>

#include <vector>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr std::size_t settingsWriteSize = 3;

/// The window if it is open: a closed one may live on for a moment, hidden.
QWidget* opened(const QPointer<QWidget>& window) {
    return window && !window->isHidden() ? window.data() : nullptr;
}

bool isDeletable(int slot) {
    return slot >= firstDeletableImageSlot && slot <= imageSlotCount;
}

/// Brings an open window to the front; false when there is none.
bool raised(const QPointer<QWidget>& window) {
    if (opened(window) == nullptr) {
        return false;
    }
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
    return true;
}

} // namespace

void ChipWindow::openFonts() {
    if (raised(fontWindow)) {
        return;
    }
    fontWindow = openLinuxFontWindow(this, fontHooks(), fontSlots);
    fontStale = true;
    readFonts();
}

void ChipWindow::openImages() {
    if (raised(imageWindow)) {
        return;
    }
    imageWindow = openLinuxImageWindow(this, imageHooks(), imageSlots);
    imageStale = true;
    readImages();
}

void ChipWindow::openSettings() {
    if (raised(settingsWindow)) {
        return;
    }
    settingsWindow = openLinuxSettingsWindow(this, settingsHooks(), fontSlots);
    settingsStale = true;
    requestSettings({0});
}

LinuxFontHooks ChipWindow::fontHooks() {
    return {
        .ready = [this] { return ready(); },
        .refresh = [this] { readFonts(); },
        .write = [this](std::vector<FontPacket> packets) { writeFonts(std::move(packets)); },
    };
}

LinuxImageHooks ChipWindow::imageHooks() {
    return {
        .ready = [this] { return ready(); },
        .refresh = [this] { readImages(); },
        .load = [this](int slot) { loadImage(slot); },
        .save = [this](std::vector<ImagePacket> packets) { saveImage(std::move(packets)); },
        .remove = [this](int slot) { deleteImage(slot); },
    };
}

LinuxSettingsHooks ChipWindow::settingsHooks() {
    return {
        .connected = [this] { return connected; },
        .ready = [this] { return ready(); },
        .request = [this](Bytes payload) { requestSettings(std::move(payload)); },
    };
}

void ChipWindow::readFonts() {
    if (ready()) {
        fontStale = false;
        startOperation({&fontPending});
        connection.refreshFonts();
    }
}

void ChipWindow::writeFonts(std::vector<FontPacket> packets) {
    if (ready()) {
        saveAllowed = false;
        startOperation({&fontPending, &storing});
        connection.fontPackets(std::move(packets));
    }
}

void ChipWindow::readImages() {
    if (ready()) {
        imageStale = false;
        startOperation({&imagePending});
        connection.refreshImages();
    }
}

void ChipWindow::loadImage(int slot) {
    if (ready()) {
        saveAllowed = false;
        startOperation({&imagePending});
        connection.loadImage(slot);
    }
}

void ChipWindow::saveImage(std::vector<ImagePacket> packets) {
    if (ready()) {
        saveAllowed = false;
        startOperation({&imagePending, &storing});
        connection.imagePackets(std::move(packets));
    }
}

void ChipWindow::deleteImage(int slot) {
    if (!ready()) {
        return;
    }
    if (!isDeletable(slot)) {
        error(u"Only image slots 15-239 may be deleted."_s);
        return;
    }
    saveAllowed = false;
    startOperation({&imagePending, &storing});
    connection.deleteImage(slot);
}

void ChipWindow::requestSettings(Bytes payload) {
    if (ready()) {
        settingsStale = false;
        storing = payload.size() == settingsWriteSize;
        startOperation({&settingsPending});
        connection.settingsRequest(std::move(payload));
    }
}

/// Closes the windows that hold documents, once all agree.
bool ChipWindow::closeToolWindows() {
    std::vector<QWidget*> windows{opened(fontWindow), opened(imageWindow)};
    std::erase(windows, nullptr);
    for (QWidget* window : windows) {
        QCloseEvent question;
        QCoreApplication::sendEvent(window, &question);
        if (!question.isAccepted()) {
            return false;
        }
    }
    for (QWidget* window : windows) {
        window->hide();
        window->deleteLater();
    }
    return true;
}

void ChipWindow::clearFontState(const QString& message) {
    fontSlots = {};
    fontPending = false;
    fontStale = true;
    updateLinuxFontWindow(opened(fontWindow), fontSlots, message);
}

void ChipWindow::clearImageState(const QString& message) {
    imageSlots = {};
    imagePending = false;
    imageStale = true;
    updateLinuxImageWindow(opened(imageWindow), imageSlots, message, true);
}

void ChipWindow::clearSettingsState(const QString& message) {
    settingsPending = false;
    settingsStale = true;
    updateLinuxSettingsWindow(opened(settingsWindow), FontSlots{}, message, true);
}

void ChipWindow::endToolOperation(bool& pending) {
    if (pending) {
        pending = false;
        storing = false;
        busy = false;
    }
}

void ChipWindow::pushToolState() {
    updateLinuxFontWindow(opened(fontWindow), fontSlots, {});
    updateLinuxImageWindow(opened(imageWindow), imageSlots, {}, false);
    updateLinuxSettingsWindow(opened(settingsWindow), fontSlots, {}, false);
}

void ChipWindow::passStatus(const QString& text) {
    if (fontPending) {
        updateLinuxFontWindow(opened(fontWindow), fontSlots, text);
    }
    if (imagePending) {
        updateLinuxImageWindow(opened(imageWindow), imageSlots, text, false);
    }
}

void ChipWindow::startPendingRead() {
    // Each start makes the board busy, so that the others wait for a later turn.
    if (opened(fontWindow) != nullptr && fontStale) {
        readFonts();
    }
    if (opened(imageWindow) != nullptr && imageStale) {
        readImages();
    }
    if (opened(settingsWindow) != nullptr && settingsStale) {
        requestSettings({0});
    }
}

void ChipWindow::onFontSlotLoaded(SerialEvent& event) {
    if (event.index >= 0 && event.index < fontSlotCount) {
        fontSlots[static_cast<std::size_t>(event.index)] = std::move(event.font);
    }
    updateLinuxFontWindow(opened(fontWindow), fontSlots, {});
}

void ChipWindow::onFontSlotsDone(SerialEvent& event) {
    endToolOperation(fontPending);
    report(event);
    updateLinuxFontWindow(opened(fontWindow), fontSlots, QString::fromStdString(event.text));
}

void ChipWindow::onImageSlotsLoaded(SerialEvent& event) {
    imageSlots = std::move(event.images);
    updateLinuxImageWindow(opened(imageWindow), imageSlots, {}, false);
}

void ChipWindow::onImageLoaded(SerialEvent& event) {
    loadedLinuxImageWindow(opened(imageWindow), std::move(event.image));
    endToolOperation(imagePending);
    report(event);
}

void ChipWindow::onImageDeleted(SerialEvent& event) {
    if (isDeletable(event.index)) {
        imageSlots[static_cast<std::size_t>(event.index - 1)] = {.read = true, .name = {}};
    }
    deletedLinuxImageWindow(opened(imageWindow), event.index);
    endToolOperation(imagePending);
    report(event);
}

void ChipWindow::onImageSlotsDone(SerialEvent& event) {
    endToolOperation(imagePending);
    report(event);
    updateLinuxImageWindow(opened(imageWindow), imageSlots, QString::fromStdString(event.text),
                           false);
}

void ChipWindow::onSettingsLoaded(SerialEvent& event) {
    endToolOperation(settingsPending);
    receivedLinuxSettings(opened(settingsWindow), event.settings);
    updateLinuxSettingsWindow(opened(settingsWindow), fontSlots, QString::fromStdString(event.text),
                              false);
    report(event);
}

} // namespace pivex
