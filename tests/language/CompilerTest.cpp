#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"
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
            {"DELMS B\nDIM A 0x10\nDIM B A\nDIM R #R2\nADD R 1 3",
             "1700000010000000|44000000020000800100000003000000"},
            {"DIM EQ 5\nIF EQ EQ EQ\nENDIF\nWHILE div2 #R1 0\nENDWHL",
             "50000000000000000500000005000000|51000000|180000000600000001000080|19000000"},
            {"CALL late\nFUNC abcdefghijkl\nENDFUNC\nCALL ABCDEFGHIJKL\nDIM X 1\nfunc "
             "Late\nENDFUNC",
             "c300000005000000|c10000004142434445464748494a4b4c|c2000000|c300000002000000|"
             "c10000004c415445|c2000000"},
            {"~0x01 5 6\n~0Xff\n~0x00 #R1 +1 0b11\n~0x10 3",
             "010000000500000006000000|ff000000|00000000010000800100000003000000|1000000003000000"},
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
        const QByteArray nothing = "1: No executable instructions.";
        const QByteArray literal = "1: This argument requires a literal, not a runtime #Rn "
                                   "reference.";
        const QByteArray slot = "1: Register slot / address index must be 0 through 31.";
        const QByteArray group = "1: Address group must be 0, 8, 16, or 24.";
        const QByteArray pin = "1: Pin must be 1 through 14.";
        const QByteArray command = "1: Use a command byte, or a command byte followed by a result "
                                   "slot from 0 through 63 (for example 0x0101).";
        const QByteArray bit31 = "1: A literal with bit 31 set is interpreted as a register "
                                 "reference by the firmware. Use #Rn to send a full 32-bit "
                                 "register value.";
        const QByteArray nested = "2: FUNC cannot be nested inside another block.";
        addTextCases({
            {"", nothing},
            {"\n// x\n/* y */", nothing},
            {"\nDIM A 1\nDIM B A", nothing},
            {"GOSTRT\n/*", "2: Unterminated block comment."},
            {"GOSTRT\nfoo 1", "2: Unknown opcode 'FOO'."},
            {"~0x1", "1: Unknown opcode '~0X1'."},
            {"~0x123", "1: Unknown opcode '~0X123'."},
            {"~1x12", "1: Unknown opcode '~1X12'."},
            {"~0xG1", "1: Unknown opcode '~0XG1'."},
            {"~0x01 1 2 3 ?", "1: Raw opcodes accept at most three arguments."},
            {"SETPIN 1", "1: SETPIN expects 2 argument(s), found 1."},
            {"ENDIF 1", "1: ENDIF expects 0 argument(s), found 1."},
            {"CALL", "1: CALL expects 1 argument(s), found 0."},
            {"GOSTRT\nSETIN 15\nFOO", "3: Unknown opcode 'FOO'."},
            {"SETIN 99\nFUNC\n", "2: FUNC requires exactly one function name."},
            {"BAR\nDIM DIM 5", "1: Unknown opcode 'BAR'."},
            {"DIM DIM 5\nBAR", "1: Invalid or reserved DIM name 'DIM'."},
            {"FUNC A B", "1: FUNC requires exactly one function name."},
            {"FUNC \xC3\xA4-BCDEFGHIJK", "1: Function names are limited to 12 bytes."},
            {"FUNC \xC3\xA4", "1: Function names must be ASCII."},
            {"FUNC F\nENDFUNC\nFUNC f", "3: Duplicate function 'F'."},
            {"CALL MAIN", "1: Undefined function 'MAIN'."},
            {"\nENDIF", "2: Unmatched ENDIF."},
            {"LOOP 2\nENDIF", "2: Unmatched ENDIF."},
            {"~0x10 3\nENDLOOP", "2: Unmatched ENDLOOP."},
            {"IF EQ 1 2\nFUNC F\nENDFUNC\nENDIF", nested},
            {"FUNC F\nFUNC G", nested},
            {"GOSTRT\nLOOP 3\nIF EQ 1 1", "3: Unclosed IF block."},
            {"DOUNTIL\nWHILE 1 1 1\nENDWHL", "1: Unclosed DOUNTIL block."},
            {"SETIN 0", pin},
            {"MULTIO 14 1 15", pin},
            {"SETIN #R3", literal},
            {"DIM R #R5\nREGLOD R 5", "2" + literal.mid(1)},
            {"DEF8 0 #R1 0", literal},
            {"ALLDIR 0 #R1", literal},
            {"REGINC 32", slot},
            {"DEF8 32 0 0", slot},
            {"BRD_GET_RSLT 0 64", slot},
            {"DEFADDR 7 0 0", group},
            {"DEFADDR 32 0 0", group},
            {"BRD_GET_RSLT 64 0", "1: Result slot must be from 0 through 63."},
            {"BRD_SEND_CMD 0x0140 1 2", command},
            {"BRD_SEND_CMD 0x0180 1 2", command},
            {"BRD_SEND_CMD 0x10000 1 2", command},
            {"BRD_SEND_CMD 1 0x80000000 0", bit31},
            {"BRD_SEND_CMD 1 0 0xFFFFFFFF", bit31},
        });
    }

    void reports() { checkTextCase(outcomeOf); }

    void checksThePinCountFirst() {
        QCOMPARE(outcomeFor("/*", 0), QByteArray("0: Pin count must be positive."));
        QCOMPARE(outcomeFor("GOSTRT", -1), QByteArray("0: Pin count must be positive."));
        QCOMPARE(outcomeFor("SETIN 2", 1), QByteArray("1: Pin must be 1 through 1."));
    }
};

QTEST_APPLESS_MAIN(CompilerTest)
#include "CompilerTest.moc"
