#include "language/ChipCompiler.h"
#include "language/Lexer.h"
#include "support/Hex.h"
#include "support/TextCases.h"
#include "support/Thrown.h"

using namespace pivex;
using namespace pivex::testing;

namespace {

/// A program for 14 pins, or for the number behind the "@" that it begins with.
ChipDocument chipOf(const QByteArray& text) {
    const bool isCounted = text.startsWith('@');
    const qsizetype end = isCounted ? text.indexOf(' ') : -1;
    const int pins = isCounted ? text.mid(1, end - 1).toInt() : 14;
    return {.name = "T", .pins = pins, .code = text.mid(end + 1).toStdString(), .strings = {}};
}

/// " 1:A|B| 3:C|" for words A and B on line 1 and C on line 3, or "!" and the line of the error.
QByteArray linesIn(const QByteArray& text) {
    try {
        std::string words;
        for (const LineList list = tokenize(text.toStdString()); const Line& line : list) {
            words += ' ' + std::to_string(line.line) + ':';
            for (const std::string_view word : line.tokens) {
                words.append(word).append("|");
            }
        }
        return QByteArray::fromStdString(words);
    } catch (const Error& error) {
        return "!" + QByteArray::number(error.line);
    }
}

/// What the checker finds, each as "line: message", with a "*" at the compiler's error (in front of
/// all if it is none of them). For a clean program the words of its instructions in hexadecimal,
/// without the zeros at their ends.
QByteArray outcomeOf(const QByteArray& code) {
    const CompileResult result = compileChip(chipOf(code));
    const QByteArray message = QByteArray::fromStdString(result.errorMessage);
    const QByteArray line = QByteArray::number(result.errorLine) + ": ";
    QByteArrayList parts;
    for (const CodeDiagnostic& each : validateChip(chipOf(code))) {
        parts.append(QByteArray::number(each.line) + ": " + each.message.c_str());
    }
    if (!message.isEmpty()) {
        const auto found = std::ranges::find_if(parts, [&](const QByteArray& part) {
            return part.startsWith(line) && part.endsWith(message);
        });
        (found != parts.end() ? *found : parts.emplaceFront(line + message)).prepend('*');
        return parts.join(" / ");
    }
    for (std::size_t at = 0; at < result.bytes.size(); at += instructionSize) {
        parts.append("");
        for (std::size_t word = at; word < at + instructionSize; word += 4) {
            parts.last() += ' ' + QByteArray::number(u32At(result.bytes, word), 16);
        }
        while (parts.last().endsWith(" 0")) {
            parts.last().chop(2);
        }
    }
    return parts.join('|');
}

/// What the bytes of a program, or those in hexadecimal behind a "=", come out as.
QByteArray decompiled(const QByteArray& text) {
    return textOrError([&] {
        return decompileChip(text.startsWith('=') ? fromHex(text)
                                                  : compileChip(chipOf(text)).bytes);
    });
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

QByteArray invalid(const QByteArray& word) {
    return "Invalid value '" + word + "'. Use UInt32 decimal/hex/binary, #R0..#R31, or a DIM name.";
}

const QByteArray literal = "This argument requires a literal, not a runtime #Rn reference.";

} // namespace

class LanguageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void cutsLines_data() {
        addTextCases({
            {"", ""},
            {"a\r\nb\n\rc\rd\n", " 1:A| 2:B| 4:C| 5:D|"},
            {"a\nb\nc\nd", " 1:A| 2:B| 3:C| 4:D|"},
            {" \ta\vb\fc  d,1;\t", " 1:A|B|C|D,1;|"},
            {"\xC3\xA4z{`@[", " 1:\xC3\xA4Z{`@[|"},
            {QByteArray("a\0b c", 5), QByteArray(" 1:A\0B|C|", 9)},
            {"a 1//b /* c\rd\n// e", " 1:A|1| 2:D|"},
            {"SET/* x */PIN/**/ 1", " 1:SETPIN|1|"},
            {"SETPIN /*\r\n\r // */1 1", " 1:SETPIN| 3:1|1|"},
            {"/ * a/ */ b*/", " 1:/|*|A/|*/|B*/|"},
            {"a /*/ b */ c /****/d/***/", " 1:A|C|D|"},
            {"a\n\nb\n\n/* // */ /*\r\n*", "!5"},
        });
    }

