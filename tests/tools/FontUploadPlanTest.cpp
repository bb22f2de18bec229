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

    /// Every row has the faults of the later checks too, so that the order shows.
    void refusesInOrder_data() {
        QTest::addColumn<int>("slot");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("columns");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("message");
        const auto row = [](int slot, int width, int height, int columns, const QByteArray& name,
                            const char* message) {
            QTest::addRow("%d %d %d %d %s", slot, width, height, columns,
                          name.toPercentEncoding().constData())
                << slot << width << height << columns << name << QByteArray(message);
        };
        const char* limits = "Font dimensions or slot exceed PCB limits.";
        const char* name = "PCB font name must be 1 through 31 UTF-8 bytes, on one line.";
        row(6, 1, 3, 1, "", limits);
        row(-1, 1, 3, 1, "", limits);
        row(0, 0, 3, 1, "", limits);
        row(0, 256, 3, 256, "", limits);
        row(0, 1, 0, 1, "", limits);
        row(0, 1, 9, 1, "", limits);
        row(0, 1, 3, 0, "", limits);
        row(0, 4, 3, 10, "", limits);
        row(0, 1, 3, 256, "", limits);
        row(0, 255, 3, 65536, "", limits);
        row(0, 1, 3, 1, "", name);
        row(0, 1, 3, 1, " \t", name);
        row(0, 1, 3, 1, "a\nb", name);
        row(0, 1, 3, 1, "a\r", name);
        row(0, 1, 3, 1, QByteArray("a\0", 2), name);
        row(0, 1, 3, 1, "x" + QByteArray(31, ' '), name);
        row(0, 1, 3, 255, "x" + QByteArray(30, ' '), "Font column exceeds its height.");
        row(5, 1, 7, 1, "x", "");
    }

    void refusesInOrder() {
        QFETCH(int, slot);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, columns);
        QFETCH(QByteArray, name);
        FontDocument font{name.toStdString(), width, height, Bytes(static_cast<unsigned>(columns))};
        if (columns > 0) {
            font.columns.back() = 8;
        }
        QTEST(thrownText([&] { fontUploadPlan(font, slot); }), "message");
    }
};

QTEST_APPLESS_MAIN(FontUploadPlanTest)
#include "FontUploadPlanTest.moc"
