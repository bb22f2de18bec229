#include "device/SerialWorker.h"

#include "device/SerialMailbox.h"
#include "support/ScriptedBoard.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <map>

using namespace pivex;
using namespace pivex::testing;

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

const std::vector<ImagePacket> image{{Command::ImageDataChunk, {1}, false},
                                     {Command::ImageDataCommit, {}, true}};
const std::vector<FontPacket> font{{Command::FontDataChunk, {1}, false},
                                   {Command::FontDataCommit, {}, true}};

using Request = std::function<void(SerialMailbox&, const QByteArray&)>;

template<typename Slot, typename Value>
Request put(Slot CompoundRequests::*slot, Value value) {
    return [=](SerialMailbox& box, const QByteArray&) { box.put(slot, value); };
}

Request number(std::atomic<int> SerialMailbox::*slot) {
    return [=](SerialMailbox& box, const QByteArray& value) { box.*slot = value.toInt(); };
}

Request flag(std::atomic<bool> SerialMailbox::*slot) {
    return [=](SerialMailbox& box, const QByteArray&) { box.*slot = true; };
}

/// The requests by name; each takes what stands behind its colon.
const std::map<QByteArray, Request> requests{
    {"settings",
     [](auto& box, auto& hex) { box.put(&CompoundRequests::settingsRequest, fromHex(hex)); }},
    {"image", put(&CompoundRequests::imagePackets, image)},
    {"delete-image", number(&SerialMailbox::deleteImage)},
    {"load-image", number(&SerialMailbox::loadImage)},
    {"list-images", flag(&SerialMailbox::refreshImages)},
    {"font", put(&CompoundRequests::fontPackets, font)},
    {"list-fonts", flag(&SerialMailbox::refreshFonts)},
    {"delete", number(&SerialMailbox::deleteChip)},
    {"save", put(&CompoundRequests::saveRequested, true)},
    {"batch", put(&CompoundRequests::batch, std::vector{plan("A"), plan("B")})},
    {"no-batch", put(&CompoundRequests::batch, std::vector<UploadPlan>())},
    {"erase", flag(&SerialMailbox::eraseAll)},
    {"upload", put(&CompoundRequests::upload, plan("T"))},
    {"list", flag(&SerialMailbox::refreshChips)},
    {"load", number(&SerialMailbox::loadChip)},
};

/// What the event holds beside its text.
std::string payloadOf(const SerialEvent& event) {
    std::string text = event.index > 0 ? "#" + std::to_string(event.index) : "";
    const auto add = [&](const auto& values) {
        for (const auto value : values) {
            text += ' ' + std::to_string(value);
        }
    };
    text += event.font.name;
    if (event.kind == SerialEvent::Kind::ChipLoaded) {
        const auto& [name, pins, type, picture, code, strings] = event.chip;
        add(std::array{type, pins, picture});
        text += " " + name + " " + code + " " + strings[0] + " " + strings[7];
    } else if (event.kind == SerialEvent::Kind::ImageLoaded) {
        text += " " + event.image.name;
        add(event.image.pixels);
        add(event.image.rle);
    } else if (event.kind == SerialEvent::Kind::FontSlotLoaded) {
        add(event.font.properties);
    } else if (event.kind == SerialEvent::Kind::SettingsLoaded) {
        add(event.settings.bytes);
    }
    for (const ImageSlot& slot : event.images) {
        text += slot.name + (slot.read ? "." : "");
    }
    return text;
}

/// Serves `passes` ("a+b;c": a and b in the first pass, c in the second) on `board` and gives the
/// events and the failure that ended them, separated by " / ".
QByteArray served(const QByteArray& passes, ScriptedBoard& board) {
    SerialMailbox mailbox;
    SerialWorker worker(mailbox, board.query());
    const QByteArray failure = thrownText([&] {
        for (const QByteArray& pass : passes.split(';')) {
            for (const QByteArray& request : pass.split('+')) {
                const QByteArrayList parts = request.split(':');
                requests.at(parts.first())(mailbox, parts.last());
            }
            worker.serveRequests();
        }
    });
    QByteArrayList log;
    for (const SerialEvent& event : mailbox.drain()) {
        const std::string kind = kindNames.at(static_cast<std::size_t>(event.kind));
        log += QByteArray::fromStdString(kind + " " + event.text + payloadOf(event));
    }
    return (failure.isEmpty() ? log : log << "! " + failure).join(" / ");
}

