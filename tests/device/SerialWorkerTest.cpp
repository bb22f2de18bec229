#include "device/SerialWorker.h"

#include "device/SerialMailbox.h"
#include "support/ScriptedBoard.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <map>

using namespace pivex;
using pivex::testing::ScriptedBoard;

namespace {

constexpr std::array<const char*, 18> kindNames{
    "Status",          "Connected",      "ChipListed",        "ChipListDone",     "Failed",
    "ChipLoaded",      "UploadDone",     "UploadModeMissing", "StorageChanged",   "BatchDone",
    "ChipListStarted", "FontSlotLoaded", "FontSlotsDone",     "ImageSlotsLoaded", "ImageLoaded",
    "ImageDeleted",    "ImageSlotsDone", "SettingsLoaded",
};

UploadPlan plan(const std::string& name) {
    return {name, 16, {{Command::UploadMetadata, {1}}, {Command::UploadCodeLength, {2}}}};
}

using Requests = CompoundRequests;

const std::map<QByteArray, std::function<void(SerialMailbox&)>> requests{
    {"settings", [](auto& box) { box.put(&Requests::settingsRequest, Bytes{0}); }},
    {"setting",
     [](auto& box) {
         box.put(&Requests::settingsRequest, Bytes{1, 7, 2});
     }},
    {"bad-setting",
     [](auto& box) {
         box.put(&Requests::settingsRequest, Bytes{1, 7, 6});
     }},
    {"image",
     [](auto& box) {
         box.put(&Requests::imagePackets,
                 std::vector<ImagePacket>{{Command::ImageDataChunk, {1}, false},
                                          {Command::ImageDataCommit, {}, true}});
     }},
    {"delete-image-14", [](auto& box) { box.deleteImage = 14; }},
    {"delete-image-240", [](auto& box) { box.deleteImage = 240; }},
    {"delete-image", [](auto& box) { box.deleteImage = 15; }},
    {"load-image-0", [](auto& box) { box.loadImage = 0; }},
    {"load-image", [](auto& box) { box.loadImage = 3; }},
    {"list-images", [](auto& box) { box.refreshImages = true; }},
    {"font",
     [](auto& box) {
         box.put(&Requests::fontPackets,
                 std::vector<FontPacket>{{Command::FontDataChunk, {1}, false},
                                         {Command::FontDataCommit, {}, true}});
     }},
    {"list-fonts", [](auto& box) { box.refreshFonts = true; }},
    {"delete-chip", [](auto& box) { box.deleteChip = 3; }},
    {"save", [](auto& box) { box.put(&Requests::saveRequested, true); }},
    {"batch",
     [](auto& box) {
         box.put(&Requests::batch, std::vector{plan("A"), plan("B")});
     }},
    {"empty-batch", [](auto& box) { box.put(&Requests::batch, std::vector<UploadPlan>{}); }},
    {"erase", [](auto& box) { box.eraseAll = true; }},
    {"upload", [](auto& box) { box.put(&Requests::upload, plan("T")); }},
    {"list", [](auto& box) { box.refreshChips = true; }},
    {"load-chip", [](auto& box) { box.loadChip = 0; }},
};

/// Serves `passes` ("a+b;c": a and b in the first pass, c in the second) on `board` and gives the
/// events, a line each, the failure that ended them last.
QByteArray served(const QByteArray& passes, ScriptedBoard& board) {
    SerialMailbox mailbox;
    SerialWorker worker(mailbox, board.query());
    QByteArray failure;
    try {
        for (const QByteArray& pass : passes.split(';')) {
            for (const QByteArray& name : pass.split('+')) {
                requests.at(name)(mailbox);
            }
            worker.serveRequests();
        }
    } catch (const std::runtime_error& error) {
        failure = QByteArray("! ") + error.what() + "\n";
    }
    QByteArray log;
    for (const SerialEvent& event : mailbox.drain()) {
        log += QByteArray(kindNames.at(static_cast<std::size_t>(event.kind))) + " " +
               event.text.c_str() + (event.index > 0 ? "#" + QByteArray::number(event.index) : "") +
               "\n";
    }
    return log + failure;
}

/// What an empty list makes of the note before it.
QByteArray emptyList(const QByteArray& note) {
    return "ChipListStarted Reading stored PCB tests...\n"
           "ChipListDone " +
           note + "Loaded 0 stored tests from PCB.\n";
}

const QByteArray noList = "B90000";
const QByteArray metadata = "BC5AA541" + QByteArray(250, '0');
const QByteArray storedChip = metadata + ",BD0000,BE*8";
const QByteArray storedImage = "E949" + QByteArray(62, '0') + "010103000000,EA0000010102";
const QByteArray fontSlots = "E100,E101,E102,E103,E104,E105";
const QByteArray record = "E500000000000000000002" + QByteArray(8, '0');
const QByteArray sentUpload = "Status Checking PCB Upload Mode...\n"
                              "Status Sending T: 1/2 packets acknowledged.\n"
                              "Status Sending T: 2/2 packets acknowledged.\n"
                              "UploadDone Send complete: T (16 code bytes). All packets "
                              "acknowledged. Not permanently saved; not run.\n";
const QByteArray loadedFonts = "FontSlotLoaded \nFontSlotLoaded #1\nFontSlotLoaded #2\n"
                               "FontSlotLoaded #3\nFontSlotLoaded #4\nFontSlotLoaded #5\n";

} // namespace

