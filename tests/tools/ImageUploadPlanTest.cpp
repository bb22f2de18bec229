#include "tools/ImageUploadPlan.h"

#include "PacketText.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

using namespace pivex;

namespace {

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

} // namespace

class ImageUploadPlanTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void plansEveryByte() {
        ImageDocument image = newImage("Dot", 2, 1);
        image.pixels = {0xF800, 0x001F};
        image.rebuild();
        const auto plan = imageUploadPlan(image, 239);
        QCOMPARE(packetText(plan), "a0 8000, ec ef00, a1 0000446f74" + zeros(29) + "020106000000" +
                                       zeros(8) + ", a1 " + zeros(48) + ", a1 " + zeros(32) +
                                       ", a2!, a3 0600, a4 01f80001001f, a5!");
    }

    void cutsDataAtEveryLength() {
        for (int runs = 1; runs <= 1365; ++runs) {
            const ImageDocument image = withRuns(runs);
            const auto plan = imageUploadPlan(image, 1);
            QCOMPARE(plan.size(), 8 + (image.rle.size() + 47) / 48);
            QCOMPARE(plan[6].payload, u16Bytes(static_cast<std::uint32_t>(runs) * 3));
            QCOMPARE(joined(plan, Command::ImageDataChunk), image.rle);
        }
    }

    void sendsTheStoredName() {
        ImageDocument image = withRuns(1);
        image.name = "x" + std::string(30, ' ');
        const Bytes metadata = joined(imageUploadPlan(image, 1), Command::ImageMetadataChunk);
        QCOMPARE(std::string(metadata.begin() + 2, metadata.begin() + 34), image.name + '\0');
        image.name += ' ';
        QVERIFY(!thrownText([&] { imageUploadPlan(image, 1); }).isEmpty());
    }

    /// Every row has the faults of all later checks too, so that the order shows.
    void refusesInOrder_data() {
        QTest::addColumn<int>("slot");
        QTest::addColumn<int>("width");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("runs");
        QTest::addColumn<QByteArray>("message");
        const auto row = [](int slot, int width, const QByteArray& name, int runs,
                            const char* message) {
            QTest::addRow("%d %d %d %s", slot, width, runs, name.toPercentEncoding().constData())
                << slot << width << name << runs << QByteArray(message);
        };
        const char* slots = "Image slot must be 1-239. Slot zero is reserved.";
        const char* name = "PCB image name must be 1-31 UTF-8 bytes on one line.";
        row(0, 161, "", 1366, slots);
        row(240, 161, "", 1366, slots);
        row(-1, 161, "", 1366, slots);
        row(1, 161, "", 1366, "Image size must be 1-160 wide and 1-128 high.");
        row(1, 160, "", 1366, name);
        row(1, 160, " \t", 1366, name);
        row(1, 160, "a\nb", 1366, name);
        row(1, 160, "a\r", 1366, name);
        row(1, 160, QByteArray("a\0", 2), 1366, name);
        row(1, 160, QByteArray(32, 'x'), 1366, name);
        row(1, 160, "x", 1366,
            "Compressed image exceeds 4096 bytes. Simplify the artwork before uploading.");
        row(1, 159, "x", 1365, "Invalid image run length or expanded size.");
    }

    void refusesInOrder() {
        QFETCH(int, slot);
        QFETCH(int, width);
        QFETCH(QByteArray, name);
        QFETCH(int, runs);
        ImageDocument image = withRuns(runs);
        image.width = width;
        image.name = name.toStdString();
        image.pixels[0] = 1;
        QTEST(thrownText([&] { imageUploadPlan(image, slot); }), "message");
    }

    void refusesPixelsThatDisagree() {
        ImageDocument image = withRuns(1);
        image.pixels.back() = 1;
        QCOMPARE(thrownText([&] { imageUploadPlan(image, 1); }),
                 "Image pixels and compressed data do not agree.");
    }
};

QTEST_APPLESS_MAIN(ImageUploadPlanTest)
#include "ImageUploadPlanTest.moc"