/// Abbreviations in the scripts and logs below.
const std::map<QByteArray, QByteArray> abbreviations{
    {"$none", "B9 0000"},
    {"$meta", "BC 5AA5 4142 00x30 0201 10 03"},
    {"$chip", "$meta 1000 00x88, BD 1000, BD F0 00x15, BE 61, BE*6, BE 62x64"},
    {"$image", "E9 49 00x31 02 01"},
    {"$fonts", "E1 00, E1 01, E1 02, E1 03, E1 04, E1 05"},
    {"$record", "E5 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E"},
    {"$long", QByteArray(64, 'b')},
    {"$239", QByteArray(239, '.')},
    {"$237", QByteArray(237, '.')},
    {"$list", "ChipListStarted Reading stored PCB tests... /"},
    {"$sent", "Status Checking PCB Upload Mode... / Status Sending T: 1/2 packets acknowledged. / "
              "Status Sending T: 2/2 packets acknowledged. / UploadDone Send complete: T (16 code "
              "bytes). All packets acknowledged. Not permanently saved; not run."},
    {"$batch", "Status Batch 0/2 saved: Uploading A / Status Batch 0/2 saved: Permanently saving A "
               "/ Status Batch 1/2 saved: Saved A / Status Batch 1/2 saved: Uploading B / Status "
               "Batch 1/2 saved: Permanently saving B /"},
    {"$loaded", "FontSlotLoaded~ 0 0 0 / FontSlotLoaded #1 0 0 0 / FontSlotLoaded #2 0 0 0 / "
                "FontSlotLoaded #3 0 0 0 / FontSlotLoaded #4 0 0 0 / FontSlotLoaded #5 0 0 0 /"},
    {"$settings", "Status Reading/updating Pivex settings... /"},
};

QByteArray expanded(QByteArray text) {
    for (int round = 0; round < 2; ++round) {
        for (const auto& [word, meaning] : abbreviations) {
            text.replace(word, meaning);
        }
    }
    return text.simplified().replace('~', ' ');
}

/// One operation a row: requests | answers | requests sent (* for any) | events ("..." for any
/// before). A "~" is a blank that counts.
const QByteArray operationRows = R"(
list | B9 0200, BA 4100, BA | c8,c70000,c70100 | $list ChipListed A / ChipListed Unnamed chip 2#1 /
    ChipListDone Loaded 2 stored tests from PCB.
delete:3 | B2, $none | da0300,c8 | Status Deleting selected chip from Pivex... /
    StorageChanged Selected chip deletion acknowledged.~ / $list
    ChipListDone Selected chip deletion acknowledged. Loaded 0 stored tests from PCB.
delete:65536 | | | ... ! Invalid selected chip index.
erase | B2, $none | d3,c8 | Status Erasing all chips from Pivex... /
    StorageChanged Delete All Chips acknowledged. Refreshing PCB list... / $list
    ChipListDone Loaded 0 stored tests from PCB.
delete:0+erase;list | B2*2, $none, $none | da0000,d3,c8*2 | ...
    ChipListDone Selected chip deletion acknowledged. Loaded 0 stored tests from PCB. / $list
    ChipListDone Loaded 0 stored tests from PCB.

load:258 | $chip |
    d60201,d70201,d7aaaa,d8020100,d8020101,d8020102,d8020103,d8020104,d8020105,d8020106,d8020107 |
    Status Reading selected test from PCB... / ChipLoaded Chip loaded from PCB. Save As to keep a
    local copy. Not run. 258 16 3 AB ENDTEST a $long
load:65536 | | | ... ! Invalid PCB chip index.
load:0 | BC, BC 5AA5 41 00x90, BC 00x50, BD 0000, BE*8 | * | ... Not run. 0 0 0 A~~~
load:0 | BC 5AA4 00x126 | d60000 | ... ! Invalid chip metadata.
load:0 | $meta 1000 00x88, BD 3000, BD F0 00x15, BD FFx99, BE*8 | * | ... Not run. 258 16 3 AB
    ENDTEST~~
load:0 | $meta 3000 00x88, BD 2000 | d60000,d70000 | ... ! Invalid logical code length in metadata.
load:0 | $meta 2800 00x88, BD 4000 | d60000,d70000 | ... ! Invalid logical code length in metadata.