class SerialWorkerTest : public QObject {
    Q_OBJECT

private:
    static void addRow(const QByteArray& passes, const QByteArray& script, const QByteArray& sent,
                       const QByteArray& log) {
        QTest::addRow("%s: %s", passes.constData(), script.left(60).constData())
            << passes << script << sent << log;
    }

    static void addChipRows() {
        addRow("list", "B90200,BA4100,BA", "c8,c70000,c70100",
               "ChipListStarted Reading stored PCB tests...\nChipListed A\n"
               "ChipListed Unnamed chip 2#1\nChipListDone Loaded 2 stored tests from PCB.\n");
        for (const char* count : {"B900", "B9000000"}) {
            addRow("list", count, "c8",
                   "ChipListStarted Reading stored PCB tests...\n"
                   "! Invalid chip count response.\n");
        }
        addRow("delete-chip", "B2," + noList, "da0300,c8",
               "Status Deleting selected chip from Pivex...\n"
               "StorageChanged Selected chip deletion acknowledged. \n" +
                   emptyList("Selected chip deletion acknowledged. "));
        addRow("delete-chip", "B1", "da0300",
               "Status Deleting selected chip from Pivex...\n"
               "! Delete Selected outcome uncertain: PCB did not acknowledge deletion. Reconnect "
               "and refresh the PCB list before retrying; deletion may have completed and slot "
               "numbers may have changed.\n");
        addRow("erase", "B2," + noList, "d3,c8",
               "Status Erasing all chips from Pivex...\n"
               "StorageChanged Delete All Chips acknowledged. Refreshing PCB list...\n" +
                   emptyList(""));
        addRow("delete-chip+erase;list", "B2,B2," + noList + "," + noList, "da0300,d3,c8*2",
               "Status Deleting selected chip from Pivex...\n"
               "StorageChanged Selected chip deletion acknowledged. \n"
               "Status Erasing all chips from Pivex...\n"
               "StorageChanged Delete All Chips acknowledged. Refreshing PCB list...\n" +
                   emptyList("Selected chip deletion acknowledged. ") + emptyList(""));
        addRow("erase", "", "d3",
               "Status Erasing all chips from Pivex...\n"
               "! Delete All Chips outcome uncertain: no answer Reconnect and inspect the PCB list "
               "before retrying; deletion may have completed.\n");
        addRow("load-chip+list", noList + "," + storedChip, "*",
               emptyList("") + "Status Reading selected test from PCB...\n"
                               "ChipLoaded Chip loaded from PCB. Save As to keep a local copy. Not "
                               "run.\n");
    }