    void cutsLines() { checkTextCase(linesIn); }

    void compiles_data() {
        addTextCases({
            {"SETPIN 3 0x01020304\nSETPIN #R2 1\nDELMS 0x80000005",
             " 1 3 1020304| 1 80000002 1| 17 80000005"},
            {"~0x01 00031 0x1f +0\n~0Xff +31 0X+1F 0B+1\n~0x00 #R0 #r31 #R+005",
             " 1 1f 1f| ff 1f 1f 1| 0 80000000 8000001f 80000005"},
            {"~0x10 4294967295 0xFFFFFFFF 0b" + QByteArray(32, '1') + "\nDELMS 0" +
                 QByteArray(40, '0') + "7",
             " 10 ffffffff ffffffff ffffffff| 17 7"},
            {"DELMS b\ndim a 0x10\nDIM _z9 A\nDIM B _Z9\nDIM R #R2\nADD R 1 3",
             " 17 10| 44 80000002 1 3"},
            {"DIM EQ 5\nIF EQ EQ EQ\nENDIF\nWHILE div2 #R1 0\nENDWHL",
             " 50 0 5 5| 51| 18 6 80000001| 19"},
            {"CALL late\nFUNC abcdefghijkl\nENDFUNC\nCALL ABCDEFGHIJKL\nFUNC Late\nENDFUNC",
             " c3 5| c1 44434241 48474645 4c4b4a49| c2| c3 2| c1 4554414c| c2"},
            {"ALLDIR 0xFFFFFFFF 0x80000000\nDEFADDR 24 0xFFFFFFFF 0\nSETIN 14\nDEF8 31 0 0",
             " e ffffffff 80000000| 22 18 ffffffff| 2 e| 2b 1f"},
            {"BRD_GET_RSLT 63 31\nBRD_GET_RSLT #R9 0\nBRD_SEND_CMD 0xFF3F 0 0\nBRD_SEND_CMD #R1 "
             "0x7FFFFFFF #R1\nBRD_SEND_CMD 0xFF 0 0",
             " a4 3f 1f| a4 80000009| a3 ff3f| a3 80000001 7fffffff 80000001| a3 ff"},
            {"@0 /*", "*0: Pin count must be positive. / 1: Unterminated block comment."},
            {"@0 ", "*0: Pin count must be positive."},
            {"@1 SETIN 2", "*1: Argument 1: Pin must be 1 through 1."},
            {"FUNC\nENDFUNC",
             "*1: FUNC requires exactly one function name. / 1: FUNC expects 1 argument(s)."},
            {"CALL MAIN", "*1: Undefined function 'MAIN'."},
            {"~0x10 3\nENDLOOP", "*2: Unmatched ENDLOOP."},
            {"DIM R #R5\nREGLOD R 5", "*2: Argument 1: " + literal},
            {"DIM A 1\nDIM A x", "*2: Duplicate DIM name 'A'."},
            {"BAR\nDIM DIM 5",
             "*1: Unknown opcode 'BAR'. / 2: Invalid or reserved DIM name 'DIM'."},
            {"SETIN 99\nFOO ?",
             "1: Argument 1: Pin must be 1 through 14. / *2: Unknown opcode 'FOO'."},
            {"ENDIF 5", "*1: ENDIF expects 0 argument(s), found 1. / 1: Unmatched ENDIF. / "
                        "1: ENDIF expects 0 argument(s)."},
            {"\nLOOP 3\nENDIF\n\nIF 1 1 1",
             "2: Unclosed LOOP block. / *3: Unmatched ENDIF. / 5: Unclosed IF block."},
            {"LOOP 3\nIF EQ 1 1", "1: Unclosed LOOP block. / *2: Unclosed IF block."},
            {"IF EQ 1 2\nFUNC F\nENDFUNC\nENDIF",
             "*2: FUNC cannot be nested inside another block."},
            {"~0x01 ? 1 ! ?", "*1: Raw opcodes accept at most three arguments. / 1: Argument 1: " +
                                  invalid("?") + " / 1: Argument 3: " + invalid("!")},
            {"SETIN 99\nFUNC A B\nENDFUNC\nFUNC\nENDFUNC\nCALL A",
             "*2: FUNC requires exactly one function name. / 1: Argument 1: Pin must be 1 through "
             "14. / 2: FUNC expects 1 argument(s). / 4: FUNC expects 1 argument(s). / 6: "
             "Undefined function 'A'."},
            {"FUNC \xC3\xA4-BCDEFGHIJK\nENDFUNC\nFUNC F\nENDFUNC\nFUNC f",
             "*1: Function names are limited to 12 bytes. / 5: Duplicate function 'F'. / "
             "5: Unclosed FUNC block."},
            {"BRD_GET_RSLT 64 #R1",
             "*1: Argument 1: Result slot must be from 0 through 63. / 1: Argument 2: " + literal},
        });
        addTexts("*1: No executable instructions.", {"", "\n// x\n/* y */", "\nDIM A 1\nDIM B A"});
        addTexts("*2: Unmatched ENDIF.", {"\nENDIF", "ASAFE\nENDIF"});
        addTexts("*1: Argument 1: Pin must be 1 through 14.", {"SETIN 0", "MULTIO 15 1 2"});
        addTexts("*1: Argument 2: " + literal, {"DEF8 0 #R1 0", "ALLDIR 0 #R1"});
        addTexts("*1: Argument 1: Register slot / address index must be 0 through 31.",
                 {"REGINC 32", "DEF8 32 0 0"});
        addTexts("*1: Argument 1: Address group must be 0, 8, 16, or 24.",
                 {"DEFADDR 7 0 0", "DEFADDR 32 0 0"});
        addTexts(
            "*1: Argument 1: Use a command byte, or a command byte followed by a result slot "
            "from 0 through 63 (for example 0x0101).",
            {"BRD_SEND_CMD 0x0140 1 2", "BRD_SEND_CMD 0x0180 1 2", "BRD_SEND_CMD 0x10000 1 2"});
        addTexts("*1: Argument 2: A literal with bit 31 set is interpreted as a register reference "
                 "by the firmware. Use #Rn to send a full 32-bit register value.",
                 {"BRD_SEND_CMD 1 0x80000000 0", "BRD_SEND_CMD 1 0xFFFFFFFF 0"});
        addTexts("*1: DIM requires exactly a name and a value.", {"DIM SETPIN", "DIM A 1 2"});
        for (const QByteArray word : {"~0X1", "~0X012", "~1X12", "~0XG1"}) {
            addTexts("*1: Unknown opcode '" + word + "'.", {word});
        }
        for (const QByteArray name : {"9LIVES", "MY-PIN", "SETPIN", "DIM", "#R1", "\xC3\x84"}) {
            addTexts("*1: Invalid or reserved DIM name '" + name + "'.", {"DIM " + name + " x"});
        }
        const QByteArray words = "A 4294967296 18446744073709551617 0X100000000 #R32 #R # 0X 0B2 "
                                 "0X1G + ++1 +0X1F +#R5 -1 #R-1 1, 1.0 R5 EQ "
                                 "9999999999999999999999999999999999999999";
        for (const QByteArray& word : words.split(' ')) {
            addTexts("*1: " + invalid(word), {"DIM A " + word});
        }
    }

