#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"
#include "support/TextCases.h"

using namespace pivex;

namespace {

/// Every diagnostic as "line: message", joined by "|".
QByteArray findingsFor(const QByteArray& code, std::int32_t pins) {
    QByteArrayList findings;
    for (const CodeDiagnostic& each : validateChip(chipOf(code, pins))) {
        findings.append(QByteArray::number(each.line) + ": " +
                        QByteArray::fromStdString(each.message));
    }
    return findings.join('|');
}

QByteArray findingsIn(const QByteArray& code) {
    return findingsFor(code, 14);
}

QByteArray invalid(const char* word) {
    return "Invalid value '" + QByteArray(word) +
           "'. Use UInt32 decimal/hex/binary, #R0..#R31, or a DIM name.";
}

/// What the gutter shows of each line: the numbers joined by commas, a "!" at every marked line.
/// Behind a blank each, the instruction numbers of the lines -1, 0, 1 to two beyond the end.
QByteArray gutterOf(const QByteArray& code) {
    QByteArrayList entries;
    for (const GutterLine& line : instructionGutter(code.toStdString(), 14)) {
        entries.append(QByteArray::fromStdString(line.text) + (line.hasError ? "!" : ""));
    }
    QByteArrayList numbers{entries.join(',')};
    for (int line = -1; line <= entries.size() + 2; ++line) {
        numbers.append(QByteArray::number(diagnosticInstructionLine(code.toStdString(), line, 14)));
    }
    return numbers.join(' ');
}

} // namespace

class CheckerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void finds_data() {
        addTextCases({
            {"DIM A 1\nSETPIN A A", ""},
            {"DIM A 1", "1: No executable instructions."},
            {"DIM 9 1", "1: Invalid or reserved DIM name '9'."},
            {"SETIN 99\nGOSTRT\nFOO ?\nSETIN #R1",
             "1: Argument 1: Pin must be 1 through 14.|3: Unknown opcode 'FOO'.|"
             "4: Argument 1: This argument requires a literal, not a runtime #Rn reference."},
            {"ENDIF 5", "1: Unmatched ENDIF.|1: ENDIF expects 0 argument(s)."},
            {"IF XX 1 YY", "1: Argument 1: " + invalid("XX") + "|1: Argument 3: " + invalid("YY") +
                               "|1: Unclosed IF block."},
            {"\nLOOP 3\nENDIF\n\nIF 1 1 1",
             "2: Unclosed LOOP block.|3: Unmatched ENDIF.|5: Unclosed IF block."},
            {"IF 1 1 1 1\nFUNC F\nENDIF\nENDFUNC\nENDIF",
             "1: IF expects 3 argument(s).|2: FUNC cannot be nested inside another block.|"
             "3: Unmatched ENDIF."},
            {"~0x01 ? 1 ! ?", "1: Raw opcodes accept at most three arguments.|1: Argument 1: " +
                                  invalid("?") + "|1: Argument 3: " + invalid("!")},
            {"DIM A ?\nDIM A 5 6\nDELMS A",
             "1: " + invalid("?") +
                 "|2: DIM requires exactly a name and a value.|3: Argument 1: " + invalid("A")},
            {"FUNC\nENDFUNC\nFUNC A B\nENDFUNC\nCALL A",
             "1: FUNC expects 1 argument(s).|3: FUNC expects 1 argument(s).|"
             "5: Undefined function 'A'."},
            {"FUNC \xC3\xA4-BCDEFGHIJK\nENDFUNC\nFUNC F\nENDFUNC\nFUNC F",
             "1: Function names are limited to 12 bytes.|5: Duplicate function 'F'.|"
             "5: Unclosed FUNC block."},
            {"BRD_GET_RSLT 64 #R1",
             "1: Argument 1: Result slot must be from 0 through 63.|"
             "1: Argument 2: This argument requires a literal, not a runtime #Rn reference."},
        });
    }

    void finds() { checkTextCase(findingsIn); }

    void reportsBadPinCounts() {
        const QByteArray positive = "0: Pin count must be positive.";
        QCOMPARE(findingsFor("", 0), positive);
        QCOMPARE(findingsFor("/*", 0), QByteArray("1: Unterminated block comment."));
        QCOMPARE(findingsFor("SETIN 0\nSETIN 4294967295", -1),
                 positive + "|1: Argument 1: Pin must be 1 through -1.");
    }

    void agreesWithTheCompiler() {
        std::array<int, 2> outcomes{};
        for (std::uint32_t seed = 1; seed <= 3000; ++seed) {
            ProgramGenerator generator(seed, true);
            QByteArray code = generator.program();
            for (std::uint32_t faults = generator.below(3); faults > 0; --faults) {
                code = spoiled(code, generator);
            }
            const bool compiles = compileChip(chipOf(code)).errorMessage.empty();
            const QByteArray context = "seed " + QByteArray::number(seed) + "\n" + code;
            QVERIFY2(compiles == findingsIn(code).isEmpty(), context.constData());
            ++outcomes[compiles ? 1 : 0];
        }
        QVERIFY(outcomes[0] > 500 && outcomes[1] > 500);
    }

    void numbersLines_data() {
        addTextCases({
            {"", " -1 0 1 1 1"},
            {"\r\n\n\r", ",,, -1 0 1 1 1 1 1 1"},
            {"/* x */\nDIM X 1\nGOSTRT\nENDTEST\n// x", ",,1,2, -1 0 1 1 1 2 2 2 2"},
            {"ASAFE\n\nFOO 1\nDIM SETPIN 1\nSETIN 99\r~0x10\n",
             "1,,!,,2!,3, -1 0 1 2 2 2 2 3 3 3 3"},
            {"LOOP 3\nSETPIN\n~0x01 ?", "1,2!,3! -1 0 1 2 3 3 3"},
            {"LOOP ?\n/*\n*/ENDTEST", "1!,,2 -1 0 1 2 2 2 2"},
            {"GOSTRT\n/* FOO\nSETIN 99\n", ",!,, -1 0 1 1 1 1 1 1"},
        });
    }

    void numbersLines() { checkTextCase(gutterOf); }
};

QTEST_APPLESS_MAIN(CheckerTest)
#include "CheckerTest.moc"
