#include "tools/FontDocument.h"

#include "support/TextCases.h"
#include "support/Thrown.h"

using namespace pivex;

namespace {

const QByteArray tiny = "name=Tiny\nwidth=2\nheight=3\nsize=4\n\n[data]\n\n"
                        "# Glyph 0 - Space\n0b000, 0b000\n\n# Glyph 1 - !\n0b110, 0b001\n";
const QByteArray header = "name=Tiny\nwidth=2\nheight=3\nsize=4\n[data]\n";
const QByteArray data = "[data]\n0b000,0b000,0b110,0b001";

} // namespace

class FontDocumentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void parses_data() {
        addTextCases({
            {"name=a#b\nwidth=1\nheight=1\nsize=1\n[data]\n0b1",
             "name=a#b\nwidth=1\nheight=1\nsize=1\n\n[data]\n\n# Glyph 0 - Space\n0b1\n"},
            {"width=2x\n", "Invalid font width."},
            {"Width = 0\n", "Invalid font width."},
            {"height=-1\n", "Invalid font height."},
            {"size=2147483648\n", "Invalid font size."},
            {"name=a\nwidth=3\nheight=3\nsize=4\n" + data, "Font contains an incomplete glyph."},
        });
        addTexts(tiny, {tiny, "\xEF\xBB\xBF" + QByteArray(tiny).replace("\n", "\r\n"),
                        " HEIGHT = 3 \nstray\n#width=7\nSize=9\nsize=4\nother=0\nwidth=2\n"
                        "name= Tiny\n [DATA]\t\n0b000 0B000,,0b110#0b111\n# [data]\n\n,\n"
                        "\v0b001\f# 0b2\n"});
        addTexts("Missing font name, width, height, size, or [data].",
                 {"", "height=9\n", header, "name=a\nwidth=1\nheight=1\nsize=1\n[data] # x\n",
                  QByteArray(tiny).replace("\n", "\r"),
                  QByteArray(tiny).replace("Tiny", QByteArray("a\0b", 3)),
                  "width=2\nheight=3\nsize=4\n" + data, "name=a\nheight=3\nsize=4\n" + data,
                  "name=a\nwidth=2\nheight=3\n" + data});
        addTexts("Font height must be 1 through 8.",
                 {"width=2\nsize=4\n" + data, "height=9\n[data]\n"});
        addTexts("Declared font size does not match the column count.",
                 {header + "0b000", tiny + "0b001 0b001"});
        for (const QByteArray column : {"0b0001", "0b00", "0b002", "01000", "0", "[data]"}) {
            addTexts("Invalid binary column or column height: " + column, {header + column});
        }
    }

    void parses() {
        checkTextCase([](const QByteArray& text) {
            return textOrError([&] { return parseFont(text.toStdString()).text(); });
        });
    }

    void holdsAtMost65535Columns() {
        FontDocument font{"Big", 65535, 8, Bytes(65535, 0xA5)};
        QCOMPARE(parseFont(font.text()), font);
        QCOMPARE(thrownText([&] { parseFont(font.text() + "0b00000000"); }),
                 "Font exceeds 65535 columns.");
        font.width = 1;
        QVERIFY(font.text().find("# Glyph 94 - ~\n0b10100101\n\n# Glyph 95 - Glyph 95\n") !=
                std::string::npos);
    }
};

QTEST_APPLESS_MAIN(FontDocumentTest)
#include "FontDocumentTest.moc"
