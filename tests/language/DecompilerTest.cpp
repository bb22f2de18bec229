#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"
#include "support/TextCases.h"

#include <stdexcept>

using namespace pivex;

namespace {

Bytes compiled(const QByteArray& code) {
    return compileChip(chipOf(code)).bytes;
}

QByteArray textOf(const Bytes& code) {
    try {
        return QByteArray::fromStdString(decompileChip(code));
    } catch (const std::runtime_error& error) {
        return QByteArray("!") + error.what();
    }
}

QByteArray decompiledFromSource(const QByteArray& source) {
    return textOf(compiled(source));
}

QByteArray decompiledFromHex(const QByteArray& hex) {
    const QByteArray raw = QByteArray::fromHex(hex);
    return textOf(Bytes(raw.begin(), raw.end()));
}

} // namespace

class DecompilerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void writesWhatWasCompiled_data() {
        addTextCases({
            {"LOOP 3\nsetpin 1 0b11\nIF GE #R3 1000\nASAFE\nENDIF\nENDLOOP\nENDTEST",
             "LOOP 0x3\n     SETPIN 0x1 0x3\n     IF GE #R3 0x3E8\n          ASAFE\n     ENDIF\n"
             "ENDLOOP\nENDTEST"},
            {"WHILE #R1 2 #R31\nDOUNTIL\nENDUNTIL 7 0x8000001F 0x80000020\nENDWHL",
             "WHILE 0x80000001 0x2 #R31\n     DOUNTIL\n     ENDUNTIL 0x7 #R31 0x80000020\nENDWHL"},
            {"REGLOD 5 #R2\nALLDIR 0x80000001 0", "REGLOD 0x5 #R2\nALLDIR 0x80000001 0x0"},
            {"CALL b\nFUNC b\nCALL !~\nENDFUNC\nFUNC !~\nENDFUNC",
             "CALL B\nFUNC B\n     CALL !~\nENDFUNC\nFUNC !~\nENDFUNC"},
            {"~0x04 1 2 3\n~0x2a 9\n~0xC8\n~0x00 #R1",
             "~0x04 0x1 0x2 0x3\nPIN2ARR 0x9 0x0 0x0\n~0xC8 0x0 0x0 0x0\n"
             "~0x00 0x80000001 0x0 0x0"},
            {"~0x18\n~0x10\n~0x50\n~0x19\n~0x11\n~0x0b\n~0xc1 0x41\n~0xc2",
             "WHILE EQ 0x0 0x0\n     LOOP 0x0\n          IF EQ 0x0 0x0\nENDWHL\nENDLOOP\nASAFE\n"
             "FUNC A\nENDFUNC"},
            {"~0xc3 7 8 9\n~0xc1\n~0xc3 2", "CALL 0x7\nFUNC \n     CALL "},
            // Names that the compiler takes but that no source line can give back.
            {"FUNC A\x01\nENDFUNC", "!Invalid stored function name."},
            {"FUNC \x7F\nENDFUNC", "!Invalid stored function name."},
            {QByteArray("FUNC A\0B\nENDFUNC", 16), "FUNC A\nENDFUNC"},
            {QByteArray("FUNC \0B\nENDFUNC", 15), "FUNC \nENDFUNC"},
        });
    }

    void writesWhatWasCompiled() { checkTextCase(decompiledFromSource); }

    void readsAnyBytes_data() {
        const QByteArray incomplete = "!Incomplete compiled instruction.";
        const QByteArray badName = "!Invalid stored function name.";
        addTextCases({
            {"", ""},
            {"0D" + QByteArray(28, '0'), incomplete},
            {"0D" + QByteArray(32, '0'), incomplete},
            {"0D010000 00000000 01000000 FFFFFFFF", "~0x10D 0x0 0x1 0xFFFFFFFF"},
            {"C1010000 20000000 00000000 00000000", "~0x1C1 0x20 0x0 0x0"},
            {"C1000000 2121217E 41414141 42424242", "FUNC !!!~AAAABBBB"},
            {"C1000000 41002020 80808080 00000000", "FUNC A"},
            {"0D" + QByteArray(30, '0') + "C1000000 41200000 00000000 00000000", badName},
            {"C1000000 41414141 41414141 41414180", badName},
        });
    }

    void readsAnyBytes() { checkTextCase(decompiledFromHex); }

    void compilesBackToTheSameBytes() {
        for (std::uint32_t seed = 1; seed <= 3000; ++seed) {
            const QByteArray source = ProgramGenerator(seed).program();
            const Bytes code = compiled(source);
            const QByteArray context = "seed " + QByteArray::number(seed) + "\n" + source;
            QVERIFY2(!code.empty() && compiled(textOf(code)) == code, context.constData());
        }
    }
};

QTEST_APPLESS_MAIN(DecompilerTest)
#include "DecompilerTest.moc"
