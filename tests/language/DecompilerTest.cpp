#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"
#include "support/TextCases.h"
#include "support/Thrown.h"

using namespace pivex;

namespace {

Bytes compiled(const QByteArray& code) {
    return compileChip(chipOf(code)).bytes;
}

/// What the bytes of a program, or those in hexadecimal behind a "=", come out as.
QByteArray decompiled(const QByteArray& text) {
    const QByteArray raw = QByteArray::fromHex(text.mid(1));
    return textOrError([&] {
        return decompileChip(text.startsWith('=') ? Bytes(raw.begin(), raw.end()) : compiled(text));
    });
}

} // namespace

class DecompilerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void decompiles_data() {
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
            {"=", ""},
            {"=0D010000 00000000 01000000 FFFFFFFF", "~0x10D 0x0 0x1 0xFFFFFFFF"},
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

    void compilesBackToTheSameBytes() {
        for (std::uint32_t seed = 1; seed <= 3000; ++seed) {
            const QByteArray source = ProgramGenerator(seed).program();
            const Bytes code = compiled(source);
            const QByteArray context = "seed " + QByteArray::number(seed) + "\n" + source;
            QVERIFY2(!code.empty() && compiled(decompiled(source)) == code, context.constData());
        }
    }
};

QTEST_APPLESS_MAIN(DecompilerTest)
#include "DecompilerTest.moc"
