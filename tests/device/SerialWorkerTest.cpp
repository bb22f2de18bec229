#include "device/SerialWorker.h"

#include "device/SerialMailbox.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <map>

using namespace pivex;
using namespace pivex::testing;

namespace {

using Compound = CompoundRequests;

UploadPlan plan(const std::string& name) {
    return {name, 16, {{Command::UploadMetadata, {1}}, {Command::UploadCodeLength, {2}}}};
}

const std::vector<ImagePacket> image{{Command::ImageDataChunk, {1}, false},
                                     {Command::ImageDataCommit, {}, true}};
const std::vector<FontPacket> font{{Command::FontDataChunk, {1}, false},
                                   {Command::FontDataCommit, {}, true}};

/// The requests by name; each takes what stands behind its colon.
const std::map<QByteArray, void (*)(SerialMailbox&, const QByteArray&)> requests{
    {"settings", [](auto& box, auto& hex) { box.put(&Compound::settingsRequest, fromHex(hex)); }},
    {"image", [](auto& box, auto&) { box.put(&Compound::imagePackets, image); }},
    {"delete-image", [](auto& box, auto& slot) { box.deleteImage = slot.toInt(); }},
    {"load-image", [](auto& box, auto& slot) { box.loadImage = slot.toInt(); }},
    {"list-images", [](auto& box, auto&) { box.refreshImages = true; }},
    {"font", [](auto& box, auto&) { box.put(&Compound::fontPackets, font); }},
    {"list-fonts", [](auto& box, auto&) { box.refreshFonts = true; }},
    {"delete", [](auto& box, auto& index) { box.deleteChip = index.toInt(); }},
    {"save", [](auto& box, auto&) { box.put(&Compound::saveRequested, true); }},
    {"batch",
     [](auto& box, auto&) {
         box.put(&Compound::batch, {{plan("A"), plan("B")}});
     }},
    {"no-batch", [](auto& box, auto&) { box.put(&Compound::batch, std::vector<UploadPlan>()); }},
    {"erase", [](auto& box, auto&) { box.eraseAll = true; }},
    {"upload", [](auto& box, auto&) { box.put(&Compound::upload, plan("T")); }},
    {"list", [](auto& box, auto&) { box.refreshChips = true; }},
    {"load", [](auto& box, auto& index) { box.loadChip = index.toInt(); }},
};

/// The text of an event, its number and whatever else it holds.
QByteArray contentOf(const SerialEvent& event) {
    const auto& [name, pins, type, picture, code, strings] = event.chip;
    std::string text = event.text + event.font.name + event.image.name + name + code + strings[0] +
                       strings[7] + (event.index > 0 ? "#" + std::to_string(event.index) : "");
    const auto add = [&](const auto& values) {
        for (const auto value : values) {
            text += ' ' + std::to_string(value);
        }
    };
    add(event.image.pixels);
    add(event.image.rle);
    if (event.chip != ChipDocument()) {
        add(std::array{type, pins, picture});
    } else if (event.font.read) {
        add(event.font.properties);
    } else if (event.settings != DeviceSettings()) {
        add(event.settings.bytes);
    }
    for (const ImageSlot& slot : event.images) {
        text += slot.name + (slot.read ? "." : "");
    }
    return QByteArray::fromStdString(text);
}

/// Answers separated by commas: each a response code and payload in hexadecimal words ("00x9" for
/// nine zeros), "*N" behind one that comes N times.
QByteArrayList answersIn(const QByteArray& script) {
    QByteArrayList answers;
    for (const QByteArray& entry : script.simplified().split(',')) {
        const QByteArrayList parts = entry.split('*');
        answers += QByteArrayList(parts.size() > 1 ? parts[1].toInt() : 1, hexOf(parts[0]));
    }
    return answers;
}

/// A board that takes from `answers`, until a request fails with "no answer", and notes in `asked`
/// all requests, those of one command and length in a row as "first..last".
Query boardWith(QByteArrayList& answers, QByteArrayList& asked) {
    return [&](Command command, Response, const Bytes& payload) {
        const QByteArray request = toHex({static_cast<std::uint8_t>(command)}) + toHex(payload);
        const QByteArray last = asked.isEmpty() ? QByteArray() : asked.last().split('.').last();
        if (last.size() == request.size() && last.startsWith(request.first(2))) {
            asked.last() = asked.last().first(last.size()) + ".." + request;
        } else {
            asked.append(request);
        }
        Bytes packet = answers.isEmpty() ? Bytes() : fromHex(answers.takeFirst());
        if (packet.empty()) {
            throw std::runtime_error("no answer");
        }
        packet.insert(packet.begin() + 1, 0);
        return packet;
    };
}

/// Serves `passes` ("a+b;c": a and b in the first pass, c in the second) on a board with `script`.
/// Gives what was asked, " | ", and the events and the failure that ended them, separated by " / ".
QByteArray served(const QByteArray& passes, const QByteArray& script) {
    QByteArrayList answers = answersIn(script);
    QByteArrayList asked;
    SerialMailbox mailbox;
    SerialWorker worker(mailbox, boardWith(answers, asked));
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
        log += contentOf(event);
    }
    log += failure.isEmpty() ? QByteArrayList() : QByteArrayList{"! " + failure};
    log += answers.join().isEmpty() ? QByteArrayList() : QByteArrayList{"unasked " + answers[0]};
    return asked.join(',') + " | " + log.join(" / ");
}

