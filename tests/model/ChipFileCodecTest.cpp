#include "model/ChipFileCodec.h"

#include "model/Utf8.h"
#include "support/TextCases.h"

#include <stdexcept>

using namespace pivex;

namespace {

/// "name|pins|type|imageIndex|code|strings that are not empty, as 3=text", or "!" and the error.
QByteArray contentOf(const QByteArray& file) {
    try {
        const ChipDocument document = decodeChip(file.toStdString());
        QByteArrayList fields{QByteArray::fromStdString(document.name),
                              QByteArray::number(document.pins), QByteArray::number(document.type),
                              QByteArray::number(document.imageIndex),
                              QByteArray::fromStdString(document.code)};
        for (std::size_t index = 0; index < document.strings.size(); ++index) {
            if (!document.strings[index].empty()) {
                fields.append(QByteArray::number(index) + "=" +
                              QByteArray::fromStdString(document.strings[index]));
            }
        }
        return fields.join('|');
    } catch (const std::runtime_error& error) {
        return QByteArray("!") + error.what();
    }
}

} // namespace

class ChipFileCodecTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void writes() {
        const ChipDocument document{
            .name = "A\nB",
            .pins = -1,
            .type = 2147483647,
            .imageIndex = 99,
            .code = "\r\n\n\tA \r\n\rB\r\n \n\n",
            .strings = {"a\r\nb\rc\n\rd", "", "", "", "", "", "", " z "},
        };
        const QByteArray file = QByteArray::fromStdString(encodeChip(document));
        QCOMPARE(file, "[chipfile]\ntype = single\n\n[chips]\n\n---\n\n[meta]\n\nname = A\nB\n"
                       "pins = -1\ntype = 2147483647\nimageIndex = 99\n\n[code]\n\n\tA \n\nB\n \n\n"
                       "[strings]\n\n0=a b c  d\n1=\n2=\n3=\n4=\n5=\n6=\n7= z \n\n[ENDCHIPS]\n");
        QCOMPARE(contentOf(file), "A|-1|2147483647|99|\tA \n\nB\n |0=a b c  d|7= z ");
    }

    void writesEmptyCodeAsThreeLineFeeds() {
        for (const char* code : {"", "\n\r\n\r"}) {
            const QByteArray file =
                QByteArray::fromStdString(encodeChip({.name = "N", .code = code, .strings = {}}));
            QVERIFY(file.contains("[code]\n\n\n[strings]"));
            QCOMPARE(contentOf(file), "N|14|0|0|");
        }
    }

    void reads_data() {
        const QByteArray noUtf8 = "!The chip file could not be read as UTF-8 text.";
        const QByteArray empty = "!The chip file is empty.";
        const QByteArray noChips = "!The file does not contain a [chips] section.";
        const QByteArray noMeta = "!The file does not contain a [meta] section.";
        const QByteArray noName = "!The chip name is missing from the [meta] section.";
        const QByteArray mark = "\xEF\xBB\xBF";
        const QByteArray head = "[chips]\n[meta]\nname=N\n";
        addTextCases({
            {mark + head, "N|14|0|0|"},
            {" [META] \n NAME\t= X Y \nImageINDEX=8\n\v[Chips]\f\nx", "X Y|14|0|8|"},
            {"[chips]\r[meta]\r\nname=N\r[code]\rA\r\n\rB\r", "N|14|0|0|A\n\nB"},
            {head + "name=M\npins=1\npins = +16\ntype=-3\n[meta]\nname=O", "O|16|-3|0|"},
            {head + "pins=-2147483648\ntype=+2147483647\nimageIndex=007",
             "N|-2147483648|2147483647|7|"},
            {head + "[code]\n\n  GOSTRT  \na=[b]\n [data] \nX\n[Code]\n\nY\n \n\n",
             "N|14|0|0|  GOSTRT  \na=[b]\n\nY\n "},
            {head + "[strings]\n3= hello \n 0 =x=y\n8=x\n-1=x\nx=y\n+7=p\n-0=q\n++1=z\n1",
             "N|14|0|0||0=q|3= hello |7=p"},
            {head + "[strings]\n1=a\n01=\n[other]\n2=a\n[chips]\n4=b", "N|14|0|0|"},
            {head + "[chipfile]\nType = SINGLE", "N|14|0|0|"},
            {"\xFF", noUtf8},
            {head + "pins=x\n\xC3", noUtf8},
            {"", empty},
            {mark, empty},
            {" \n", noChips},
            {mark + mark + head, noChips},
            {"[chips]\nname=N", noMeta},
            {"name=N\n[chips]\n[meta]\nname= \t", noName},
            {"[meta]\nPINS = 0x10 ", "!Invalid pins in the chip file: 0x10"},
            {head + "pins = 16 pins", "!Invalid pins in the chip file: 16 pins"},
            {head + "imageIndex=\n", "!Invalid imageindex in the chip file: "},
            {head + "type=+-1", "!Invalid type in the chip file: +-1"},
            {head + "type=-", "!Invalid type in the chip file: -"},
            {head + "pins=2147483648", "!Invalid pins in the chip file: 2147483648"},
            {head + "pins=-2147483649", "!Invalid pins in the chip file: -2147483649"},
            {"[chipfile]\ntype = Batch", "!Unsupported chip file type: batch"},
            {head + "[chipfile]\ntype =", "!Unsupported chip file type: "},
        });
    }

    void reads() { checkTextCase(contentOf); }

    void knowsUtf8_data() {
        QTest::addColumn<bool>("isValid");
        const QByteArray valid = "61 7F C280 DFBF E0A080 ED9FBF EE8080 EFBFBF F0908080 F1808080 "
                                 "F48FBFBF";
        const QByteArray malformed =
            "80 BF C080 C1BF C2 C27A C2C2 E09FBF E180 E1807A EDA080 EDBFBF "
            "EFBF F08FBFBF F09080 F180807A F18080C0 F4908080 F5808080 FF";
        for (const QByteArray& hex : valid.split(' ')) {
            QTest::newRow(hex.constData()) << true;
        }
        for (const QByteArray& hex : malformed.split(' ')) {
            QTest::newRow(hex.constData()) << false;
        }
    }

    void knowsUtf8() {
        QFETCH(const bool, isValid);
        const std::string text = QByteArray::fromHex(QTest::currentDataTag()).toStdString();
        const std::string longer = text + "\x80";
        QCOMPARE(isUtf8(std::string_view(longer).substr(0, text.size())), isValid);
        QCOMPARE(isUtf8("a" + text + "b"), isValid);
    }
};

QTEST_APPLESS_MAIN(ChipFileCodecTest)
#include "ChipFileCodecTest.moc"
