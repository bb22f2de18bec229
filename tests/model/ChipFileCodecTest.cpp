#include "model/ChipFileCodec.h"

#include "model/Utf8.h"
#include "support/TextCases.h"
#include "support/Thrown.h"

using namespace pivex;

namespace {

/// "name|pins|type|imageIndex|code|strings that are not empty, as 3=text", or the error.
QByteArray contentOf(const QByteArray& file) {
    return textOrError([&] {
        const auto [name, pins, type, picture, code, strings] = decodeChip(file.toStdString());
        std::string content = name + '|' + std::to_string(pins) + '|' + std::to_string(type) + '|' +
                              std::to_string(picture) + '|' + code;
        for (std::size_t index = 0; index < strings.size(); ++index) {
            const std::string& text = strings[index];
            content += text.empty() ? "" : '|' + std::to_string(index) + '=' + text;
        }
        return content;
    });
}

} // namespace

class ChipFileCodecTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void writes() {
        const ChipDocument document{"A\nB",
                                    -1,
                                    2147483647,
                                    99,
                                    "\r\n\n\tA \r\n\rB\r\n \n\n",
                                    {"a\r\nb\rc\n\rd", "", "", "", "", "", "", " z "}};
        QCOMPARE(QByteArray::fromStdString(encodeChip(document)),
                 "[chipfile]\ntype = single\n\n[chips]\n\n---\n\n[meta]\n\nname = A\nB\n"
                 "pins = -1\ntype = 2147483647\nimageIndex = 99\n\n[code]\n\n\tA \n\nB\n \n\n"
                 "[strings]\n\n0=a b c  d\n1=\n2=\n3=\n4=\n5=\n6=\n7= z \n\n[ENDCHIPS]\n");
        const std::string empty = encodeChip({.name = "N", .code = "\n\r\n\r", .strings = {}});
        QVERIFY(empty.find("[code]\n\n\n[strings]") != std::string::npos);
    }

    void reads_data() {
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
            {head + "[strings]\n3= hello \n 2 =x=y\n8=x\n-1=x\nx=y\n+7=p\n-0=q\n++1=z\n1",
             "N|14|0|0||0=q|2=x=y|3= hello |7=p"},
            {head + "[strings]\n1=a\n01=\n[other]\n2=a\n[chipfile]\nType = SINGLE", "N|14|0|0|"},
            {"[chips]\nname=N", "The file does not contain a [meta] section."},
            {"name=N\n[chips]\n[meta]\nname= \t",
             "The chip name is missing from the [meta] section."},
            {"[meta]\nPINS = 0x10 ", "Invalid pins in the chip file: 0x10"},
            {"[chipfile]\ntype = @AZ[", "Unsupported chip file type: @az["},
        });
        addTexts("The chip file could not be read as UTF-8 text.", {"\xFF", head + "pins=x\n\xC3"});
        addTexts("The chip file is empty.", {"", mark});
        addTexts("The file does not contain a [chips] section.", {" \n", mark + mark + head});
        for (const QByteArray number : {"1 0", "+-1", "-", "2147483648", "-2147483649"}) {
            addTexts("Invalid type in the chip file: " + number, {head + "type=" + number});
        }
    }

    void reads() { checkTextCase(contentOf); }

    void knowsUtf8() {
        const QByteArray valid = "61 7F C280 DFBF E0A080 ED9FBF EE8080 EFBFBF F0908080 F1808080 "
                                 "F48FBFBF";
        const QByteArray malformed =
            "80 BF C080 C1BF C2 C27A C2C2 E09FBF E180 E1807A EDA080 EDBFBF "
            "EFBF F08FBFBF F09080 F180807A F18080C0 F4908080 F5808080 FF";
        for (const QByteArray& hex : (valid + ' ' + malformed).split(' ')) {
            const std::string text = QByteArray::fromHex(hex).toStdString();
            const std::string longer = text + "\x80";
            const bool isValid = valid.split(' ').contains(hex);
            QVERIFY2(isUtf8(std::string_view(longer).substr(0, text.size())) == isValid, hex);
            QVERIFY2(isUtf8("a" + text + "b") == isValid, hex);
        }
    }
};

QTEST_APPLESS_MAIN(ChipFileCodecTest)
#include "ChipFileCodecTest.moc"