/// Abbreviations in the rows below.
const std::map<QByteArray, QByteArray> abbreviations{
    {"$none", "B9 0000"},
    {"$long", QByteArray(64, 'b')},
    {"$meta", "BC 5AA5 4142 00x30 0201 10 03"},
    {"$chip", "$meta 1000 00x88, BD 1000, BD F0 00x15, BE 61, BE*6, BE 62x64"},
    {"$image", "E9 49 00x31 02 01"},
    {"$fonts", "E1 00, E1 01, E1 02, E1 03, E1 04, E1 05"},
    {"$record", "E5 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E"},
    {"$237", QByteArray(237, '.')},
    {"$list", "Reading stored PCB tests... /"},
    {"$again", "Inspect the PCB list before retrying;"},
    {"$up", "05, B2*2"},
    {"$ok", "05, B2, $none"},
    {"$saved", "Permanently saved T. Loaded 0 stored tests from PCB."},
    {"$unsent", "! No acknowledged upload to save. Send the chip first."},
    {"$loaded", "#1 0 0 0 / #2 0 0 0 / #3 0 0 0 / #4 0 0 0 / #5 0 0 0 /"},
};

QByteArray expanded(QByteArray text) {
    for (int round = 0; round < 2; ++round) {
        for (const auto& [word, meaning] : abbreviations) {
            text.replace(word, meaning);
        }
    }
    return text.simplified().replace('~', ' ');
}

