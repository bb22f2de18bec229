#include "language/Lexer.h"

#include "language/Arguments.h"
#include "support/TextCases.h"

using namespace pivex;

namespace {

QByteArray bytes(std::string_view text) {
    return {text.data(), static_cast<qsizetype>(text.size())};
}

/// What `read` gives, or "!line:message".
template<typename Read>
QByteArray orError(const Read& read) {
    try {
        return read();
    } catch (const Error& error) {
        return "!" + QByteArray::number(error.line) + ":" + bytes(error.message);
    }
}

/// "1:A|B 3:C" for words A and B on line 1 and C on line 3.
QByteArray linesIn(const QByteArray& text) {
    return orError([&] {
        QByteArrayList lines;
        for (const LineList list = tokenize(text.toStdString()); const Line& line : list) {
            QByteArrayList words;
            std::ranges::transform(line.tokens, std::back_inserter(words), bytes);
            lines.append(QByteArray::number(line.line) + ":" + words.join('|'));
        }
        return lines.join(' ');
    });
}

const DimTable knownDims{{"LIMIT", {16, false}}, {"REG", {registerBit + 2, true}}};

/// "31" for a literal, "#7" for a register reference.
QByteArray valueOfWord(const QByteArray& word) {
    return orError([&] {
        const Value value = valueOf(word.toStdString(), knownDims, 8);
        return value.isRegister ? "#" + QByteArray::number(value.value - registerBit)
                                : QByteArray::number(value.value);
    });
}

/// "NAME=value" for a line that defines a constant.
QByteArray dimIn(const QByteArray& text) {
    return orError([&] {
        DimTable dims = knownDims;
        const LineList lines = tokenize(text.toStdString());
        defineDim(lines[0], dims);
        const std::string_view name = lines[0].tokens[1];
        return bytes(name) + "=" + QByteArray::number(dims.at(name).value, 16);
    });
}

QByteArray invalid(int line, const QByteArray& word) {
    return "!" + QByteArray::number(line) + ":Invalid value '" + word +
           "'. Use UInt32 decimal/hex/binary, #R0..#R31, or a DIM name.";
}

} // namespace

class LexerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void cutsLines_data() {
        addTextCases({
            {"", ""},
            {"a\r\nb\n\rc\rd\n", "1:A 2:B 4:C 5:D"},
            {" \ta\vb\fc  d\t", "1:A|B|C|D"},
            {"SETPIN 1, 1;", "1:SETPIN|1,|1;"},
            {"\xC3\xA4z{`@[", "1:\xC3\xA4Z{`@["},
            {QByteArray("a\0b c", 5), QByteArray("1:A\0B|C", 7)},
            {"a 1//b /* c\nd", "1:A|1 2:D"},
            {"// a\n/* b */\n", ""},
            {"SET/* x */PIN/**/ 1", "1:SETPIN|1"},
            {"SETPIN /*\r\n\r // */1 1", "1:SETPIN 3:1|1"},
            {"/ * a/ */ b*/", "1:/|*|A/|*/|B*/"},
            {"a /*/ b */ c", "1:A|C"},
            {"/****/a/***/", "1:A"},
            {"a //* b\nc", "1:A 2:C"},
            {"a\n\nb\n\n/* // */ /*\r\n*", "!5:Unterminated block comment."},
            {"/*/", "!1:Unterminated block comment."},
        });
    }

    void cutsLines() { checkTextCase(linesIn); }

    void movedLinesKeepTheirWords() {
        LineList first = tokenize("ab c");
        const LineList second = std::move(first);
        QCOMPARE(bytes(second[0].tokens[1]), QByteArray("C"));
    }

    void readsValues_data() {
        const QByteArray highest = "4294967295";
        addTextCases({
            {"00031", "31"},
            {"0X1F", "31"},
            {"0B11111", "31"},
            {"+31", "31"},
            {"0X+1F", "31"},
            {"0B+1", "1"},
            {"#R0", "#0"},
            {"#R31", "#31"},
            {"#R+005", "#5"},
            {highest, highest},
            {"0XFFFFFFFF", highest},
            {"0B" + QByteArray(32, '1'), highest},
            {"LIMIT", "16"},
            {"REG", "#2"},
            {QByteArray(40, '0') + "7", "7"},
        });
        const QByteArray words = "4294967296 18446744073709551617 0X100000000 #R32 #R # 0X 0B2 "
                                 "0X1G + ++1 +0X1F +#R5 -1 #R-1 1, 1.0 R5 EQ "
                                 "9999999999999999999999999999999999999999";
        for (const QByteArray& word : words.split(' ')) {
            QTest::newRow(word.constData()) << word << invalid(8, word);
        }
    }

    void readsValues() { checkTextCase(valueOfWord); }

    void definesDims_data() {
        const QByteArray count = "!1:DIM requires exactly a name and a value.";
        addTextCases({{"dim _x9 LIMIT", "_X9=10"},
                      {"DIM EQ REG", "EQ=80000002"},
                      {"DIM", count},
                      {"DIM SETPIN", count},
                      {"DIM A 1 2", count},
                      {"DIM REG x", "!1:Duplicate DIM name 'REG'."},
                      {"DIM A A", invalid(1, "A")}});
        for (const QByteArray name : {"9LIVES", "MY-PIN", "SETPIN", "DIM", "#R1", "\xC3\x84"}) {
            QTest::addRow("reserved %s", name.toHex().constData())
                << "DIM " + name + " x"
                << "!1:Invalid or reserved DIM name '" + name + "'.";
        }
    }

    void definesDims() { checkTextCase(dimIn); }
};

QTEST_APPLESS_MAIN(LexerTest)
#include "LexerTest.moc"
