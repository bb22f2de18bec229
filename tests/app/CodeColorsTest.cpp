#include "app/CodeColors.h"

#include "app/OpcodeTools.h"
#include "support/TextCases.h"

using namespace pivex;

namespace {

/// One character per code point of `line`: the kind that colours it, or a dot.
QByteArray kindsOf(const QByteArray& line) {
    const std::u32string points = QString::fromUtf8(line).toStdU32String();
    QByteArray kinds(static_cast<qsizetype>(points.size()), '.');
    for (const ColorSpan& span : codeColors(points)) {
        for (std::size_t i = span.start; i < span.start + span.length; ++i) {
            kinds[static_cast<qsizetype>(i)] = static_cast<char>('0' + span.kind);
        }
    }
    return kinds;
}

} // namespace

class CodeColorsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void colorsALine_data() {
        addTextCases({
            {"\t setpin 1 #r5 // x", "..000000...111.2222"},
            {"SETPIN,1 2", "33333333.."},
            {"FOO SETPIN", "333......."},
            {"#R1 #R1", "333.111"},
            {"dim X 0x1F", "000......."},
            {"~0x2a 1 ~0x2", "00000......."},
            {"~0x2 ~0x2a", "3333......"},
            {"~0x2a1", "333333"},
            {"\u017FETPIN é", "333333.."},
            {"NOT \U0001F600 #R1 #R\u0661", "000...111.333"},
            {"/* a // */ GOSTRT", "2222222222.000000"},
            {"SETPIN/*x*/1 //", "00000022222..22"},
            {"/*/ GOSTRT", "2222222222"},
            {"/**/GOSTRT//#R1", "222200000022222"},
            {"a/b /", "333.."},
            {"JMP #R0 #R31 #R031 R9", "000.111.1111.11111..."},
            {"JMP #R32 #R #R+5 #R5x", "000.3333.33.3333.3333"},
            {"JMP 1\nJMP\rFOO", "000...000.333"},
            {"JMP /*\n*/ JMP // \nJMP", "000.22222.000.222.000"},
        });
    }

    void colorsALine() { checkTextCase(kindsOf); }

    void knowsEveryToolAsAFirstWord() {
        for (const OpcodeTool& tool : opcodeTools) {
            const auto name = QByteArray::fromStdString(std::string(tool.opcode));
            QCOMPARE(kindsOf(name), QByteArray(name.size(), '0'));
        }
    }
};

QTEST_APPLESS_MAIN(CodeColorsTest)
#include "CodeColorsTest.moc"
