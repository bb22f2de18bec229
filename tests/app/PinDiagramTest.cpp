#include "app/PinDiagram.h"

#include "support/Thrown.h"

#include <QtTest>

using namespace pivex;

namespace {

const char* const invalid = "Invalid pin diagram configuration.";
const char* const notLiteral = "Pin diagram needs literal values in the fields it changes. Enter "
                               "numbers instead of DIM names or register references first.";

/// A tool with its field texts on a package, read from "OPCODE pins field|field ...".
struct Setting {
    explicit Setting(const QByteArray& script)
        : words(script.split(' ')),
          tool(*std::ranges::find(opcodeTools, words[0].toStdString(), &OpcodeTool::opcode)),
          pins(words[1].toInt()) {
        for (const QByteArray& text : words[2].split('|')) {
            texts.push_back(text.toStdString());
        }
    }

    QByteArray fields() const {
        QByteArrayList list;
        std::ranges::transform(texts, std::back_inserter(list), &QByteArray::fromStdString);
        return list.join('|');
    }

    QByteArrayList words;
    const OpcodeTool& tool;
    int pins;
    std::vector<std::string> texts;
};

void addRows(std::initializer_list<std::pair<const char*, const char*>> rows) {
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("result");
    for (const auto& [script, result] : rows) {
        QTest::newRow(script) << QByteArray(script) << QByteArray(result);
    }
}

} // namespace

class PinDiagramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void clicks_data() {
        addRows({
            {"SETIN 14 LED 3", "3 @0"},
            {"SETPIN 14 #R1|X @1 14", "14|X @0"},
            {"RDPIN 2 0|0 2", "2|0 @0"},
            {"TOGPIN 14 0|BAD 7", "7|BAD @0"},
            {"SHL 14 1|2|3 7", "1|2|3 @-1"},
            {"MULTIO 14 0|0|0 2 4 6 4 8", "2|8|6 @2"},
            {"MULTIO 14 1|0b0|0 5", "1|5|0 @2"},
            {"MULTIO 14 1|2|3 @2 5 6", "1|2|6 @2"},
            {"MULTIO 14 0x5|5|0 5", "0|5|0 @0"},
            {"MULTIO 14 0||0 5", notLiteral},
            {"MULTIO 14 0|0|LED 5", notLiteral},
            {"CLKST 14 0|0 @1 5", "5|0 @0"},
            {"ALLDIR 14 0|0 1 14 8", "0x1|0x41 @1"},
            {"ALLDIR 14 0x81|B 8", notLiteral},
            {"ALLDIR 14 0X81|B 1", "0x80|B @0"},
            {"ALLEVEL 40 0|0 20 21", "0x80000|0x80000 @1"},
            {"DEFADDR 14 8|0|0 2 3", "8|0x302|0x0 @-1"},
            {"DEFADDR 14 LED|0x302|0 @0 2", "LED|0x20300|0x0 @0"},
            {"DEFADDR 14 0|0x302|0 3 2 2", "0|0x2030000|0x0 @-1"},
            {"DEF8 14 0|0x01020304|0x05060708 1", "0|0x20304|0x5060708 @-1"},
            {"DEF8 14 0|0x01020304|0x05060708 9", "0|0x1020304|0x5060708 @-1"},
            {"PIN2ARR 14 0|67305985|0x00060708 4", "0|0x30201|0x4060708 @-1"},
            {"PIN2ARR 14 0|0|#R1 4", notLiteral},
            {"SETIN 7 0 1", invalid},
            {"SETIN 0 0 1", invalid},
            {"SETIN 42 0 1", invalid},
            {"SETIN 14 0 15", invalid},
            {"SETIN 14 0 0", invalid},
            {"SETIN 14 0|0 1", invalid},
        });
    }

    /// After the setting come pins to click, or @n to make field n active; the result is the
    /// fields and the active field, or the failure.
    void clicks() {
        QFETCH(const QByteArray, script);
        Setting setting(script);
        const QByteArray before = setting.fields();
        int active = -1;
        QByteArray failure;
        for (const QByteArray& action : setting.words.sliced(3)) {
            if (action.startsWith('@')) {
                active = action.mid(1).toInt();
                continue;
            }
            failure = thrownText([&] {
                clickPin(setting.tool, setting.texts, action.toInt(), setting.pins, active);
            });
        }
        QVERIFY(failure.isEmpty() || (setting.fields() == before && active == -1));
        const QByteArray result = setting.fields() + " @" + QByteArray::number(active);
        QTEST(failure.isEmpty() ? result : failure, "result");
    }

    void marks_data() {
        addRows({
            {"SETIN 14 0x3", "3  *"},
            {"SETIN 14 LED", ""},
            {"SETPIN 14 3|5", "3  *"},
            {"SHL 14 1|2|3", ""},
            {"MULTIO 14 2||14", "2  *,14  *"},
            {"ALLDIR 14 0x41|0x41", "1  ON,7  ON,8  ON,14  ON"},
            {"ALLDIR 14 LED|1", "14  ON"},
            {"ALLDIR 6 0xFFFFFFF8|0b100", "4  ON"},
            {"ALLDIR 80 0x80000000|0", "32  ON"},
            {"DEFADDR 14 8|0x302|0x05000000", "2  A8,3  A9,5  A15"},
            {"DEFADDR 14 LED|0x302|LED", "2  A0,3  A1"},
            {"DEFADDR 14 4294967295|0x200|0", "2  A4294967296"},
            {"DEF8 14 8|0x302|4", "2  A0,3  A1,4  A4"},
            {"PIN2ARR 14 8|#R1|0x0E0E", "14  A4"},
        });
    }

    /// The result is the labels that are not plain numbers.
    void marks() {
        QFETCH(const QByteArray, script);
        const Setting setting(script);
        QByteArrayList marked;
        for (int pin = 1; pin <= setting.pins; ++pin) {
            const std::string label = pinLabel(setting.tool, setting.texts, pin, setting.pins);
            if (label != std::to_string(pin)) {
                marked << QByteArray::fromStdString(label);
            }
        }
        QTEST(marked.join(','), "result");
    }

    void readsAndWritesNumbers() {
        QCOMPARE(pinLiteral("4294967295"), 4294967295U);
        QCOMPARE(pinLiteral("0XfF"), 255U);
        QCOMPARE(pinLiteral("0B101"), 5U);
        QCOMPARE(pinLiteral("007"), 7U);
        for (const char* bad : {"", "0x", "0b", "0b2", "0xG", "1A", "+1", "-1", " 1", "1 ", "#R1",
                                "4294967296", "0x100000000", "99999999999999999999999999"}) {
            QCOMPARE(thrownText([bad] { pinLiteral(bad); }), QByteArray(notLiteral));
        }
        QCOMPARE(pinHex(0), "0x0");
        QCOMPARE(pinHex(0xABC), "0xABC");
        QCOMPARE(pinHex(0xFFFFFFFF), "0xFFFFFFFF");
    }
};

QTEST_APPLESS_MAIN(PinDiagramTest)
#include "PinDiagramTest.moc"