/// One case a row: requests | answers | requests sent (* for any) | events ("..." for any before).
/// A "~" is a blank that counts; an "or" parts cases that differ in one column. The first row asks
/// for everything at once.
const QByteArray operationRows = R"(
load:258+upload+erase+batch+delete:3+font+load-image:239+delete-image:15+image+settings:00 |
    $record, $fonts, B0, B2, B0, $image 06000000, EA 0000 01, EA 0100 0102010304, BB 41, B3*237,
    BB 42 00 43, B2, B0, E2 00 05FE06 00x4 41 00x31, E1 01, E1 02, E1 03, E1 04, E1 05, B2,
    05, B2*3, 05, B2*4, B2, 05, B2*2, B9 0200, BA 4100, BA, $chip |
    e400,de00..de05,a401,a5,eb0f00,e7ef00,e8ef000000..e8ef000100,d40100..d4ef00,c401,c5,de00..de05,
    da0300,af,ca01,cd02,c6,af,ca01,cd02,c6,cf,d3,af,ca01,cd02,c8,c70000..c70100,d60201,d70201..
    d7aaaa,d8020100..d8020107 |
    Reading/updating Pivex settings... / ~0 0 0 / $loaded
    Pivex settings loaded. 1 2 3 4 5 6 7 8 9 10 11 12 13 14 /
    Saving image: 1/2 packets acknowledged. / Saving image: 2/2 packets acknowledged. /
    Deleting image from slot 15... / Image deleted from slot 15.#15 /
    Loading image from slot 239... / Image loaded from PCB. Save As to keep a local copy.I 258 772
    1 1 2 1 3 4 / Refreshing image slots... / A.$237B. /
    Image save acknowledged. Image slots refreshed. /
    Writing font slot... / A 5 254 6 / $loaded Font operation acknowledged. Font slots refreshed. /
    Deleting selected chip from Pivex... / Selected chip deletion acknowledged.~ /
    Batch 0/2 saved: Uploading A / Batch 0/2 saved: Permanently saving A /
    Batch 1/2 saved: Saved A / Batch 1/2 saved: Uploading B /
    Batch 1/2 saved: Permanently saving B / Batch 2/2 saved: Saved B /
    Batch complete: 2 chips permanently saved.~ / Erasing all chips from Pivex... /
    Delete All Chips acknowledged. Refreshing PCB list... / Checking PCB Upload Mode... /
    Sending T: 1/2 packets acknowledged. / Sending T: 2/2 packets acknowledged. /
    Send complete: T (16 code bytes). All packets acknowledged. Not permanently saved; not run. /
    $list A / Unnamed chip 2#1 /
    Batch complete: 2 chips permanently saved. Loaded 2 stored tests from PCB. /
    Reading selected test from PCB... / Chip loaded from PCB. Save As to keep a local copy.
    Not run.ABENDTESTa$long 258 16 3

delete:0+erase;list | B2*2, $none, $none | da0000,d3,c8..c8 | ... $list
    Selected chip deletion acknowledged. Loaded 0 stored tests from PCB. / $list
    Loaded 0 stored tests from PCB.
delete:65536 | | | ... ! Invalid selected chip index.
load:65536 | | | ... ! Invalid PCB chip index.
load:0 | BC, BC 5AA5 41x32 42 00x58, BC 00x50, BD 0000, BE*8 | * |
    ... Not run.AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA 66 0 0
load:0 | BC 5AA4 00x126 | d60000 | ... ! Invalid chip metadata.
load:0 | $meta 1000 00x88, BD 3000, BD F0 00x15, BD FFx99, BE*8 | * | ... ABENDTEST 258 16 3
load:0 | $meta 0000 00x88, BD 0000, BE 62x64 00 or $meta 0000 00x88, BD 0000, BE 00x65 | * |
    ... ! Oversized chip string response.
load:0 | $meta 3000 00x88, BD 2000 or $meta 2800 00x88, BD 4000 | * |
    ... ! Invalid logical code length in metadata.

save | | | $unsent
upload;save | 05, B1*3, B2, B1*3, B2, 05, B2, $none | af,ca01..ca01,cd02..cd02,af,c6,c8 | ...
    Permanently saving T... / Permanently saved T.~ / $list $saved
upload;settings:00+delete-image:15+list-images;list-fonts+list;save |
    $up, $record, $fonts, B0, B3*239, $fonts, $none, $ok | * | ... $saved
upload;image;save | $up, B0*2, B3*239 | * | ... $unsent
upload;load-image:1;save | $up, $image 03000000, EA 0000 02 0000 | * | ... $unsent
upload;font;save | $up, B0*2, $fonts | * | ... $unsent
upload;delete:0;save or upload;erase;save | $up, B2, $none | * | ... $unsent
upload;batch;save | $up, 05, B2*3, 05, B2*4, $none | * | ... $unsent
upload;load:0;save | $up, $chip | * | ... $unsent
upload;upload;save | $up, 06 | * | ... $unsent
upload;save;save | $up, B1 | af,ca01,cd02,af |
    ... PCB is not in Upload Mode. Send the chip again before saving. / $unsent
