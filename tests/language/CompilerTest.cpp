#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"
#include "model/ChipFileCodec.h"
#include "support/Examples.h"
#include "support/TextCases.h"

using namespace pivex;

namespace {

/// The bytes in hexadecimal, instructions joined by "|" and without the zero words at their ends;
/// or "line: message".
QByteArray outcomeFor(const QByteArray& code, std::int32_t pins) {
    const CompileResult result = compileChip(chipOf(code, pins));
    if (!result.errorMessage.empty()) {
        return QByteArray::number(result.errorLine) + ": " +
               QByteArray::fromStdString(result.errorMessage) + (result.bytes.empty() ? "" : "?");
    }
    QByteArrayList instructions;
    for (std::size_t at = 0; at < result.bytes.size(); at += instructionSize) {
        const auto* first = reinterpret_cast<const char*>(&result.bytes[at]);
        QByteArray instruction = QByteArray(first, instructionSize).toHex();
        while (instruction.size() % 8 == 0 && instruction.endsWith("00000000")) {
            instruction.chop(8);
        }
        instructions.append(instruction);
    }
    return instructions.join('|');
}

QByteArray outcomeOf(const QByteArray& code) {
    return outcomeFor(code, 14);
}

} // namespace

class CompilerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void compiles_data() {
        addTextCases({
            {"gostrt\n// x\n\nEndTest", "0d000000|f0000000"},
            {"SETPIN 3 0x01020304\nSETPIN #R2 1\nDELMS 0x80000005",
             "010000000300000004030201|010000000200008001000000|1700000005000080"},
            {"~0x01 00031 0x1f +0\n~0Xff +31 0X+1F 0B+1\n~0x00 #R0 #r31 #R+005",
             "010000001f0000001f000000|ff0000001f0000001f00000001000000|"
             "00000000000000801f00008005000080"},
            {"~0x10 4294967295 0xFFFFFFFF 0b" + QByteArray(32, '1') + "\nDELMS 0" +
                 QByteArray(40, '0') + "7",
             "10000000ffffffffffffffffffffffff|1700000007000000"},
            {"DELMS b\ndim a 0x10\nDIM _x9 A\nDIM B _X9\nDIM R #R2\nADD R 1 3",
             "1700000010000000|44000000020000800100000003000000"},
            {"DIM EQ 5\nIF EQ EQ EQ\nENDIF\nWHILE div2 #R1 0\nENDWHL",
             "50000000000000000500000005000000|51000000|180000000600000001000080|19000000"},
            {"CALL late\nFUNC abcdefghijkl\nENDFUNC\nCALL ABCDEFGHIJKL\nDIM X 1\nfunc "
             "Late\nENDFUNC",
             "c300000005000000|c10000004142434445464748494a4b4c|c2000000|c300000002000000|"
             "c10000004c415445|c2000000"},
            {"ALLDIR 0xFFFFFFFF 0x80000000\nDEFADDR 24 0xFFFFFFFF 0\nSETIN 14\nDEF8 31 0 0",
             "0e000000ffffffff00000080|2200000018000000ffffffff|020000000e000000|2b0000001f000000"},
            {"BRD_GET_RSLT 63 31\nBRD_GET_RSLT #R9 0\nBRD_SEND_CMD 0xFF3F 0 0\nBRD_SEND_CMD #R1 "
             "0x7FFFFFFF #R1\nBRD_SEND_CMD 0xFF 0 0",
             "a40000003f0000001f000000|a400000009000080|a30000003fff0000|"
             "a300000001000080ffffff7f01000080|a3000000ff000000"},
        });
    }

    void compiles() { checkTextCase(outcomeOf); }

    void reports_data() {
        addTextCases({
            {"GOSTRT\n/*", "2: Unterminated block comment."},
            {"GOSTRT\nfoo 1", "2: Unknown opcode 'FOO'."},
            {"GOSTRT\nSETIN 15\nFOO", "3: Unknown opcode 'FOO'."},
            {"BAR\nDIM DIM 5", "1: Unknown opcode 'BAR'."},
            {"SETIN 99\nFUNC\n", "2: FUNC requires exactly one function name."},
            {"FUNC A B", "1: FUNC requires exactly one function name."},
            {"~0x01 1 2 3 ?", "1: Raw opcodes accept at most three arguments."},
            {"SETPIN 1", "1: SETPIN expects 2 argument(s), found 1."},
            {"ENDIF 1", "1: ENDIF expects 0 argument(s), found 1."},
            {"FUNC \xC3\xA4-BCDEFGHIJK", "1: Function names are limited to 12 bytes."},
            {"FUNC \xC3\xA4", "1: Function names must be ASCII."},
            {"FUNC F\nENDFUNC\nFUNC f", "3: Duplicate function 'F'."},
            {"CALL MAIN", "1: Undefined function 'MAIN'."},
            {"~0x10 3\nENDLOOP", "2: Unmatched ENDLOOP."},
            {"GOSTRT\nLOOP 3\nIF EQ 1 1", "3: Unclosed IF block."},
            {"DOUNTIL\nWHILE 1 1 1\nENDWHL", "1: Unclosed DOUNTIL block."},
            {"DIM R #R5\nREGLOD R 5",
             "2: This argument requires a literal, not a runtime #Rn reference."},
            {"BRD_GET_RSLT 64 0", "1: Result slot must be from 0 through 63."},
            {"DIM A 1\nDIM A x", "2: Duplicate DIM name 'A'."},
        });
        addTexts("1: No executable instructions.", {"", "\n// x\n/* y */", "\nDIM A 1\nDIM B A"});
        addTexts("2: Unmatched ENDIF.", {"\nENDIF", "LOOP 2\nENDIF"});
        addTexts("2: FUNC cannot be nested inside another block.",
                 {"IF EQ 1 2\nFUNC F\nENDFUNC\nENDIF", "FUNC F\nFUNC G"});
        addTexts("1: Pin must be 1 through 14.", {"SETIN 0", "MULTIO 14 1 15"});
        addTexts("1: This argument requires a literal, not a runtime #Rn reference.",
                 {"SETIN #R3", "DEF8 0 #R1 0", "ALLDIR 0 #R1"});
        addTexts("1: Register slot / address index must be 0 through 31.",
                 {"REGINC 32", "DEF8 32 0 0", "BRD_GET_RSLT 0 64"});
        addTexts("1: Address group must be 0, 8, 16, or 24.", {"DEFADDR 7 0 0", "DEFADDR 32 0 0"});
        addTexts(
            "1: Use a command byte, or a command byte followed by a result slot from 0 "
            "through 63 (for example 0x0101).",
            {"BRD_SEND_CMD 0x0140 1 2", "BRD_SEND_CMD 0x0180 1 2", "BRD_SEND_CMD 0x10000 1 2"});
        addTexts("1: A literal with bit 31 set is interpreted as a register reference by the "
                 "firmware. Use #Rn to send a full 32-bit register value.",
                 {"BRD_SEND_CMD 1 0x80000000 0", "BRD_SEND_CMD 1 0 0xFFFFFFFF"});
        addTexts("1: DIM requires exactly a name and a value.", {"DIM SETPIN", "DIM A 1 2"});
        for (const QByteArray word : {"~0X1", "~0X123", "~1X12", "~0XG1"}) {
            addTexts("1: Unknown opcode '" + word + "'.", {word});
        }
        for (const QByteArray name : {"9LIVES", "MY-PIN", "SETPIN", "DIM", "#R1", "\xC3\x84"}) {
            addTexts("1: Invalid or reserved DIM name '" + name + "'.", {"DIM " + name + " x"});
        }
        const QByteArray words = "A 4294967296 18446744073709551617 0X100000000 #R32 #R # 0X 0B2 "
                                 "0X1G + ++1 +0X1F +#R5 -1 #R-1 1, 1.0 R5 EQ "
                                 "9999999999999999999999999999999999999999";
        for (const QByteArray& word : words.split(' ')) {
            addTexts("1: Invalid value '" + word +
                         "'. Use UInt32 decimal/hex/binary, #R0..#R31, or a DIM name.",
                     {"DIM A " + word});
        }
    }

    void reports() { checkTextCase(outcomeOf); }

    void checksThePinCountFirst() {
        QCOMPARE(outcomeFor("/*", 0), QByteArray("0: Pin count must be positive."));
        QCOMPARE(outcomeFor("SETIN 2", 1), QByteArray("1: Pin must be 1 through 1."));
    }

    /// The examples are what a user may copy from.
    void examplesCompile() {
        const auto examples = exampleFiles("", "*.chip");
        QVERIFY(examples.size() >= 10);
        for (const auto& [name, text] : examples) {
            const ChipDocument chip = decodeChip(text);
            QCOMPARE(encodeChip(chip), text);
            QVERIFY2(validateChip(chip).empty(), name);
        }
    }
};

QTEST_APPLESS_MAIN(CompilerTest)
#include "CompilerTest.moc"
