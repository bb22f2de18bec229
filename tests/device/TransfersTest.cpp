#include "device/BatchSave.h"
#include "device/ChipUpload.h"
#include "device/StoredChips.h"
#include "language/ChipCompiler.h"
#include "support/ScriptedBoard.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <fstream>

using namespace pivex;
using pivex::testing::fromHex;
using pivex::testing::toHex;

namespace {

ChipDocument sample() {
    ChipDocument document;
    document.name = "74LS00";
    document.code = "DELMS 1";
    return document;
}

/// `count` instructions.
std::string program(int count) {
    std::string code;
    for (int i = 0; i < count; ++i) {
        code += "DELMS 1\n";
    }
    return code;
}

} // namespace

class TransfersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void textEndsAtZeroOrEnd_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("end");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("whole") << QByteArray("e0004142") << 99 << QByteArray("AB");
        QTest::newRow("zero") << QByteArray("e000410042") << 99 << QByteArray("A");
        QTest::newRow("cut") << QByteArray("e00041424344") << 4 << QByteArray("AB");
        QTest::newRow("end before start") << QByteArray("e0004142") << 2 << QByteArray();
        QTest::newRow("no payload") << QByteArray("e000") << 99 << QByteArray();
    }

    void textEndsAtZeroOrEnd() {
        QFETCH(QByteArray, bytes);
        QFETCH(int, end);
        QTEST(QByteArray::fromStdString(
                  linux_read::text(fromHex(bytes), 2, static_cast<std::size_t>(end))),
              "text");
    }

    void uploadIsChecked_data() {
        using std::string;
        const QByteArray name = "Chip name must be 1-32 UTF-8 bytes on one line.";
        const QByteArray pins = "Upload pin count must be even, from 2 to 40.";
        const QByteArray fields = "Chip type or image index does not fit the PCB metadata fields.";
        const QByteArray text = "Each user string must fit 63 UTF-8 bytes on one line. Upload will "
                                "not silently truncate text.";
        QTest::addColumn<ChipDocument>("document");
        QTest::addColumn<QByteArray>("message");
        const auto row = [](const char* label, auto edit, const QByteArray& message = {}) {
            ChipDocument document = sample();
            edit(document);
            QTest::newRow(label) << document << message;
        };
        const auto named = [&](const char* label, const string& value,
                               const QByteArray& message = {}) {
            row(
                label, [&](ChipDocument& document) { document.name = value; }, message);
        };
        named("32 bytes", string(32, 'n'));
        named("leading space", " A");
        named("no name", "", name);
        named("33 bytes", string(33, 'n'), name);
        named("blanks", " \t ", name);
        named("CR in name", "a\rb", name);
        named("zero in name", string("a\0b", 3), name);
        for (const int value : {2, 40, 0, 1, 3, 41, 42, -2}) {
            row(
                qPrintable(QString::number(value) + QLatin1String(" pins")),
                [&](ChipDocument& document) { document.pins = value; },
                value == 2 || value == 40 ? QByteArray() : pins);
        }
        row("largest type", [](ChipDocument& document) { document.type = 65535; });
        row(
            "type", [](ChipDocument& document) { document.type = 65536; }, fields);
        row(
            "negative type", [](ChipDocument& document) { document.type = -1; }, fields);
        row("largest image", [](ChipDocument& document) { document.imageIndex = 255; });
        row(
            "image", [](ChipDocument& document) { document.imageIndex = 256; }, fields);
        row("63 bytes", [](ChipDocument& document) { document.strings[7] = string(63, 's'); });
        row(
            "64 bytes", [](ChipDocument& document) { document.strings[7] = string(64, 's'); },
            text);
        row(
            "LF in string", [](ChipDocument& document) { document.strings[0] = "a\nb"; }, text);
        row(
            "name before pins",
            [](ChipDocument& document) {
                document.name.clear();
                document.pins = 3;
            },
            name);
        row(
            "code too long", [](ChipDocument& document) { document.code = program(4096); },
            "Compiled code exceeds the PCB's 16-bit length field.");
    }

    void uploadIsChecked() {
        QFETCH(ChipDocument, document);
        QTEST(thrownText([&] { prepareUpload(document); }), "message");
    }

    void compileErrorNamesItsLine() {
        ChipDocument document = sample();
        document.code = "DELMS 1\nNONSENSE";
        const CompileResult result = compileChip(document);
        QCOMPARE(thrownText([&] { prepareUpload(document); }),
                 "Compile error on source line 2: " +
                     QByteArray::fromStdString(result.errorMessage));
    }

    void uploadIsCut_data() {
        QTest::addColumn<int>("instructions");
        QTest::addColumn<QList<int>>("chunks");
        QTest::newRow("three") << 3 << QList<int>{48};
        QTest::newRow("four") << 4 << QList<int>{63, 1};
        QTest::newRow("whole chunks") << 63 << QList<int>(16, 63);
    }

    void uploadIsCut() {
        QFETCH(int, instructions);
        QFETCH(QList<int>, chunks);
        ChipDocument document = sample();
        document.type = 0x0102;
        document.imageIndex = 3;
        document.strings = {"zero", "", "", "", "", "five"};
        document.code = program(instructions);
        const UploadPlan plan = prepareUpload(document);
        QByteArray commands;
        QList<int> sizes;
        Bytes code;
        Bytes strings;
        for (const auto& [command, payload] : plan.packets) {
            commands += static_cast<char>(command);
            Bytes& joined = command == Command::UploadCodeChunk ? code : strings;
            joined.insert(joined.end(), payload.begin(), payload.end());
            if (command == Command::UploadCodeChunk) {
                sizes.append(static_cast<int>(payload.size()));
            }
        }
        QCOMPARE(commands.toHex(), "caac" + QByteArray("ad").repeated(9) + "d9cd" +
                                       QByteArray("cb").repeated(chunks.size()));
        QCOMPARE(sizes, chunks);
        QCOMPARE(code, compileChip(document).bytes);
        QCOMPARE(plan.codeLength, static_cast<std::uint32_t>(16 * instructions));
        QCOMPARE(toHex(plan.packets[0].payload), "5aa5" + QByteArray("74LS00").toHex() +
                                                     QByteArray(52, '0') + "02010e03" +
                                                     toHex(u16Bytes(plan.codeLength)) + "02");
        const QByteArray block = toHex(Bytes(strings.begin() + 41, strings.end() - 2));
        QCOMPARE(block, QByteArray("zero").toHex() + QByteArray(632, '0') +
                            QByteArray("five").toHex() + QByteArray(376, '0'));
        QCOMPARE(plan.packets[2].payload.size(), std::size_t{63});
        QCOMPARE(plan.packets[10].payload.size(), std::size_t{8});
    }

    void batchFilesAreRead() {
        QTemporaryDir folder;
        const auto path = [&](const char* name) {
            return std::filesystem::path(folder.filePath(QString::fromUtf8(name)).toStdString());
        };
        const auto file = [&](const char* name, const char* text) {
            std::ofstream(path(name), std::ios::binary) << text;
            return path(name);
        };
        const auto second = file("Ωmega.chip", "[chips]\nfile type = single\n[meta]\nname = B\n"
                                               "pins = 14\n[code]\nDELMS 1\n");
        const auto first = file("a.chip", "[chips]\nfile type = single\n[meta]\nname = A\n"
                                          "pins = 14\n[code]\nDELMS 1\n");
        const auto plans = prepareBatchFiles({second, first});
        QCOMPARE(plans.size(), std::size_t{2});
        QCOMPARE(plans[0].name, "B");
        QCOMPARE(plans[1].name, "A");
        QCOMPARE(thrownText([] { prepareBatchFiles({}); }), "Add chip files to the list first.");
        const auto failure = [&](const std::filesystem::path& bad, const QByteArray& message) {
            QCOMPARE(thrownText([&] {
                         prepareBatchFiles({first, bad});
                     }),
                     "Batch preflight failed for " +
                         QByteArray::fromStdString(bad.filename().string()) + ": " + message +
                         " No batch data sent.");
        };
        failure(path("missing.chip"), "Cannot open file.");
        failure(folder.path().toStdString(), "Cannot read file.");
        failure(file("empty.chip", ""), "The chip file is empty.");
        failure(file("odd.chip", "[chips]\nfile type = single\n[meta]\nname = A\npins = 3\n"),
                "Upload pin count must be even, from 2 to 40.");
    }
};

QTEST_APPLESS_MAIN(TransfersTest)
#include "TransfersTest.moc"