    static void addUploadRows() {
        const QByteArray stopped = " The PCB may hold a partial test; do not run it. Reconnect and "
                                   "resend from the beginning.\n";
        addRow("upload", "05,B2*2", "af,ca01,cd02", sentUpload);
        addRow("upload", "05,B0", "af,ca01",
               "Status Checking PCB Upload Mode...\n! Upload stopped: PCB rejected upload packet "
               "(response 176). Do not run a partial upload." +
                   stopped);
        addRow("upload", "06", "af",
               "Status Checking PCB Upload Mode...\nUploadModeMissing PCB is not in Upload Mode. "
               "Open Upload Mode on Pivex, then Send again. No chip data sent.\n");
        addRow("save", "", "", "! No acknowledged upload to save. Send the chip first.\n");
        addRow("upload;save", "05,B2*2,05,B2," + noList, "af,ca01,cd02,af,c6,c8",
               sentUpload +
                   "Status Permanently saving T...\nStorageChanged Permanently saved T. \n" +
                   emptyList("Permanently saved T. "));
        addRow("upload;save;save", "05,B2*2,B1", "af,ca01,cd02,af",
               sentUpload + "UploadModeMissing PCB is not in Upload Mode. Send the chip again "
                            "before saving.\n"
                            "! No acknowledged upload to save. Send the chip first.\n");
        addRow("upload;save", "05,B2*2,05,B1", "af,ca01,cd02,af,c6",
               sentUpload + "Status Permanently saving T...\n! Save outcome uncertain: Permanent "
                            "save was not acknowledged. Inspect device storage before retrying. "
                            "Inspect the PCB list before retrying; the write may have "
                            "completed.\n");
    }

    static void addBatchRows() {
        const QByteArray first = "Status Batch 0/2 saved: Uploading A\n"
                                 "Status Batch 0/2 saved: Permanently saving A\n"
                                 "Status Batch 1/2 saved: Saved A\n"
                                 "Status Batch 1/2 saved: Uploading B\n";
        const QByteArray second = "Status Batch 1/2 saved: Permanently saving B\n";
        const QByteArray stopped = " Earlier saves are not rolled back. Inspect the PCB list "
                                   "before retrying; the last write may have succeeded even "
                                   "without an acknowledgment.\n";
        const QByteArray sent = "af,ca01,cd02,c6,af,ca01,cd02,c6";
        addRow("batch", "05,B2*3,05,B2*3,B2," + noList, sent + ",cf,c8",
               first + second +
                   "Status Batch 2/2 saved: Saved B\n"
                   "BatchDone Batch complete: 2 chips permanently saved. \n" +
                   emptyList("Batch complete: 2 chips permanently saved. "));
        addRow("batch", "05,B2*3,05,B2*2,B1", sent,
               first + second +
                   "! Batch stopped: 1/2 saves acknowledged. Permanent save was not acknowledged. "
                   "Inspect device storage before retrying." +
                   stopped);
        addRow("batch", "05,B2*3,06", "af,ca01,cd02,c6,af",
               first + "! Batch stopped: 1/2 saves acknowledged. PCB is not in Upload Mode." +
                   stopped);
        addRow("batch", "05,B2*3,05,B2*3,B0", sent + ",cf",
               first + second +
                   "Status Batch 2/2 saved: Saved B\n"
                   "! Batch stopped: 2/2 saves acknowledged. Batch finish was not acknowledged." +
                   stopped);
        addRow("empty-batch", "", "", "! No chip files in batch.\n");
        addRow("upload;save+batch", "05,B2*2,05,B2,05", "af,ca01,cd02,af,c6,af,ca01",
               sentUpload +
                   "Status Permanently saving T...\nStorageChanged Permanently saved T. \n"
                   "Status Batch 0/2 saved: Uploading A\n! Batch stopped: 0/2 saves "
                   "acknowledged. no answer" +
                   stopped);
    }

