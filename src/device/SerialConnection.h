#pragma once

#include "base/Bytes.h"
#include "device/ChipUpload.h"
#include "device/ConnectionTimings.h"
#include "device/SerialEvent.h"
#include "tools/FontUploadPlan.h"
#include "tools/ImageUploadPlan.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace pivex {

/// What the GUI thread and the worker share: request slots and event queue under one mutex.
class SerialMailbox;

/// The one link to the board. The GUI thread leaves requests in slots and drains events; a worker
/// thread owns the port and serves one operation at a time. Every member is called on the GUI
/// thread; none waits for the board.
class SerialConnection {
public:
    explicit SerialConnection(ConnectionTimings timings = {});
    ~SerialConnection();
    SerialConnection(const SerialConnection&) = delete;
    SerialConnection& operator=(const SerialConnection&) = delete;

    /// The paths of the serial ports that may lead to a board, sorted.
    static std::vector<std::wstring> ports();

    /// Ends any running worker and starts one for `port`; the outcome arrives as events.
    void connect(std::wstring port);

    /// Stops and joins the worker, then drops every pending request and event.
    void disconnect();

    /// All events since the last call, oldest first.
    std::vector<SerialEvent> poll();

    /// Appends a text-only event.
    void emit(SerialEvent::Kind kind, std::string text);

    /// The request slots. Each holds one request; a new one replaces one that the worker has not
    /// taken yet.
    void settingsRequest(Bytes request);
    void imagePackets(std::vector<ImagePacket> packets);
    void deleteImage(int slot);
    void loadImage(int slot);
    void refreshImages();
    void fontPackets(std::vector<FontPacket> packets);
    void refreshFonts();
    void deleteChip(int index);
    void saveRequested();
    void batch(std::vector<UploadPlan> plans);
    void eraseAll();
    void upload(UploadPlan plan);
    void refreshChips();
    void loadChip(int index);

private:
    ConnectionTimings timings;
    std::unique_ptr<SerialMailbox> mailbox;
    std::jthread worker;
};

} // namespace pivex
