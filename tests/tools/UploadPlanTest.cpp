#include "support/Hex.h"
#include "support/TextCases.h"
#include "support/Thrown.h"
#include "tools/FontUploadPlan.h"
#include "tools/ImageUploadPlan.h"

#include <QDirIterator>

using namespace pivex;
using namespace pivex::testing;

namespace {

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

/// A black image of `runs` runs, all of one pixel but the last.
ImageDocument withRuns(int runs) {
    const int height = (runs + 159) / 160;
    ImageDocument image = newImage("Runs", 160, height);
    image.rle.clear();
    for (int run = 1; run <= runs; ++run) {
        const int length = run < runs ? 1 : 160 * height - runs + 1;
        image.rle.insert(image.rle.end(), {static_cast<std::uint8_t>(length), 0, 0});
    }
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
        const auto zeros = [](qsizetype count) { return QByteArray(2 * count, '0'); };
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

    void tellsTheSizeOfTheLargestFont() {
        const auto plan = fontUploadPlan({"x", 255, 8, Bytes(65025)}, 0);
        QCOMPARE(plan.size(), 7U + 1355);
        QCOMPARE(toHex(plan[1].payload).mid(68, 24), "ff08ffff000001fe00000000");
        QCOMPARE(toHex(plan[5].payload), "01fe");
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

    void examplesFitTheBoard() {
        int count = 0;
        for (QDirIterator files(QStringLiteral(PIVEX_EXAMPLES_DIR), {QStringLiteral("*.txt")},
                                QDir::Files, QDirIterator::Subdirectories);
             files.hasNext(); ++count) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            const std::string text = file.readAll().toStdString();
            if (file.fileName().contains(QStringLiteral("/fonts/"))) {
                QCOMPARE(parseFont(text).text(), text);
                QVERIFY(!fontUploadPlan(parseFont(text), 0).empty());
            } else {
                QCOMPARE(parseImage(text).text(), text);
                QVERIFY(!imageUploadPlan(parseImage(text), 15).empty());
            }
        }
        QVERIFY(count >= 5);
    }
};

QTEST_APPLESS_MAIN(UploadPlanTest)
#include "UploadPlanTest.moc"
