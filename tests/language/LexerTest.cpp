#include "language/Lexer.h"

#include "support/TextCases.h"

using namespace pivex;

namespace {

/// "1:A|B 3:C" for words A and B on line 1 and C on line 3, or "!" and the line of the error.
QByteArray linesIn(const QByteArray& text) {
    try {
        QByteArrayList lines;
        for (const LineList list = tokenize(text.toStdString()); const Line& line : list) {
            QByteArrayList words;
            for (const std::string_view word : line.tokens) {
                words.append(QByteArray::fromStdString(std::string(word)));
            }
            lines.append(QByteArray::number(line.line) + ":" + words.join('|'));
        }
        return lines.join(' ');
    } catch (const Error& error) {
        return "!" + QByteArray::number(error.line);
    }
}

} // namespace

class LexerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void cutsLines_data() {
        addTextCases({
            {"", ""},
            {"a\r\nb\n\rc\rd\n", "1:A 2:B 4:C 5:D"},
            {" \ta\vb\fc  d,1;\t", "1:A|B|C|D,1;"},
            {"\xC3\xA4z{`@[", "1:\xC3\xA4Z{`@["},
            {QByteArray("a\0b c", 5), QByteArray("1:A\0B|C", 7)},
            {"a 1//b /* c\rd\n// e", "1:A|1 2:D"},
            {"SET/* x */PIN/**/ 1", "1:SETPIN|1"},
            {"SETPIN /*\r\n\r // */1 1", "1:SETPIN 3:1|1"},
            {"/ * a/ */ b*/", "1:/|*|A/|*/|B*/"},
            {"a /*/ b */ c /****/d/***/", "1:A|C|D"},
            {"a\n\nb\n\n/* // */ /*\r\n*", "!5"},
            {"/*/", "!1"},
        });
    }

    void cutsLines() { checkTextCase(linesIn); }
};

QTEST_APPLESS_MAIN(LexerTest)
#include "LexerTest.moc"
