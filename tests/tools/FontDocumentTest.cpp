#include "tools/FontDocument.h"

#include "support/TextCases.h"
#include "support/Thrown.h"
#include "tools/FontUploadPlan.h"

#include <QDir>
#include <QtTest/QtTest>

#include <set>

using namespace pivex;

namespace {

const QByteArray missing = "Missing font name, width, height, size, or [data].";
const QByteArray badHeight = "Font height must be 1 through 8.";
const QByteArray badSum = "Declared font size does not match the column count.";
const QByteArray badColumn = "Invalid binary column or column height: ";
const QByteArray tiny = "name=Tiny\nwidth=2\nheight=3\nsize=4\n\n[data]\n\n"
                        "# Glyph 0 - Space\n0b000, 0b000\n\n# Glyph 1 - !\n0b110, 0b001\n";
const QByteArray header = "name=Tiny\nwidth=2\nheight=3\nsize=4\n[data]\n";
const QByteArray data = "[data]\n0b000,0b000,0b110,0b001";

QByteArray textOf(const FontDocument& font) {
    return QByteArray::fromStdString(font.text());
}

} // namespace

class FontDocumentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void parses_data() {
        addTextCases({
            {tiny, tiny},
            {"\xEF\xBB\xBF" + QByteArray(tiny).replace("\n", "\r\n"), tiny},
            {" HEIGHT = 3 \nstray\n#width=7\nSize=9\nsize=4\nother=0\nwidth=2\nname= Tiny\n"
             " [DATA]\t\n0b000 0B000,,0b110#0b111\n# [data]\n\n,\n\v0b001\f# 0b2\n",
             tiny},
            {"name=a#b\nwidth=1\nheight=1\nsize=1\n[data]\n0b1",
             "name=a#b\nwidth=1\nheight=1\nsize=1\n\n[data]\n\n# Glyph 0 - Space\n0b1\n"},
            {QByteArray(tiny).replace("\n", "\r"), missing},
            {"", missing},
            {"name=a\nwidth=1\nheight=1\nsize=1\n[data] # x\n", missing},
            {header, missing},
            {"width=2\nheight=3\nsize=4\n" + data, missing},
            {QByteArray(tiny).replace("Tiny", QByteArray("a\0b", 3)), missing},
            {"name=a\nheight=3\nsize=4\n" + data, missing},
            {"name=a\nwidth=2\nheight=3\n" + data, missing},
            {"width=2\nsize=4\n" + data, badHeight},
            {"height=9\n[data]\n", badHeight},
            {"height=9\n", missing},
            {"Width = 0\n", "Invalid font width."},
            {"height=-1\n", "Invalid font height."},
            {"size=+4\n", "Invalid font size."},
            {"size=2147483648\n", "Invalid font size."},
            {"width=two\n", "Invalid font width."},
            {header + "0b0001", badColumn + "0b0001"},
            {header + "0b000,0b00", badColumn + "0b00"},
            {header + "0b002", badColumn + "0b002"},
            {header + "01000", badColumn + "01000"},
            {header + "0", badColumn + "0"},
            {header + "[data]", badColumn + "[data]"},
            {header + "0b000", badSum},
            {tiny + "0b001 0b001", badSum},
            {"name=a\nwidth=3\nheight=3\nsize=4\n" + data, "Font contains an incomplete glyph."},
        });
    }

    void parses() {
        checkTextCase([](const QByteArray& text) {
            std::string written;
            const QByteArray message =
                thrownText([&] { written = parseFont(text.toStdString()).text(); });
            return message.isEmpty() ? QByteArray::fromStdString(written) : message;
        });
    }

    void keepsEveryColumnOfEveryHeight() {
        for (int height = 1; height <= 8; ++height) {
            FontDocument font{"All", 2, height, Bytes(256)};
            for (std::size_t at = 0; at < font.columns.size(); ++at) {
                font.columns[at] = static_cast<std::uint8_t>(at & ((1U << height) - 1));
            }
            QCOMPARE(font.glyphCount(), 128);
            QCOMPARE(parseFont(font.text()), font);
        }
    }

    void labelsGlyphs() {
        const QByteArray text = textOf({"x", 1, 1, Bytes(97)});
        for (const char* label : {"0 - Space", "1 - !", "33 - A", "94 - ~", "95 - Glyph 95"}) {
            QVERIFY2(text.contains("# Glyph " + QByteArray(label) + "\n"), label);
        }
    }

    void writesWhatIsNoFontYet() {
        QCOMPARE(textOf({}), "name=\nwidth=0\nheight=0\nsize=0\n\n[data]\n");
        QCOMPARE(textOf({"x", 2, 2, {1, 2, 3}}), "name=x\nwidth=2\nheight=2\nsize=3\n\n[data]\n\n"
                                                 "# Glyph 0 - Space\n0b01, 0b10\n");
    }

    void holdsAtMost65535Columns() {
        FontDocument font{"Big", 65535, 8, Bytes(65535, 0xA5)};
        QVERIFY(font.text().size() <= maxFontFileBytes);
        QCOMPARE(parseFont(font.text()), font);
        QCOMPARE(thrownText([&] { parseFont(font.text() + "0b00000000"); }),
                 "Font exceeds 65535 columns.");
    }

    void examplesAreComplete() {
        const QDir folder(QStringLiteral(PIVEX_EXAMPLES_DIR "/fonts"));
        const QStringList names = folder.entryList(QDir::Files);
        QVERIFY(names.size() >= 2);
        for (const QString& name : names) {
            QFile source(folder.filePath(name));
            QVERIFY(source.open(QIODevice::ReadOnly));
            const std::string text = source.readAll().toStdString();
            const FontDocument font = parseFont(text);
            QCOMPARE(font.text(), text);
            QCOMPARE(font.glyphCount(), printableGlyphs);
            QVERIFY(!fontUploadPlan(font, 0).empty());
            // No two characters look the same, and only the space is empty.
            std::set<Bytes> shapes;
            for (auto at = font.columns.begin(); at != font.columns.end(); at += font.width) {
                shapes.emplace(at, at + font.width);
            }
            QCOMPARE(shapes.size(), std::size_t{printableGlyphs});
        }
    }
};

QTEST_APPLESS_MAIN(FontDocumentTest)
#include "FontDocumentTest.moc"
