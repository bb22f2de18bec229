#include "app/PinDiagram.h"

#include "support/TextCases.h"
#include "support/Thrown.h"

using namespace pivex;

namespace {

const char* const invalid = "Invalid pin diagram configuration.";
const char* const notLiteral = "Pin diagram needs literal values in the fields it changes. Enter "
                               "numbers instead of DIM names or register references first.";

/// The fields of "OPCODE pins field|field action..." and the active field after all actions: pins
/// to click, or @n to make field n active. Without actions the labels that are not plain numbers.
QByteArray outcome(const QByteArray& script) {
    const QByteArrayList words = script.split(' ');
    const auto& tool = *std::ranges::find(opcodeTools, words[0].toStdString(), &OpcodeTool::opcode);
    const int pins = words[1].toInt();
    std::vector<std::string> texts;
    for (const QByteArray& text : words[2].split('|')) {
        texts.push_back(text.toStdString());
    }
    std::string labels;
    for (int pin = 1; pin <= pins; ++pin) {
        const std::string label = pinLabel(tool, texts, pin, pins);
        labels += label == std::to_string(pin) ? "" : label + ",";
    }
    int active = -1;
    for (const QByteArray& action : words.sliced(3)) {
        if (action.startsWith('@')) {
            active = action.mid(1).toInt();
            continue;
        }
        QByteArray failure =
            thrownText([&] { clickPin(tool, texts, action.toInt(), pins, active); });
        if (!failure.isEmpty()) {
            return failure;
        }
    }
    std::string fields;
    for (const std::string& text : texts) {
        fields += text + " ";
    }
    return QByteArray::fromStdString(words.size() == 3 ? labels
                                                       : fields + "@" + std::to_string(active));
}

} // namespace

class PinDiagramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void clicksAndMarks_data() {
        addTextCases({
            {"SETIN 14 LED 3", "3 @0"},
            {"SETPIN 14 #R1|X @1 14", "14 X @0"},
            {"SHL 14 1|2|3 7", "1 2 3 @-1"},
            {"MULTIO 14 0|0|0 2 4 6 4 8", "2 8 6 @2"},
            {"MULTIO 14 1|0b0|0 5", "1 5 0 @2"},
            {"MULTIO 14 1|2|3 @2 5 6", "1 2 6 @2"},
            {"MULTIO 14 0|0|LED 5", notLiteral},
            {"ALLDIR 14 0|0 1 14 8", "0x1 0x41 @1"},
            {"ALLDIR 14 0x81|B 8", notLiteral},
            {"DEFADDR 14 8|0|0 2 3", "8 0x302 0x0 @-1"},
            {"DEFADDR 14 LED|0x302|0 @0 2", "LED 0x20300 0x0 @0"},
            {"DEFADDR 14 0|0x302|0 3 2 2", "0 0x2030000 0x0 @-1"},
            {"DEF8 14 0|0x01020304|0x05060708 9", "0 0x1020304 0x5060708 @-1"},
            {"PIN2ARR 14 0|0|#R1 4", notLiteral},
            {"SETIN 7 0 1", invalid},
            {"SETIN 42 0 1", invalid},
            {"SETIN 14 0 15", invalid},
            {"SETIN 14 0 0", invalid},
            {"SETIN 14 0x3", "3  *,"},
            {"MULTIO 14 2||14", "2  *,14  *,"},
            {"ALLDIR 14 0x41|0x41", "1  ON,7  ON,8  ON,14  ON,"},
            {"ALLDIR 14 LED|1", "14  ON,"},
            {"ALLDIR 80 0x80000001|0", "1  ON,32  ON,"},
            {"DEFADDR 14 8|0x302|0x05000000", "2  A8,3  A9,5  A15,"},
            {"DEFADDR 14 LED|0x302|LED", "2  A0,3  A1,"},
            {"DEFADDR 14 4294967295|0x200|0", "2  A4294967296,"},
            {"PIN2ARR 14 8|#R1|0x0E0E", "14  A4,"},
        });
    }

    void clicksAndMarks() { checkTextCase(outcome); }

    void readsNumbers() {
        QCOMPARE(pinLiteral("0XfFfFFFFF"), pinLiteral("4294967295"));
        QCOMPARE(pinLiteral("0B" + std::string(32, '1')), 0xFFFFFFFF);
        for (const char* bad : {"", "0x", "0b2", "0xG", "1A", "+1", " 1", "4294967296"}) {
            QCOMPARE(thrownText([bad] { pinLiteral(bad); }), QByteArray(notLiteral));
        }
    }
};

QTEST_APPLESS_MAIN(PinDiagramTest)
#include "PinDiagramTest.moc"
