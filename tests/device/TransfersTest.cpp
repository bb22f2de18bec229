#include "device/BatchSave.h"
#include "device/ChipUpload.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <QtTest/QtTest>

#include <fstream>
#include <map>

using namespace pivex;
using namespace pivex::testing;

namespace {

std::string program(int instructions) {
    return QByteArray("DELMS 1\n").repeated(instructions).toStdString();
}

} // namespace

class TransfersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// Every field is wrong at first; they are mended in the order in which they are checked.
    void uploadIsChecked() {
        using Strings = std::array<std::string, 8>;
        const std::string nul("a\0b", 3);
        ChipDocument document{"", 3, -1, 256, "NONSENSE", {"a\nb"}};
        const auto check = [&]<typename Value>(Value ChipDocument::*field, const Value& good,
                                               const QByteArray& message,
                                               const std::vector<Value>& bad) {
            for (const Value& value : bad) {
                document.*field = value;
                QCOMPARE(thrownText([&] { prepareUpload(document); }), message);
            }
            document.*field = good;
        };
        const QByteArray fields = "Chip type or image index does not fit the PCB metadata fields.";
        check(&ChipDocument::name, std::string(32, 'n'),
              "Chip name must be 1-32 UTF-8 bytes on one line.",
              {"", std::string(33, 'n'), " \t ", nul, "a\rb"});
        check(&ChipDocument::pins, 40, "Upload pin count must be even, from 2 to 40.",
              {0, 1, 3, 41, 42, -2});
        check(&ChipDocument::type, 65535, fields, {65536, -1});
        check(&ChipDocument::imageIndex, 255, fields, {256, -1});
        check(&ChipDocument::strings, {"", std::string(63, 's')},
              "Each user string must fit 63 UTF-8 bytes on one line. Upload will not silently "
              "truncate text.",
              {Strings{"", std::string(64, 's')}, Strings{"a\nb"}});
        check(&ChipDocument::code, program(4096),
              "Compile error on source line 2: Unknown opcode 'NONSENSE'.", {"DELMS 1\nNONSENSE"});
        check(&ChipDocument::code, program(4095),
              "Compiled code exceeds the PCB's 16-bit length field.", {program(4096)});
        check(&ChipDocument::pins, 2, "", {40, 2});
    }

    void uploadIsCut() {
        for (const auto& [count, chunks] : std::map<int, QByteArray>{
                 {3, "cb:48 "}, {4, "cb:63 cb:1 "}, {63, QByteArray("cb:63 ").repeated(16)}}) {
            const ChipDocument document{
                "A", 14, 0x0102, 3, program(count), {"zero", "", "", "", "", "five"}};
            const UploadPlan plan = prepareUpload(document);
            QByteArray sizes;
            QByteArray joined;
            for (const auto& [command, payload] : plan.packets) {
                sizes += toHex({static_cast<std::uint8_t>(command)}) + ':' +
                         QByteArray::number(payload.size()) + ' ';
                joined += toHex(payload);
            }
            QCOMPARE(sizes,
                     "ca:41 ac:0 " + QByteArray("ad:63 ").repeated(8) + "ad:8 d9:0 cd:2 " + chunks);
            const QByteArray length = toHex(u16Bytes(plan.codeLength));
            QCOMPARE(joined, hexOf("5aa5 41 00x31 02010e03 " + length + " 02 7a65726f 00x316 " +
                                   "66697665 00x188 " + length) +
                                 toHex(compileChip(document).bytes));
        }
    }

    void batchFilesAreRead() {
        const QTemporaryDir folder;
        const std::filesystem::path path = folder.path().toStdString();
        const auto file = [&](const char* name, const char* chip, int pins) {
            std::ofstream(path / name) << encodeChip({chip, pins, 0, 0, "DELMS 1", {}});
            return path / name;
        };
        const auto first = file("Ωmega.chip", "B", 14);
        const auto plans = prepareBatchFiles({first, file("a.chip", "A", 14)});
        QCOMPARE(plans.at(0).name + plans.at(1).name, "BA");
        QCOMPARE(thrownText([] { prepareBatchFiles({}); }), "Add chip files to the list first.");
        for (const auto& [bad, message] : std::map<std::filesystem::path, std::string>{
                 {path / "missing.chip", "Cannot open file."},
                 {path, "Cannot read file."},
                 {file("odd.chip", "C", 3), "Upload pin count must be even, from 2 to 40."}}) {
            const QByteArray failure = thrownText([&first, &last = bad] {
                prepareBatchFiles({first, last});
            });
            QCOMPARE(failure.toStdString(), "Batch preflight failed for " +
                                                bad.filename().string() + ": " + message +
                                                " No batch data sent.");
        }
    }
};

QTEST_APPLESS_MAIN(TransfersTest)
#include "TransfersTest.moc"
