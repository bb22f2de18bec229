#pragma once

#include "device/BoardCalls.h"
#include "device/ChipUpload.h"
#include "device/ConnectionTimings.h"
#include "device/SerialEvent.h"

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace pivex {

class SerialMailbox;

/// Serves the requests in a mailbox, one board operation at a time, and reports to its event
/// queue. Lives for one connection, on the worker thread. A failed operation throws
/// std::runtime_error with the sentence to show; the connection is then over.
class SerialWorker {
public:
    SerialWorker(SerialMailbox& sharedMailbox, Query boardQuery);

    /// Asks the board who it is, reports `Connected` and asks for the list of stored tests.
    void identify();

    /// One pass: serves every pending request, in a fixed order. What an operation asks for in
    /// turn, such as the list after a deletion, comes later in the same pass.
    void serveRequests();

private:
    void serveSettings();
    void serveImageUpload();
    void serveImageDeletion();
    void serveImageRead();
    void serveImageList();
    void serveFontWrite();
    void serveFontList();
    void serveChipDeletion();
    void serveSaveAndBatch();
    void serveErasure();
    void serveUpload();
    void serveChipList();
    void serveChipRead();

    void saveUpload();
    void savePlans(const std::vector<UploadPlan>& plans);
    void reportFontSlots();
    void reportStorage(SerialEvent::Kind kind, std::string note);
    void emit(SerialEvent::Kind kind, std::string text);

    SerialMailbox& mailbox;
    Query query;
    Send send;
    std::optional<std::string> acknowledgedUpload; ///< name of the test that may be saved
    std::string chipNote;  ///< stands before the closing message of the next list
    std::string imageNote; ///< the same for the image list of this pass
    std::string fontNote;  ///< the same for the font list of this pass
};

/// The whole life of the worker thread: opens `port`, waits until the board has settled,
/// identifies it and serves the requests in `mailbox` until `stop` is requested. A failure ends
/// it with one `Failed` event, a stop without any.
void runSerialWorker(const std::wstring& port, ConnectionTimings timings, SerialMailbox& mailbox,
                     const std::stop_token& stop);

} // namespace pivex
