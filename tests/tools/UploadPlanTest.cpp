#include "support/Hex.h"
#include "support/TextCases.h"
#include "support/Thrown.h"
#include "tools/FontUploadPlan.h"
#include "tools/ImageUploadPlan.h"

#include <numeric>

using namespace pivex;
using namespace pivex::testing;

namespace {

/// `count` zero bytes in hexadecimal.
QByteArray zeros(qsizetype count) {
    return QByteArray(2 * count, '0');
}

/// `plan` as "command payload" in hexadecimal, with "!" at commits, divided by commas.
template<typename Plan>
QByteArray packetText(const Plan& plan) {
    QByteArrayList packets;
    for (const auto& packet : plan) {
        packets.append(toHex({static_cast<std::uint8_t>(packet.command)}) + ' ' +
                       toHex(packet.payload) + (packet.commit ? "!" : ""));
    }
    return packets.join(", ");
}

/// The payloads of all packets of `command`, one after another.
template<typename Plan>
Bytes joined(const Plan& plan, Command command) {
    Bytes bytes;
    for (const auto& packet : plan) {
        if (packet.command == command) {
            bytes.insert(bytes.end(), packet.payload.begin(), packet.payload.end());
        }
    }
    return bytes;
}

/// A black image of `runs` runs, all of one pixel but the last.
ImageDocument withRuns(int runs) {
    const int height = (runs + 159) / 160;
    ImageDocument image{"Runs", 160, height, Pixels(static_cast<std::size_t>(160 * height)), {}};
    for (int run = 1; run < runs; ++run) {
        image.rle.insert(image.rle.end(), {1, 0, 0});
    }
    image.rle.insert(image.rle.end(), {static_cast<std::uint8_t>(160 * height - runs + 1), 0, 0});
    return image;
}

/// Why there is no plan for "image|slot|width|runs|name", or for "font|slot|width|height|columns|
/// name", whose columns are all 8. Empty if there is one.
QByteArray refusalOf(const QByteArray& text) {
    const QByteArrayList words = text.split('|');
    const std::string name = words.last().toStdString();
    const auto number = [&](int at) { return words[at].toInt(); };
    return thrownText([&] {
        if (words[0] == "font") {
            const Bytes eights(static_cast<std::size_t>(number(4)), 8);
            return fontUploadPlan({name, number(2), number(3), eights}, number(1)).clear();
        }
        ImageDocument image = withRuns(number(3));
        image.width = number(2);
        image.name = name;
        image.pixels[0] = 1;
        imageUploadPlan(image, number(1));
    });
}

} // namespace

class UploadPlanTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void plansEveryByteAndTheNameAsStored() {
        ImageDocument image{"x" + std::string(30, ' '), 2, 1, {0xF800, 0x001F}, {}};
        image.rebuild();
        QCOMPARE(packetText(imageUploadPlan(image, 239)),
                 "a0 8000, ec ef00, a1 000078" + QByteArray("20").repeated(30) + "00020106000000" +
                     zeros(8) + ", a1 " + zeros(48) + ", a1 " + zeros(32) +
                     ", a2 !, a3 0600, a4 01f80001001f, a5 !");
        const FontDocument font{"Dot", 2, 3, {1, 2, 3, 7}};
        QCOMPARE(packetText(fontUploadPlan(font, 5)),
                 "c0 800005, c1 0000446f74" + zeros(29) + "0203020200000400" + zeros(6) + ", c1 " +
                     zeros(48) + ", c1 " + zeros(32) + ", c2 !, c3 0400, c4 01020307, c5 !");
        QCOMPARE(packetText(fontDeletionPlan(4)), "e6 04!");
    }

    void cutsImagesOfEveryLength() {
        for (int runs = 1; runs <= 1365; ++runs) {
            const ImageDocument image = withRuns(runs);
            const auto plan = imageUploadPlan(image, 1);
            QCOMPARE(plan.size(), 8 + (image.rle.size() + 47) / 48);
            QCOMPARE(plan[6].payload, u16Bytes(static_cast<std::uint32_t>(runs) * 3));
            QCOMPARE(joined(plan, Command::ImageDataChunk), image.rle);
        }
    }

    void cutsFontsOfEveryLength() {
        for (std::int32_t width : {1, 8, 255}) {
            for (std::size_t glyphs = 1; glyphs <= 255; ++glyphs) {
                FontDocument font{"x", width, 8, Bytes(glyphs * static_cast<unsigned>(width))};
                std::iota(font.columns.begin(), font.columns.end(), std::uint8_t{0});
                const auto plan = fontUploadPlan(font, 0);
                const Bytes metadata = joined(plan, Command::FontMetadataChunk);
                QCOMPARE(plan.size(), 7 + (font.columns.size() + 47) / 48);
                QCOMPARE(joined(plan, Command::FontDataChunk), font.columns);
                QCOMPARE(std::size_t{metadata[37]}, glyphs);
                QCOMPARE(u32At(metadata, 40), font.columns.size());
                QCOMPARE(u16At(plan[5].payload, 0), font.columns.size());
            }
        }
    }

    /// Every case has the faults of all later checks too, so that the order shows.
    void refusesInOrder_data() {
        const QByteArray blanks(30, ' ');
        addTextCases({
            {"image|1|161|1366|", "Image size must be 1-160 wide and 1-128 high."},
            {"image|1|160|1366|x",
             "Compressed image exceeds 4096 bytes. Simplify the artwork before uploading."},
            {"image|1|159|1365|x", "Invalid image run length or expanded size."},
            {"image|1|160|1365|x", "Image pixels and compressed data do not agree."},
            {"font|0|1|3|255|x" + blanks, "Font column exceeds its height."},
            {"font|5|1|4|255|x", ""},
        });
        addTexts("Image slot must be 1-239. Slot zero is reserved.",
                 {"image|-1|161|1366|", "image|0|161|1366|", "image|240|161|1366|"});
        addTexts("PCB image name must be 1-31 UTF-8 bytes on one line.",
                 {"image|1|160|1366| \t", "image|1|160|1366|a\r", "image|1|160|1366|xx" + blanks});
        addTexts("Font dimensions or slot exceed PCB limits.",
                 {"font|-1|1|3|1|", "font|6|1|3|1|", "font|0|0|3|1|", "font|0|256|3|256|",
                  "font|0|1|0|1|", "font|0|1|9|1|", "font|0|1|3|0|", "font|0|4|3|10|",
                  "font|0|1|3|256|"});
        addTexts("PCB font name must be 1 through 31 UTF-8 bytes, on one line.",
                 {"font|0|1|3|1| \t", "font|0|1|3|1|a\r", "font|0|1|3|1|xx" + blanks});
    }

    void refusesInOrder() { checkTextCase(refusalOf); }
};

QTEST_APPLESS_MAIN(UploadPlanTest)
#include "UploadPlanTest.moc"
