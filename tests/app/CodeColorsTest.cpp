#include "app/CodeColors.h"

#include "app/OpcodeTools.h"

#include <QtTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

/// One character per code point of `line`: the kind that colours it, or a dot.
QString kindsOf(const QString& line) {
    const std::u32string points = line.toStdU32String();
    QString kinds(static_cast<qsizetype>(points.size()), u'.');
    for (const ColorSpan& span : codeColors(points)) {
        for (std::size_t i = span.start; i < span.start + span.length; ++i) {
            kinds[static_cast<qsizetype>(i)] = QChar(u'0' + span.kind);
        }
    }
    return kinds;
}

} // namespace

class CodeColorsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void colorsALine_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("kinds");
        const std::pair<QString, QString> rows[] = {
            {u""_s, u""_s},
            {u"\t setpin 1 #r5 // x"_s, u"..000000...111.2222"_s},
            {u"SETPIN,1 2"_s, u"33333333.."_s},
            {u"FOO SETPIN"_s, u"333......."_s},
            {u"#R1 #R1"_s, u"333.111"_s},
            {u"dim X 0x1F"_s, u"000......."_s},
            {u"~0x2a 1"_s, u"00000.."_s},
            {u"~0x2 ~0x2a"_s, u"3333......"_s},
            {u"~0x2a1"_s, u"333333"_s},
            {u"~0x2g"_s, u"33333"_s},
            {u"\u017FETPIN é"_s, u"333333.."_s},
            {u"NOT \U0001F600 #R1 #R\u0661"_s, u"000...111.333"_s},
            {u"/* a // */ GOSTRT"_s, u"2222222222.000000"_s},
            {u"SETPIN/*x*/1 //"_s, u"00000022222..22"_s},
            {u"GOSTRT//#R1"_s, u"00000022222"_s},
            {u"/*/ GOSTRT"_s, u"2222222222"_s},
            {u"/**/GOSTRT"_s, u"2222000000"_s},
            {u"a/b /"_s, u"333.."_s},
            {u"JMP #R0 #R31 #R031 #R9"_s, u"000.111.1111.11111.111"_s},
            {u"JMP #R32 #R #R+5 #R5x"_s, u"000.3333.33.3333.3333"_s},
            {u"JMP #R99999999999999999999 #5 R5"_s, u"000.3333333333333333333333......"_s},
            {u"JMP 1\nJMP\rFOO"_s, u"000...000.333"_s},
            {u"JMP /*\n*/ JMP // \nJMP"_s, u"000.22222.000.222.000"_s},
        };
        for (const auto& [line, kinds] : rows) {
            QTest::newRow(qPrintable(line.simplified())) << line << kinds;
        }
    }

    void colorsALine() {
        QFETCH(const QString, line);
        QTEST(kindsOf(line), "kinds");
    }

    void knowsEveryToolAsAFirstWord() {
        for (const OpcodeTool& tool : opcodeTools) {
            const auto name = QString::fromUtf8(tool.opcode.data(), qsizetype(tool.opcode.size()));
            QCOMPARE(kindsOf(name), QString(name.size(), u'0'));
        }
    }
};

QTEST_APPLESS_MAIN(CodeColorsTest)
#include "CodeColorsTest.moc"