    static void addImageRows() {
        const QByteArray stopped = " The PCB may hold a partial image. Reconnect and inspect its "
                                   "image list before retrying; a commit may have completed.\n";
        const QByteArray refused = "! Image save stopped: Image command rejected; stopped without "
                                   "retrying a commit." +
                                   stopped;
        const QByteArray first = "Status Saving image: 1/2 packets acknowledged.\n";
        const QByteArray listed = "Status Refreshing image slots...\nImageSlotsLoaded \n";
        addRow("image;list-images", "B1*2,B0,B2,B3*239,BB41,B3*238", "*",
               first + "Status Saving image: 2/2 packets acknowledged.\n" + listed +
                   "ImageSlotsDone Image save acknowledged. Image slots refreshed.\n" + listed +
                   "ImageSlotsDone Image slots refreshed.\n");
        addRow("image", "B1*3", "a401*3", refused);
        addRow("image", "B2,B1", "a401,a5", first + refused);
        addRow("image", "B4", "a401", refused);
        addRow("list-images", "BB,B2", "d40100,d40200",
               "Status Refreshing image slots...\n! Unexpected image name response.\n");
        addRow("load-image", storedImage, "e70300,e803000000",
               "Status Loading image from slot 3...\n"
               "ImageLoaded Image loaded from PCB. Save As to keep a local copy.\n");
        addRow("load-image-0", "", "",
               "Status Loading image from slot 0...\n"
               "! Image slot must be 1-239. Slot zero is reserved.\n");
        const QByteArray deleting = "Status Deleting image from slot 15...\n";
        const QByteArray uncleared =
            deleting + "! Image deletion stopped: PCB rejected image deletion. The selected slot "
                       "was not cleared. Refresh the image list before retrying.\n";
        addRow("delete-image", "B1*2,B0", "eb0f00*3",
               deleting + "ImageDeleted Image deleted from slot 15.#15\n");
        addRow("delete-image", "B1*3", "eb0f00*3", uncleared);
        addRow("delete-image", "B3", "eb0f00", uncleared);
        for (const QByteArray slot : {"14", "240"}) {
            addRow("delete-image-" + slot, "", "",
                   "Status Deleting image from slot " + slot +
                       "...\n! Image deletion stopped: Only image slots 15-239 may be deleted. "
                       "Refresh the image list before retrying.\n");
        }
    }

    static void addFontAndSettingsRows() {
        const QByteArray writing = "Status Writing font slot...\n";
        const QByteArray refused =
            "! Font write stopped: Font command rejected; operation stopped. Inspect the slot "
            "before retrying. The slot may be partially changed. Reconnect and inspect it before "
            "retrying; a commit may have completed.\n";
        addRow("font;list-fonts", "B1*2,B2,B0," + fontSlots + "," + fontSlots, "*",
               writing + loadedFonts +
                   "FontSlotsDone Font operation acknowledged. Font slots refreshed.\n" +
                   loadedFonts + "FontSlotsDone Font slots refreshed.\n");
        addRow("font", "B0,B1", "c401,c5", writing + refused);
        addRow("list-fonts", "E101", "de00", "! Invalid font slot response.\n");
        const QByteArray status = "Status Reading/updating Pivex settings...\n";
        const QByteArray changed =
            " The setting may have changed. Reconnect and read it before retrying.\n";
        addRow("settings", record + "," + fontSlots, "e400,de00,de01,de02,de03,de04,de05",
               status + loadedFonts + "SettingsLoaded Pivex settings loaded.\n");
        addRow("settings", "E5", "e400",
               status + "! Settings operation stopped: Pivex returned an invalid settings "
                        "response.\n");
        addRow("settings", record + ",E101", "e400,de00",
               status + "! Invalid font slot response.\n");
        addRow("setting", record, "e4010702",
               status + "SettingsLoaded Pivex settings updated and confirmed.\n");
        addRow("setting", "E5" + QByteArray(28, '0'), "e4010702",
               status +
                   "! Settings operation stopped: PCB returned a different setting value. "
                   "Refresh settings before retrying." +
                   changed);
        addRow("bad-setting", "", "",
               status + "! Settings operation stopped: Invalid setting or setting value." +
                   changed);
    }

private Q_SLOTS:

    void operations_data() {
        QTest::addColumn<QByteArray>("passes");
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArray>("log");
        addChipRows();
        addUploadRows();
        addBatchRows();
        addImageRows();
        addFontAndSettingsRows();
    }