no-batch | | | ! No chip files in batch.
upload;save+batch | $up, 05, B2, 05 | af,ca01,cd02,af,c6,af,ca01 | ... ! Batch stopped: 0/2
    saves acknowledged. no answer Earlier saves are not rolled back. $again the last write may have
    succeeded even without an acknowledgment.

image;list-images | B0*2, B3*478 | * | ... / Image slots refreshed.
font;list-fonts | B2*2, $fonts, $fonts | * | ... $loaded Font slots refreshed.
delete-image:14 or delete-image:240 | | |
    ... Only image slots 15-239 may be deleted. Refresh the image list before retrying.
load-image:0 or load-image:240 | | | ... ! Image slot must be 1-239. Slot zero is reserved.
load-image:3 | E9 00x32 0001 06000000 or E9 00x32 0100 06000000 or E9 00x32 A101 06000000 or
    E9 00x32 0181 06000000 | e70300 | ... ! Image size must be 1-160 wide and 1-128 high.
load-image:3 | $image 00000000 or $image 64000000 or $image 02100000 or $image 06000100 | e70300 |
    ... ! Invalid PCB compressed image size.
load-image:3 | $image FF0F0000 | e70300,e803000000 | ... ! no answer
load-image:3 | $image 06000000, EA 0000 or $image 06000000, EA 0000 01, EA 0000 0102 or
    $image 06000000, EA 0000 01020304050607 | * | ... ! Invalid image chunk offset or length.
list-fonts | E1 01 | de00 | ! Invalid font slot response.
list-fonts | E2 00x39 | de00 | ! Invalid font metadata response.
settings:00 | E5 00x13 | e400 | ... Pivex returned an invalid settings response.
settings: or settings:01 or settings:0000 or settings:0107 or settings:000702 or settings:020700 or
    settings:01070200 | | | ... ! Settings operation stopped: Invalid settings request.
settings:010202 or settings:010303 or settings:010502 or settings:010602 or settings:010706 or
    settings:010400 | | | ... ! Settings operation stopped: Invalid setting or setting value. The
    setting may have changed. Reconnect and read it before retrying.
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
        const QByteArray sent = row[2].replace(" ", "");
        const QByteArray log = expanded(row[3]);
        const bool isEnd = log.startsWith("... ");
        for (const QByteArray& passes : row[0].trimmed().replace(" or ", "|").split('|')) {
            for (const QByteArray& script : expanded(row[1]).replace(" or ", "|").split('|')) {
                const QByteArray outcome = served(passes, script);
                QVERIFY2(sent == "*" || outcome.startsWith(sent + " | "), outcome);
                const qsizetype begin =
                    isEnd ? outcome.size() - log.size() + 4 : outcome.indexOf(" | ") + 3;
                QCOMPARE(outcome.mid(begin), log.mid(isEnd ? 4 : 0));
            }
        }
    }

    void settingsAreConfirmed() {
        for (const auto& [setting, largest, byte] : settingRules) {
            const QByteArray write = "01" + toHex({setting, largest});
            Bytes record(15);
            record[0] = 0xE5;
            record[byte + 1] = largest;
            QVERIFY(served("settings:" + write, toHex(record))
                        .startsWith("e4" + write +
                                    " | Reading/updating Pivex settings... / Pivex "
                                    "settings updated and confirmed."));
            record[byte + 1] = 9;
            QVERIFY(served("settings:" + write, toHex(record))
                        .contains("stopped: PCB returned a different setting value."));
        }
    }
};

QTEST_APPLESS_MAIN(SerialWorkerTest)
#include "SerialWorkerTest.moc"
