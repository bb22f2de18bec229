#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"
#include "support/TextCases.h"

using namespace pivex;

namespace {

/// The numbers joined by commas, each marked line with a "!".
QByteArray gutterText(const QByteArray& code) {
    QByteArrayList entries;
    for (const GutterLine& line : instructionGutter(code.toStdString(), 14)) {
        entries.append(QByteArray::fromStdString(line.text) + (line.hasError ? "!" : ""));
    }
    return entries.join(',');
}

/// The instruction numbers for the lines -1, 0, 1 and so on to two lines beyond the end.
QByteArray instructionLines(const QByteArray& code) {
    QByteArray numbers;
    for (int line = -1; line <= code.count('\n') + 3; ++line) {
        numbers +=
            ' ' + QByteArray::number(diagnosticInstructionLine(code.toStdString(), line, 14));
    }
    return numbers;
}

} // namespace

class GutterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void numbersLines_data() {
        addTextCases({{"", ""},
                      {"\r\n\n\r", ",,,"},
                      {"/* x */\n\nDIM X 1\nGOSTRT\nSETPIN 1 1\nENDTEST\n", ",,,1,2,3,"},
                      {"GOSTRT\nFOO 1\nDIM SETPIN 1\nSETIN 99\r~0x10\n", "1,!,,2!,3,"},
                      {"LOOP 3\nSETPIN\n~0x01 ?", "1,2!,3!"},
                      {"LOOP ?\n/*\n*/ENDTEST", "1!,,2"},
                      {"GOSTRT\n/* FOO\nSETIN 99\n", ",!,,"}});
    }

    void numbersLines() { checkTextCase(gutterText); }

    void followsTheCompiler() {
        for (std::uint32_t seed = 1; seed <= 500; ++seed) {
            const QByteArray code = ProgramGenerator(seed, true).program();
            const QByteArray last = gutterText(code).split(',').last();
            const std::size_t count = compileChip(chipOf(code)).bytes.size() / instructionSize;
            QVERIFY2(last == QByteArray::number(count), QByteArray::number(seed).constData());
        }
    }

    void translatesLines_data() {
        addTextCases({{"DIM A 1\nGOSTRT\nENDTEST\n// x", " -1 0 1 1 2 2 2 2"},
                      {"ASAFE\n\nFOO\nASAFE", " -1 0 1 2 2 2 2 2"},
                      {"FOO", " -1 0 1 1 1"},
                      {"ASAFE\nASAFE\n/*", " -1 0 1 1 1 1 1"}});
    }

    void translatesLines() { checkTextCase(instructionLines); }
};

QTEST_APPLESS_MAIN(GutterTest)
#include "GutterTest.moc"