    void operations() {
        QFETCH(QByteArray, passes);
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, sent);
        ScriptedBoard board(script);
        QTEST(served(passes, board), "log");
        if (sent != "*") {
            QCOMPARE(board.sent(), sent);
        }
    }

    void savingStaysPossibleAfter_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<bool>("stays");
        QTest::newRow("settings") << record + "," + fontSlots << true;
        QTest::newRow("setting") << record << true;
        QTest::newRow("delete-image") << QByteArray("B0") << true;
        QTest::newRow("list-images") << QByteArray("B3*239") << true;
        QTest::newRow("list-fonts") << fontSlots << true;
        QTest::newRow("list") << noList << true;
        QTest::newRow("image") << QByteArray("B0*2,B3*239") << false;
        QTest::newRow("load-image") << storedImage << false;
        QTest::newRow("font") << "B0*2," + fontSlots << false;
        QTest::newRow("delete-chip") << "B2," + noList << false;
        QTest::newRow("erase") << "B2," + noList << false;
        QTest::newRow("batch") << "05,B2*3,05,B2*4," + noList << false;
        QTest::newRow("load-chip") << storedChip << false;
        QTest::newRow("upload") << QByteArray("06") << false;
    }

    void savingStaysPossibleAfter() {
        QFETCH(QByteArray, script);
        ScriptedBoard board("05,B2*2," + script + ",05,B2," + noList);
        const QByteArray log =
            served("upload;" + QByteArray(QTest::currentDataTag()) + ";save", board);
        QTEST(log.contains("StorageChanged Permanently saved T."), "stays");
        QCOMPARE(log.endsWith("! No acknowledged upload to save. Send the chip first.\n"),
                 !log.contains("Permanently saved T."));
    }

    void onePassServesEverythingInOrder() {
        ScriptedBoard board(record + "," + fontSlots + ",B0*3," + storedImage + ",B3*239,B0*2," +
                            fontSlots + ",B2,05,B2*3,05,B2*4,B2,05,B2*2," + noList + "," +
                            storedChip);
        const QByteArray log = served("load-chip+upload+erase+batch+delete-chip+font+load-image+"
                                      "delete-image+image+settings",
                                      board);
        QByteArray commands;
        for (const QByteArray& sent : board.sent().split(',')) {
            if (!commands.endsWith(sent.left(2))) {
                commands += sent.left(2);
            }
        }
        QVERIFY2(log.endsWith("Not run.\n"), log.constData());
        QCOMPARE(commands, "e4"
                           "de"
                           "a4a5"
                           "eb"
                           "e7e8"
                           "d4"
                           "c4c5"
                           "de"
                           "da"
                           "afcacdc6"
                           "afcacdc6"
                           "cf"
                           "d3"
                           "afcacd"
                           "c8"
                           "d6d7d8");
    }

    void identityIsReported() {
        SerialMailbox mailbox;
        ScriptedBoard board("E0506976657800ff,E0,E000,B2");
        SerialWorker worker(mailbox, board.query());
        worker.identify();
        const auto events = mailbox.drain();
        QCOMPARE(events.size(), std::size_t{1});
        QCOMPARE(events[0].kind, SerialEvent::Kind::Connected);
        QCOMPARE(events[0].text, "Pivex");
        QVERIFY(mailbox.refreshChips);
        const QByteArray empty = "Pivex returned an empty identity.";
        QCOMPARE(thrownText([&] { worker.identify(); }), empty);
        QCOMPARE(thrownText([&] { worker.identify(); }), empty);
        QCOMPARE(thrownText([&] { worker.identify(); }), "Unexpected PCB response: 178");
    }

    void payloadsReachTheEvents() {
        SerialMailbox mailbox;
        ScriptedBoard board(record +
                            ",E2000102"
                            "03" +
                            QByteArray(8, '0') + "41" + QByteArray(62, '0') +
                            ",E101,E102,E103,E104,E105," + storedImage + ",BB4242,B3*237,BB43," +
                            storedChip);
        SerialWorker worker(mailbox, board.query());
        for (const char* name : {"settings", "load-image", "list-images", "load-chip"}) {
            requests.at(name)(mailbox);
        }
        worker.serveRequests();
        for (const SerialEvent& event : mailbox.drain()) {
            if (event.kind == SerialEvent::Kind::SettingsLoaded) {
                QCOMPARE(event.settings.bytes[9], 2);
            } else if (event.kind == SerialEvent::Kind::FontSlotLoaded && event.index == 0) {
                QCOMPARE(event.font, (FontSlot{true, "A", {1, 2, 3}}));
            } else if (event.kind == SerialEvent::Kind::ImageLoaded) {
                QCOMPARE(event.image.pixels, Pixels{0x0102});
            } else if (event.kind == SerialEvent::Kind::ImageSlotsLoaded) {
                QCOMPARE(event.images[0], (ImageSlot{true, "BB"}));
                QCOMPARE(event.images[1], (ImageSlot{true, ""}));
                QCOMPARE(event.images[238], (ImageSlot{true, "C"}));
            } else if (event.kind == SerialEvent::Kind::ChipLoaded) {
                QCOMPARE(event.chip.name, "A");
            }
        }
    }
};

QTEST_APPLESS_MAIN(SerialWorkerTest)
#include "SerialWorkerTest.moc"
