#include "device/BatchSave.h"
#include "device/ChipUpload.h"
#include "device/StoredChips.h"
#include "device/ToolTransfers.h"
#include "language/ChipCompiler.h"
#include "support/ScriptedBoard.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <fstream>

using namespace pivex;
using pivex::testing::fromHex;
using pivex::testing::ScriptedBoard;
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

/// The answer that begins a metadata record of `size` bytes for the name "AB", type 0x0102,
/// 16 pins, image 3 and `codeLength`.
QByteArray metadata(int codeLength, int size = 128, const QByteArray& magic = "5AA5") {
    const QByteArray length = toHex(u16Bytes(static_cast<std::uint32_t>(codeLength)));
    return "BC" + magic + "4142" + QByteArray(60, '0') + "02011003" + length +
           QByteArray(2 * (size - 40), '0');
}

QByteArray hexOf(int bytes, const QByteArray& byte = "00") {
    return byte.repeated(bytes);
}

/// An image metadata answer for the name "I".
QByteArray imageMetadata(const QByteArray& widthHeightSize) {
    return "E949" + QByteArray(62, '0') + widthHeightSize;
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
        QCOMPARE(toHex(plan.packets[0].payload), "5aa5" + QByteArray("74LS00").toHex() + hexOf(26) +
                                                     "02010e03" + toHex(u16Bytes(plan.codeLength)) +
                                                     "02");
        const QByteArray block = toHex(Bytes(strings.begin() + 41, strings.end() - 2));
        QCOMPARE(block, QByteArray("zero").toHex() + hexOf(316) + QByteArray("five").toHex() +
                            hexOf(512 - 324));
        QCOMPARE(plan.packets[2].payload.size(), std::size_t{63});
        QCOMPARE(plan.packets[10].payload.size(), std::size_t{8});
    }

    void uploadIsSent_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("outcome");
        QTest::addColumn<QByteArray>("sent");
        const QByteArray limit = "PCB retry limit exceeded. Do not run a partial upload.";
        QTest::newRow("accepted") << QByteArray("05,B2,B2") << QByteArray("sent 1/2 2/2")
                                  << QByteArray("af,ca01,cb02");
        QTest::newRow("no upload mode")
            << QByteArray("06") << QByteArray("missing") << QByteArray("af");
        QTest::newRow("strange mode")
            << QByteArray("B2") << QByteArray("Unexpected upload-mode response.")
            << QByteArray("af");
        QTest::newRow("busy, counted anew")
            << QByteArray("05,B1*3,B2,B1*3,B2") << QByteArray("sent 1/2 2/2")
            << QByteArray("af,ca01*4,cb02*4");
        QTest::newRow("busy too often")
            << QByteArray("05,B2,B1*4") << limit << QByteArray("af,ca01,cb02*4");
        QTest::newRow("refused") << QByteArray("05,B0")
                                 << QByteArray("PCB rejected upload packet (response 176). Do not "
                                               "run a partial upload.")
                                 << QByteArray("af,ca01");
    }

    void uploadIsSent() {
        QFETCH(QByteArray, script);
        ScriptedBoard board(script);
        const UploadPlan plan{
            "T", 0, {{Command::UploadMetadata, {1}}, {Command::UploadCodeChunk, {2}}}};
        QByteArray outcome = "sent";
        const auto progress = [&](std::uint64_t part, std::uint64_t all) {
            outcome += " " + QByteArray::number(part) + "/" + QByteArray::number(all);
        };
        const QByteArray failure = thrownText([&] {
            if (!executeUpload(plan, board.send(), progress)) {
                outcome = "missing";
            }
        });
        QTEST(failure.isEmpty() ? outcome : failure, "outcome");
        QTEST(board.sent(), "sent");
    }

    void chipIsRead_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("failure"); ///< or the number of instructions read
        const QByteArray strings = ",BE61,BE" + hexOf(64, "62") + ",BE*6";
        const QByteArray one = "03000000" + hexOf(12);
        const auto row = [](const char* label, const QByteArray& script,
                            const QByteArray& failure) {
            QTest::newRow(label) << script << failure;
        };
        const QByteArray lengths = "Invalid logical code length in metadata.";
        row("no code", metadata(0) + ",BD0000" + strings, "0");
        row("pieces", metadata(0, 100) + ",BC" + hexOf(60) + ",BD0000" + strings, "0");
        row("empty start", "BC," + metadata(0) + ",BD0000" + strings, "0");
        row("empty piece", metadata(0, 100) + ",BC", "Empty metadata continuation.");
        row("magic", metadata(0, 128, "5AA4"), "Invalid chip metadata.");
        row("padding dropped",
            metadata(32) + ",BD3000,BD" + hexOf(16, "ff") + ",BD" + hexOf(99, "ff") + strings, "2");
        row("excess dropped", metadata(16) + ",BD1000,BD" + hexOf(40, "ff") + strings, "1");
        row("empty code piece", metadata(16) + ",BD1000,BD", "Empty code continuation.");
        row("longer than stored", metadata(48) + ",BD2000", lengths);
        row("no multiple of 16", metadata(40) + ",BD4000", lengths);
        row("long length", metadata(0) + ",BD000000", "Invalid code length response.");
        row("short length", metadata(0) + ",BD00", "Invalid code length response.");
        row("string of 65", metadata(0) + ",BD0000,BE" + hexOf(65, "62"),
            "Oversized chip string response.");
        row("other code", "BD", "Unexpected PCB response: 189");
    }

    void chipIsRead() {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, failure);
        ScriptedBoard board(script);
        ChipDocument document;
        const QByteArray thrown =
            thrownText([&] { document = linux_read::readChip(0x0201, board.query()); });
        bool isRead = false;
        const int instructions = failure.toInt(&isRead);
        if (!isRead) {
            QCOMPARE(thrown, failure);
            return;
        }
        QCOMPARE(thrown, QByteArray());
        ChipDocument expected{"AB", 16, 0x0102, 3, {}, {"a", std::string(64, 'b')}};
        expected.code = decompileChip(Bytes(static_cast<std::size_t>(instructions) * 16, 0xFF));
        QCOMPARE(document, expected);
        QVERIFY(board.sent().startsWith("d60102"));
        QVERIFY(board.sent().contains(",d70102"));
        QVERIFY(board.sent().endsWith("d8010200,d8010201,d8010202,d8010203,d8010204,d8010205,"
                                      "d8010206,d8010207"));
    }

    void indicesAreChecked() {
        ScriptedBoard board("B2");
        for (const int index : {-1, 65536}) {
            QCOMPARE(thrownText([&] { linux_read::readChip(index, board.query()); }),
                     "Invalid PCB chip index.");
            QCOMPARE(thrownText([&] { eraseSelectedChip(index, board.send()); }),
                     "Invalid selected chip index.");
        }
        QCOMPARE(board.sent(), "");
        eraseSelectedChip(3, board.send());
        QCOMPARE(board.sent(), "da0300");
    }

    void imageIsRead_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("failure");
        const QByteArray chunk = "Invalid image chunk offset or length.";
        const QByteArray size = "Image size must be 1-160 wide and 1-128 high.";
        const QByteArray compressed = "Invalid PCB compressed image size.";
        const QByteArray answer = "Invalid image metadata response.";
        const QByteArray good = imageMetadata("020106000000");
        const auto row = [](const char* label, const QByteArray& script,
                            const QByteArray& failure = {}) {
            QTest::newRow(label) << script << failure;
        };
        row("one chunk", good + ",EA0000010102010304");
        row("two chunks", good + ",EA000001,EA01000102010304");
        row("code", "E8" + good.mid(2), answer);
        row("short", good.chopped(2), answer);
        row("width 0", imageMetadata("000106000000"), size);
        row("width 161", imageMetadata("a10106000000"), size);
        row("height 129", imageMetadata("018106000000"), size);
        row("size 0", imageMetadata("020100000000"), compressed);
        row("size 100", imageMetadata("020164000000"), compressed);
        row("size 4098", imageMetadata("020102100000"), compressed);
        row("size beyond 16 bits", imageMetadata("020106000100"), compressed);
        row("largest size", imageMetadata("0201ff0f0000"), "no answer");
        row("wrong offset", good + ",EA010001", chunk);
        row("no data", good + ",EA0000", chunk);
        row("too long", good + ",EA000001010201030405", chunk);
        row("wrong chunk code", good + ",E9000001", chunk);
        row("too few pixels", imageMetadata("020103000000") + ",EA0000010102", "*");
    }

    void imageIsRead() {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, failure);
        ScriptedBoard board(script);
        ImageDocument image;
        const QByteArray thrown = thrownText([&] { image = readImage(239, board.query()); });
        if (failure == "*") {
            QVERIFY(!thrown.isEmpty());
            return;
        }
        QCOMPARE(thrown, failure);
        if (failure.isEmpty()) {
            QCOMPARE(image, (ImageDocument{"I", 2, 1, {0x0102, 0x0304}, {1, 1, 2, 1, 3, 4}}));
            QVERIFY(board.sent().startsWith("e7ef00,e8ef000000"));
        }
    }

    void fontSlotIsParsed_data() {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QByteArray>("failure");
        QTest::addColumn<FontSlot>("slot");
        const QByteArray bad = "Invalid font slot response.";
        const QByteArray metadataFailure = "Invalid font metadata response.";
        const QByteArray full = "e2000405fe060000000041" + hexOf(31, "42");
        QTest::newRow("font") << full << QByteArray()
                              << FontSlot{true, "A" + std::string(31, 'B'), {5, 254, 6}};
        QTest::newRow("empty") << QByteArray("e10004070809") << QByteArray()
                               << FontSlot{true, {}, {}};
        QTest::newRow("other slot") << QByteArray("e20005") << bad << FontSlot();
        QTest::newRow("no slot") << QByteArray("e200") << bad << FontSlot();
        QTest::newRow("short") << full.chopped(2) << metadataFailure << FontSlot();
        QTest::newRow("code") << "e3" + full.mid(2) << metadataFailure << FontSlot();
    }

    void fontSlotIsParsed() {
        QFETCH(QByteArray, answer);
        FontSlot slot;
        QTEST(thrownText([&] { slot = parseFontSlot(fromHex(answer), 4); }), "failure");
        QTEST(slot, "slot");
    }

    void settingsAreExchanged_data() {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("failure");
        QTest::addColumn<QByteArray>("sent");
        // Record byte n holds n + 1, so setting 2 reads as 4 and setting 3 as 5.
        const QByteArray good = "E50102030405060708090a0b0c0d0e";
        const QByteArray request = "Invalid settings request.";
        const QByteArray value = "Invalid setting or setting value.";
        const QByteArray answer = "Pivex returned an invalid settings response.";
        const QByteArray different =
            "PCB returned a different setting value. Refresh settings before retrying.";
        const auto row = [](const char* asked, const QByteArray& script, const QByteArray& failure,
                            const QByteArray& sent) {
            QTest::addRow("%s %s", asked, script.constData())
                << QByteArray(asked) << script << failure << sent;
        };
        row("00", good + "ffff", "", "e400");
        row("00", "B1*2," + good, "", "e400*3");
        row("00", "B1*3", answer, "e400*3");
        row("00", good.chopped(2), answer, "e400");
        row("00", "E0" + good.mid(2), answer, "e400");
        for (const char* bad : {"", "01", "0000", "0107", "000702", "020700", "01070200"}) {
            row(bad, good, request, "");
        }
        for (const char* bad : {"010202", "010303", "010502", "010602", "010706", "010400"}) {
            row(bad, good, value, "");
        }
        // Each number with the record byte that must show its largest value, and one off.
        for (const auto& [setting, largest, byte] : settingRules) {
            QByteArray record = hexOf(14);
            const auto at = static_cast<qsizetype>(2 * byte);
            const QByteArray write = "01" + toHex({setting, largest});
            row(write, "E5" + record.replace(at, 2, toHex({largest})), "", "e4" + write);
            row(write, "E5" + record.replace(at, 2, "fe"), different, "e4" + write);
        }
    }

    void settingsAreExchanged() {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, script);
        ScriptedBoard board(script);
        QTEST(thrownText([&] { exchangeSettings(fromHex(request), board.query()); }), "failure");
        QTEST(board.sent(), "sent");
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
