#include "tools/FontDocument.h"

#include "support/Thrown.h"
#include "tools/FontUploadPlan.h"

#include <QDir>
#include <QtTest/QtTest>

#include <set>

using namespace pivex;

namespace {

constexpr const char* missing = "Missing font name, width, height, size, or [data].";
constexpr const char* tiny = "name=Tiny\nwidth=2\nheight=3\nsize=4\n\n[data]\n\n"
                             "# Glyph 0 - Space\n0b000, 0b000\n\n# Glyph 1 - !\n0b110, 0b001\n";

QByteArray textOf(const FontDocument& font) {
    return QByteArray::fromStdString(font.text());
}

/// A file of the font Tiny with the keys given and the data given.
QByteArray file(const char* data, const char* keys = "name=Tiny\nwidth=2\nheight=3\nsize=4\n") {
    return QByteArray(keys) + "[data]\n" + data;
}

QByteArray invalid(const char* token) {
    return QByteArray("Invalid binary column or column height: ") + token;
}

} // namespace

class FontDocumentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// `outcome` is the file form of what was read, or the message.
    void parses_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("outcome");
        const auto row = [](const char* tag, const QByteArray& text, const QByteArray& outcome) {
            QTest::newRow(tag) << text << outcome;
        };
        const char* data = "0b000,0b000,0b110,0b001";
        const QByteArray size = "Declared font size does not match the column count.";
        row("plain", tiny, tiny);
        row("crlf and mark", "\xEF\xBB\xBF" + QByteArray(tiny).replace("\n", "\r\n"), tiny);
        row("loose",
            " HEIGHT = 3 \nstray\n#width=7\nSize=9\nsize=4\nother=0\nwidth=2\nname= Tiny\n "
            "[DATA]\t\n"
            "0b000 0B000,,0b110#0b111\n# [data]\n\n,\n\v0b001\f# 0b2\n",
            tiny);
        row("number sign in name", file("0b1", "name=a#b\nwidth=1\nheight=1\nsize=1\n"),
            "name=a#b\nwidth=1\nheight=1\nsize=1\n\n[data]\n\n# Glyph 0 - Space\n0b1\n");
        row("lone cr", QByteArray(tiny).replace("\n", "\r"), missing);
        row("empty", "", missing);
        row("no data section", "name=a\nwidth=1\nheight=1\nsize=1\n[data] # x\n", missing);
        row("no columns", file(""), missing);
        row("no name", file(data, "width=2\nheight=3\nsize=4\n"), missing);
        row("nul in name", file(data, "name=a@b\nwidth=2\nheight=3\nsize=4\n").replace('@', '\0'),
            missing);
        row("no width", file(data, "name=a\nheight=3\nsize=4\n"), missing);
        row("no size", file(data, "name=a\nwidth=2\nheight=3\n"), missing);
        row("no height", file(data, "width=2\nsize=4\n"), "Font height must be 1 through 8.");
        row("height 9", file("", "height=9\n"), "Font height must be 1 through 8.");
        row("height 9 unused", "height=9\n", missing);
        row("width 0", "Width = 0\n", "Invalid font width.");
        row("height -1", "height=-1\n", "Invalid font height.");
        row("size +4", "size=+4\n", "Invalid font size.");
        row("size 2^31", "size=2147483648\n", "Invalid font size.");
        row("width in words", "width=two\n", "Invalid font width.");
        row("long column", file("0b0001"), invalid("0b0001"));
        row("short column", file("0b000,0b00"), invalid("0b00"));
        row("digit 2", file("0b002"), invalid("0b002"));
        row("no prefix", file("01000"), invalid("01000"));
        row("one byte", file("0"), invalid("0"));
        row("sign", file("0b-11"), invalid("0b-11"));
        row("second header", file("[data]"), invalid("[data]"));
        row("key in data", file("width=2"), invalid("width=2"));
        row("more than told", file("0b000,0b000,0b110,0b001,0b001,0b001"), size);
        row("fewer than told", file("0b000"), size);
        row("incomplete", file(data, "name=a\nwidth=3\nheight=3\nsize=4\n"),
            "Font contains an incomplete glyph.");
    }

    void parses() {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, outcome);
        FontDocument font;
        const QByteArray message = thrownText([&] { font = parseFont(text.toStdString()); });
        QCOMPARE(message.isEmpty() ? textOf(font) : message, outcome);
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
        const QStringList names = folder.entryList({QStringLiteral("*.txt")});
        QVERIFY(names.size() >= 2);
        for (const QString& name : names) {
            QFile source(folder.filePath(name));
            QVERIFY(source.open(QIODevice::ReadOnly));
            const QByteArray text = source.readAll();
            const FontDocument font = parseFont(text.toStdString());
            QCOMPARE(textOf(font), text);
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