upload | 05, B1*3, B2, B1*3, B2 | af,ca01*4,cd02*4 | $sent
save | | | ! No acknowledged upload to save. Send the chip first.
upload;save | 05, B2*2, 05, B2, $none | af,ca01,cd02,af,c6,c8 | $sent /
    Status Permanently saving T... / StorageChanged Permanently saved T.~ / $list
    ChipListDone Permanently saved T. Loaded 0 stored tests from PCB.
upload;save;save | 05, B2*2, B1 | af,ca01,cd02,af | $sent / UploadModeMissing PCB is not in Upload
    Mode. Send the chip again before saving. / ! No acknowledged upload to save. Send the chip
    first.

batch | 05, B2*3, 05, B2*4, $none | af,ca01,cd02,c6,af,ca01,cd02,c6,cf,c8 | $batch
    Status Batch 2/2 saved: Saved B / BatchDone Batch complete: 2 chips permanently saved.~ / $list
    ChipListDone Batch complete: 2 chips permanently saved. Loaded 0 stored tests from PCB.
no-batch | | | ! No chip files in batch.
upload;save+batch | 05, B2*2, 05, B2, 05 | af,ca01,cd02,af,c6,af,ca01 | ... ! Batch stopped: 0/2
    saves acknowledged. no answer Earlier saves are not rolled back. Inspect the PCB list before
    retrying; the last write may have succeeded even without an acknowledgment.

image;list-images | B1*2, B0, B2, B3*239, BB 41, B3*237, BB 42 00 43 | * |
    Status Saving image: 1/2 packets acknowledged. / Status Saving image: 2/2 packets acknowledged.
    /
    Status Refreshing image slots... / ImageSlotsLoaded $239 /
    ImageSlotsDone Image save acknowledged. Image slots refreshed. /
    Status Refreshing image slots... / ImageSlotsLoaded A.$237B. /
    ImageSlotsDone Image slots refreshed.
delete-image:15 | B1*2, B0 | eb0f00*3 | Status Deleting image from slot 15... /
    ImageDeleted Image deleted from slot 15.#15
delete-image:14 | | | ... ! Image deletion stopped: Only image slots 15-239 may be deleted.
    Refresh the image list before retrying.
delete-image:240 | | | ... ! Image deletion stopped: Only image slots 15-239 may be deleted.
    Refresh the image list before retrying.
load-image:239 | $image 06000000, EA 0000 01, EA 0100 0102010304 | e7ef00,e8ef000000,e8ef000100 |
    Status Loading image from slot 239... /
    ImageLoaded Image loaded from PCB. Save As to keep a local copy. I 258 772 1 1 2 1 3 4
load-image:0 | | | ... ! Image slot must be 1-239. Slot zero is reserved.
load-image:3 | E9 00x32 0001 06000000 | e70300 | ... ! Image size must be 1-160 wide and 1-128 high.
load-image:3 | E9 00x32 A101 06000000 | e70300 | ... ! Image size must be 1-160 wide and 1-128 high.
load-image:3 | E9 00x32 0181 06000000 | e70300 | ... ! Image size must be 1-160 wide and 1-128 high.
load-image:3 | $image 00000000 | e70300 | ... ! Invalid PCB compressed image size.
load-image:3 | $image 64000000 | e70300 | ... ! Invalid PCB compressed image size.
load-image:3 | $image 02100000 | e70300 | ... ! Invalid PCB compressed image size.
load-image:3 | $image 06000100 | e70300 | ... ! Invalid PCB compressed image size.
load-image:3 | $image FF0F0000 | e70300,e803000000 | ... ! no answer

font;list-fonts | B1*2, B2, B0, $fonts, $fonts | * |
    Status Writing font slot... / $loaded
    FontSlotsDone Font operation acknowledged. Font slots refreshed. / $loaded
    FontSlotsDone Font slots refreshed.
list-fonts | E2 00 05FE06 00x4 41 00x31 | de00,de01 | FontSlotLoaded A 5 254 6 / ! no answer

settings:00 | B1*2, $record, $fonts | e400*3,de00,de01,de02,de03,de04,de05 | $settings $loaded
    SettingsLoaded Pivex settings loaded. 1 2 3 4 5 6 7 8 9 10 11 12 13 14
)";

} // namespace

class SerialWorkerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void operations_data() {
        QTest::addColumn<QByteArrayList>("row");
        QByteArray rows = operationRows;
        for (const QByteArray& row : rows.replace("\n    ", " ").split('\n')) {
            if (!row.isEmpty()) {
                QTest::addRow("%s", row.left(60).constData()) << row.split('|');
            }
        }
    }

    void operations() {
        QFETCH(QByteArrayList, row);
        ScriptedBoard board(expanded(row[1]));
        const QByteArray log = served(row[0].trimmed(), board);
        const QByteArray expected = expanded(row[3]);
        if (expected.startsWith("... ")) {
            QCOMPARE(log.right(expected.size() - 4), expected.mid(4));
        } else {
            QCOMPARE(log, expected);
        }
        const QByteArray sent = row[2].replace(" ", "");
        QCOMPARE(sent == "*" ? sent : board.sent(), sent);
    }

    void settingsAreChecked() {
        const auto check = [](const QByteArray& write, const QByteArray& answer,
                              const QByteArray& outcome) {
            ScriptedBoard board(answer);
            const QByteArray log = served("settings:" + write, board);
            QVERIFY2(log.contains(outcome), log + " for " + write);
            QCOMPARE(board.sent(), answer.isEmpty() ? QByteArray() : "e4" + write);
        };
        for (const auto& [setting, largest, byte] : settingRules) {
            Bytes record(15);
            record[0] = 0xE5;
            record[byte + 1] = largest;
            const QByteArray write = "01" + toHex({setting, largest});
            check(write, toHex(record), "Loaded Pivex settings updated and confirmed.");
            record[byte + 1] = 9;
            check(write, toHex(record), "stopped: PCB returned a different setting value.");
        }
        for (const char* bad : {"", "01", "0000", "0107", "000702", "020700", "01070200"}) {
            check(bad, {}, "! Settings operation stopped: Invalid settings request.");
        }
        for (const char* bad : {"010202", "010303", "010502", "010602", "010706", "010400"}) {
            check(bad, {}, "stopped: Invalid setting or setting value. The setting may have");
        }
    }

    void savingStaysPossibleAfterReads() {
        const auto check = [](const QByteArray& request, const QByteArray& answers, bool stays) {
            ScriptedBoard board("05, B2*2, " + expanded(answers) + ", 05, B2, B9 0000");
            const QByteArray log = served("upload;" + request + ";save", board);
            QCOMPARE(log.endsWith("Permanently saved T. Loaded 0 stored tests from PCB."), stays);
            QCOMPARE(log.endsWith("! No acknowledged upload to save. Send the chip first."),
                     !stays);
        };
        check("settings:00", "$record, $fonts", true);
        check("delete-image:15", "B0", true);
        check("list-images", "B3*239", true);
        check("list-fonts", "$fonts", true);
        check("list", "$none", true);
        check("image", "B0*2, B3*239", false);
        check("load-image:1", "$image 03000000, EA 0000 02 0000", false);
        check("font", "B0*2, $fonts", false);
        check("delete:0", "B2, $none", false);
        check("erase", "B2, $none", false);
        check("batch", "05, B2*3, 05, B2*4, $none", false);
        check("load:0", "$chip", false);
        check("upload", "06", false);
    }

    void onePassServesEverythingInOrder() {
        ScriptedBoard board(
            expanded("$record, $fonts, B0*3, $image 03000000, EA 0000 02 0000, B3*239, B0*2, "
                     "$fonts, B2, 05, B2*3, 05, B2*4, B2, 05, B2*2, $none, $chip"));
        const QByteArray log = served("load:0+upload+erase+batch+delete:0+font+load-image:1+"
                                      "delete-image:15+image+settings:00",
                                      board);
        QVERIFY2(log.contains("Not run."), log.constData());
        QByteArray commands;
        for (const QByteArray& sent : board.sent().split(',')) {
            commands += commands.endsWith(sent.first(2)) ? "" : sent.first(2);
        }
        QCOMPARE(commands, "e4dea4a5ebe7e8d4c4c5dedaafcacdc6afcacdc6cfd3afcacdc8d6d7d8");
    }
};

QTEST_APPLESS_MAIN(SerialWorkerTest)
#include "SerialWorkerTest.moc"
