#include "tools/FontUploadPlan.h"

#include "PacketText.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

using namespace pivex;

class FontUploadPlanTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void plansEveryByte() {
        const FontDocument font{"Dot", 2, 3, {1, 2, 3, 7}};
        QCOMPARE(packetText(fontUploadPlan(font, 5)),
                 "c0 800005, c1 0000446f74" + zeros(29) + "0203020200000400" + zeros(6) + ", c1 " +
                     zeros(48) + ", c1 " + zeros(32) + ", c2!, c3 0400, c4 01020307, c5!");
        QCOMPARE(packetText(fontDeletionPlan(4)), "e6 04!");
    }

    void cutsColumnsAtEveryLength() {
        for (std::int32_t width : {1, 8, 255}) {
            for (std::size_t glyphs = 1; glyphs <= 255; ++glyphs) {
                FontDocument font{"x", width, 8, Bytes(glyphs * static_cast<unsigned>(width))};
                std::iota(font.columns.begin(), font.columns.end(), std::uint8_t{0});
                const auto plan = fontUploadPlan(font, 0);
                const Bytes metadata = joined(plan, Command::FontMetadataChunk);
                QCOMPARE(plan.size(), 7 + (font.columns.size() + 47) / 48);
                QCOMPARE(joined(plan, Command::FontDataChunk), font.columns);
                QCOMPARE(metadata.size(), 128U);
                QCOMPARE(std::size_t{metadata[37]}, glyphs);
                QCOMPARE(u32At(metadata, 40), font.columns.size());
                QCOMPARE(u16At(plan[5].payload, 0), font.columns.size());
            }
        }
    }

    /// Every case has the faults of all later checks too, so that the order shows.
    void refusesInOrder() {
        const auto refusal = [](int slot, int width, int height, unsigned columns,
                                const QByteArray& name) {
            const FontDocument font{name.toStdString(), width, height, Bytes(columns, 8)};
            return thrownText([&] { fontUploadPlan(font, slot); });
        };

        struct Dimensions {
            int slot, width, height;
            unsigned columns;
        };

        for (const auto& [slot, width, height, columns] :
             {Dimensions{-1, 1, 3, 1}, Dimensions{6, 1, 3, 1}, Dimensions{0, 0, 3, 1},
              Dimensions{0, 256, 3, 256}, Dimensions{0, 1, 0, 1}, Dimensions{0, 1, 9, 1},
              Dimensions{0, 1, 3, 0}, Dimensions{0, 4, 3, 10}, Dimensions{0, 1, 3, 256}}) {
            QCOMPARE(refusal(slot, width, height, columns, ""),
                     "Font dimensions or slot exceed PCB limits.");
        }
        for (const QByteArray& name :
             {QByteArray(), QByteArray(" \t"), QByteArray("a\nb"), QByteArray("a\r"),
              QByteArray("a\0", 2), "x" + QByteArray(31, ' ')}) {
            QCOMPARE(refusal(0, 1, 3, 1, name),
                     "PCB font name must be 1 through 31 UTF-8 bytes, on one line.");
        }
        QCOMPARE(refusal(0, 1, 3, 255, "x" + QByteArray(30, ' ')),
                 "Font column exceeds its height.");
        QCOMPARE(refusal(5, 1, 4, 255, "x"), "");
    }
};

QTEST_APPLESS_MAIN(FontUploadPlanTest)
#include "FontUploadPlanTest.moc"
