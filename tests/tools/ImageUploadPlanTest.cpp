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

    void plansEveryByteAndTheNameAsStored() {
        ImageDocument image{"x" + std::string(30, ' '), 2, 1, {0xF800, 0x001F}, {}};
        image.rebuild();
        QCOMPARE(packetText(imageUploadPlan(image, 239)),
                 "a0 8000, ec ef00, a1 000078" + QByteArray("20").repeated(30) + "00020106000000" +
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

    /// Every case has the faults of all later checks too, so that the order shows.
    void refusesInOrder() {
        const auto refusal = [](int slot, int width, const QByteArray& name, int runs) {
            ImageDocument image = withRuns(runs);
            image.width = width;
            image.name = name.toStdString();
            image.pixels[0] = 1;
            return thrownText([&] { imageUploadPlan(image, slot); });
        };
        for (const int slot : {-1, 0, 240}) {
            QCOMPARE(refusal(slot, 161, "", 1366),
                     "Image slot must be 1-239. Slot zero is reserved.");
        }
        QCOMPARE(refusal(1, 161, "", 1366), "Image size must be 1-160 wide and 1-128 high.");
        for (const QByteArray& name :
             {QByteArray(), QByteArray(" \t"), QByteArray("a\nb"), QByteArray("a\r"),
              QByteArray("a\0", 2), QByteArray(32, 'x'), "x" + QByteArray(31, ' ')}) {
            QCOMPARE(refusal(1, 160, name, 1366),
                     "PCB image name must be 1-31 UTF-8 bytes on one line.");
        }
        QCOMPARE(refusal(1, 160, "x", 1366),
                 "Compressed image exceeds 4096 bytes. Simplify the artwork before uploading.");
        QCOMPARE(refusal(1, 159, "x", 1365), "Invalid image run length or expanded size.");
        QCOMPARE(refusal(1, 160, "x", 1365), "Image pixels and compressed data do not agree.");
    }
};

QTEST_APPLESS_MAIN(ImageUploadPlanTest)
#include "ImageUploadPlanTest.moc"