    void compiles() { checkTextCase(outcomeOf); }

    void findingsOfALineKeepTheirOrder() {
        const auto findings = validateChip(chipOf(QByteArray("FUNC \xC3\xA4\n").repeated(20)));
        QCOMPARE(findings.size(), std::size_t{59});
        for (std::size_t at = 2; at < findings.size(); at += 3) {
            QVERIFY(findings[at].message == "Function names must be ASCII." &&
                    findings[at + 2].message == "Unclosed FUNC block.");
        }
    }

    void decompiles_data() {
        addTextCases({
            {"LOOP 3\nsetpin 1 0b11\nLOOP 1\nIF GE #R3 1000\nENDIF\nENDLOOP\nASAFE\nENDLOOP",
             "LOOP 0x3\n     SETPIN 0x1 0x3\n     LOOP 0x1\n          IF GE #R3 0x3E8\n"
             "          ENDIF\n     ENDLOOP\n     ASAFE\nENDLOOP"},
            {"WHILE #R1 2 #R31\nDOUNTIL\nENDUNTIL 7 0x8000001F 0x80000020\nENDWHL",
             "WHILE 0x80000001 0x2 #R31\n     DOUNTIL\n     ENDUNTIL 0x7 #R31 0x80000020\nENDWHL"},
            {"CALL b\nFUNC b\nCALL !~\nENDFUNC\nFUNC !~\nENDFUNC",
             "CALL B\nFUNC B\n     CALL !~\nENDFUNC\nFUNC !~\nENDFUNC"},
            {"~0x0C 1 2 3\n~0x2a 9\n~0xC8\n~0x00 #R1",
             "~0x0C 0x1 0x2 0x3\nPIN2ARR 0x9 0x0 0x0\n~0xC8 0x0 0x0 0x0\n"
             "~0x00 0x80000001 0x0 0x0"},
            {"~0x18\n~0x10\n~0x50\n~0x19\n~0x11\n~0x0b\n~0xc1 0x41\n~0xc2",
             "WHILE EQ 0x0 0x0\n     LOOP 0x0\n          IF EQ 0x0 0x0\nENDWHL\nENDLOOP\nASAFE\n"
             "FUNC A\nENDFUNC"},
            {"~0xc3 7 8 9\n~0xc1\n~0xc3 2", "CALL 0x7\nFUNC \n     CALL "},
            {"=", ""},
            {"=C1010000 20000000 00000000 00000000", "~0x1C1 0x20 0x0 0x0"},
            {"=C1000000 2121217E 41414141 42424242", "FUNC !!!~AAAABBBB"},
            {"=C1000000 41002020 80808080 00000000", "FUNC A"},
        });
        addTexts("Incomplete compiled instruction.",
                 {"=0D" + QByteArray(28, '0'), "=0D" + QByteArray(32, '0')});
        addTexts("Invalid stored function name.", {"FUNC \x7F\nENDFUNC", "ASAFE\n~0xC1 0x2041",
                                                   "=C1000000 41414141 41414141 41414180"});
    }

    void decompiles() { checkTextCase(decompiled); }

    void numbersLines_data() {
        addTextCases({
            {"", " -1 0 1 1 1"},
            {"/* x */\nDIM X 1\nGOSTRT\nENDTEST\n// x", ",,1,2, -1 0 1 1 1 2 2 2 2"},
            {"ASAFE\n\nFOO 1\nDIM SETPIN 1\nSETIN 99\r~0x10\n",
             "1,,!,,2!,3, -1 0 1 2 2 2 2 3 3 3 3"},
            {"LOOP 3\nSETPIN\n~0x01 ?", "1,2!,3! -1 0 1 2 3 3 3"},
            {"GOSTRT\n/* FOO\nSETIN 99\n", ",!,, -1 0 1 1 1 1 1 1"},
        });
    }

    void numbersLines() { checkTextCase(gutterOf); }
};

QTEST_APPLESS_MAIN(LanguageTest)
#include "LanguageTest.moc"
