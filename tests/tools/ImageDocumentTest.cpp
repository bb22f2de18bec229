#include "tools/ImageDocument.h"

#include "base/Text.h"
#include "support/Thrown.h"
#include "tools/ImageUploadPlan.h"

#include <QDir>
#include <QtTest/QtTest>

using namespace pivex;

namespace {

constexpr const char* sizeMessage = "Image size must be 1-160 wide and 1-128 high.";
constexpr const char* nameMessage = "Image name must be 1-31 UTF-8 bytes on one line.";
constexpr const char* shortData = "Invalid or oversized image RLE data.";
constexpr const char* logo = "name=Logo\n\nwidth=2\n\nheight=1\n\nsize=3\n\n[data]\n\n2 255 255\n";

/// A file of one row of two pixels, cut after "[data]".
QByteArray header(const char* more = "") {
    return QByteArray("name=Logo\nwidth=2\nheight=1\n") + more + "[data]\n";
}

QByteArray textOf(const ImageDocument& image) {
    return QByteArray::fromStdString(image.text());
}

/// `equal` pixels of one colour, then others, in an image of 640 pixels.
ImageDocument twoBands(std::size_t equal) {
    ImageDocument image{"bands", 160, 4, Pixels(640, 0xFFFF), {}};
    std::fill_n(image.pixels.begin(), equal, std::uint16_t{0x1234});
    return image;
}

void appendRuns(Bytes& rle, std::size_t length, std::uint8_t high, std::uint8_t low) {
    for (; length > 255; length -= 255) {
        rle.insert(rle.end(), {255, high, low});
    }
    if (length > 0) {
        rle.insert(rle.end(), {static_cast<std::uint8_t>(length), high, low});
    }
}

} // namespace

class ImageDocumentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// `outcome` is the file form of what was read, or the message.
    void parses_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("outcome");
        const auto row = [](const char* tag, const QByteArray& text, const char* outcome) {
            QTest::newRow(tag) << text << QByteArray(outcome);
        };
        row("plain", logo, logo);
        row("crlf", QByteArray(logo).replace("\n", "\r\n"), logo);
        row("lone cr", QByteArray(logo).replace("\n", "\r"), logo);
        row("mark", "\xEF\xBB\xBF" + QByteArray(logo), logo);
        row("no size", header() + "2 255 255", logo);
        row("loose",
            "stray line\n HEIGHT = 1\nWidth=9\nwidth=2\nother=x\nname=a\n\tName= Logo \t\n [DATA] "
            "\n"
            "\n[Data]\n2\v255\f255\n",
            logo);
        row("equals in name", "name=a=b\nwidth=1\nheight=1\n[data]\n1 0 0",
            "name=a=b\n\nwidth=1\n\nheight=1\n\nsize=3\n\n[data]\n\n1 0 0\n");
        row("no name", "width=1\nheight=1\n[data]\n1 0 0",
            "name=\n\nwidth=1\n\nheight=1\n\nsize=3\n\n[data]\n\n1 0 0\n");
        row("runs kept", header() + "1 0 7\n1 0 7",
            "name=Logo\n\nwidth=2\n\nheight=1\n\nsize=6\n\n[data]\n\n1 0 7\n1 0 7\n");
        row("no width", "height=1\n[data]\n1 0 0", sizeMessage);
        row("wide", "width=161\nheight=1\n[data]\n161 0 0", sizeMessage);
        row("bad width", "width=2x\n", "Invalid image integer: 2x");
        row("bad height", "height=\n", "Invalid image integer: ");
        row("negative size", "size=-1\n", "Invalid image size.");
        row("wrong size", header("size=6\n") + "2 255 255",
            "Declared compressed size does not match image data.");
        row("size 0", header("size=0\n") + "2 255 255",
            "Declared compressed size does not match image data.");
        row("empty", "", "Missing image [data] section.");
        row("no data", "name=Logo\n[data] x\n", "Missing image [data] section.");
        row("nul in name", QByteArray("name=a@b\n[data]\n").replace('@', '\0'),
            "Invalid image name.");
        row("two numbers", header() + "2 255", shortData);
        row("only white space", header() + "\v", shortData);
        row("four numbers", header() + " 1 2 3 4 ", "Invalid image RLE line: 1 2 3 4");
        row("zero count", header() + "0 1", "Invalid image RLE line: 0 1");
        row("256", header() + "2 256 0", "Invalid image RLE line: 2 256 0");
        row("negative", header() + "2 0 -1", "Invalid image RLE line: 2 0 -1");
        row("fourth word", header() + "2 0 0 # x", "Invalid image integer: #");
        row("comment", header() + "# 2 0 0", "Invalid image integer: #");
        row("key in data", header() + "width=2", "Invalid image integer: width=2");
        row("no run", header(), "Image RLE must contain complete three-byte runs.");
        row("one too many", header() + "3 0 0", "Invalid image run length or expanded size.");
        row("one too few", header() + "1 0 0", "Image pixel count does not match dimensions.");
    }

    void parses() {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, outcome);
        ImageDocument image;
        const QByteArray message = thrownText([&] { image = parseImage(text.toStdString()); });
        QCOMPARE(message.isEmpty() ? textOf(image) : message, outcome);
    }

    void codesEveryRunLength() {
        for (std::size_t equal = 0; equal <= 640; ++equal) {
            ImageDocument image = twoBands(equal);
            image.rebuild();
            Bytes expected;
            appendRuns(expected, equal, 0x12, 0x34);
            appendRuns(expected, 640 - equal, 0xFF, 0xFF);
            QCOMPARE(image.rle, expected);
            QCOMPARE(decompressImage(image.rle, 160, 4), image.pixels);
        }
    }

    void keepsTheLargestImage() {
        ImageDocument image{"Ω", maxImageWidth, maxImageHeight, Pixels(160 * 128), {}};
        std::iota(image.pixels.begin(), image.pixels.end(), std::uint16_t{0xF000});
        image.rebuild();
        QCOMPARE(image.rle.size(), 61440U);
        QCOMPARE(parseImage(image.text()), image);
        QCOMPARE(thrownText([&] { parseImage(image.text() + "1 0 0"); }), shortData);
    }

    void refusesBrokenRuns_data() {
        QTest::addColumn<QByteArray>("hex");
        QTest::addColumn<int>("width");
        QTest::addColumn<QByteArray>("message");
        const QByteArray parts = "Image RLE must contain complete three-byte runs.";
        QTest::newRow("whole") << QByteArray("010000020001") << 3 << QByteArray();
        QTest::newRow("empty") << QByteArray() << 3 << parts;
        QTest::newRow("cut") << QByteArray("0300000100") << 3 << parts;
        QTest::newRow("width first") << QByteArray() << 0 << QByteArray(sizeMessage);
        QTest::newRow("zero count") << QByteArray("000000030000") << 3
                                    << QByteArray("Invalid image run length or expanded size.");
    }

    void refusesBrokenRuns() {
        QFETCH(QByteArray, hex);
        QFETCH(int, width);
        const QByteArray bytes = QByteArray::fromHex(hex);
        const Bytes rle(bytes.begin(), bytes.end());
        QTEST(thrownText([&] { decompressImage(rle, width, 1); }), "message");
    }

    void refusesToEncodeWhatDoesNotFit() {
        ImageDocument image{"x", 2, 2, Pixels(3), {}};
        QCOMPARE(thrownText([&] { image.rebuild(); }), "Invalid image pixel buffer.");
        image.height = 129;
        QCOMPARE(thrownText([&] { image.rebuild(); }), sizeMessage);
    }

    void makesNewImages_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<QByteArray>("outcome");
        const QByteArray longest(31, 'x');
        QTest::newRow("display") << QByteArray(" \tOne name\r\n") << 160 << 128
                                 << QByteArray("One name 243");
        QTest::newRow("31 bytes") << longest << 1 << 1 << longest + " 3";
        QTest::newRow("32 bytes") << longest + "x" << 1 << 1 << QByteArray(nameMessage);
        QTest::newRow("bytes, not letters")
            << QByteArray("Ω").repeated(16) << 1 << 1 << QByteArray(nameMessage);
        QTest::newRow("blank") << QByteArray(" \t\r\n") << 0 << 1 << QByteArray(nameMessage);
        QTest::newRow("form feed") << QByteArray("\f") << 1 << 1 << QByteArray("\f 3");
        QTest::newRow("break") << QByteArray("a\nb") << 1 << 1 << QByteArray(nameMessage);
        QTest::newRow("return") << QByteArray("a\rb") << 1 << 1 << QByteArray(nameMessage);
        QTest::newRow("nul") << QByteArray("a\0b", 3) << 1 << 1 << QByteArray(nameMessage);
        QTest::newRow("narrow") << QByteArray("a") << 0 << 1 << QByteArray(sizeMessage);
        QTest::newRow("wide") << QByteArray("a") << 161 << 1 << QByteArray(sizeMessage);
        QTest::newRow("flat") << QByteArray("a") << 1 << 0 << QByteArray(sizeMessage);
        QTest::newRow("high") << QByteArray("a") << 1 << 129 << QByteArray(sizeMessage);
    }

    void makesNewImages() {
        QFETCH(QByteArray, name);
        QFETCH(int, width);
        QFETCH(int, height);
        QByteArray outcome;
        const QByteArray message = thrownText([&] {
            const ImageDocument image = newImage(name.toStdString(), width, height);
            outcome = QByteArray::fromStdString(image.name) + " " +
                      QByteArray::number(static_cast<qlonglong>(image.rle.size()));
            QCOMPARE(image.pixels, Pixels(static_cast<std::size_t>(width * height), 0));
        });
        QTEST(message.isEmpty() ? outcome : message, "outcome");
    }

    void readsIntegers() {
        QCOMPARE(imageNumber("-0"), 0);
        QCOMPARE(imageNumber("0002147483647"), 2147483647);
        QCOMPARE(imageNumber("-2147483648"), std::numeric_limits<std::int32_t>::min());
        for (const char* wrong : {"", "-", "--1", "+1", " 1", "1 ", "1x", "0x1", "2147483648"}) {
            QCOMPARE(thrownText([&] { imageNumber(wrong); }),
                     QByteArray("Invalid image integer: ") + wrong);
        }
    }

    void examplesFitTheBoard() {
        const QDir folder(QStringLiteral(PIVEX_EXAMPLES_DIR "/images"));
        const QStringList names = folder.entryList({QStringLiteral("*.txt")});
        QVERIFY(names.size() >= 3);
        for (const QString& name : names) {
            QFile file(folder.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray text = file.readAll();
            const ImageDocument image = parseImage(text.toStdString());
            QCOMPARE(textOf(image), text);
            QVERIFY(!imageUploadPlan(image, 15).empty());
        }
    }
};

QTEST_APPLESS_MAIN(ImageDocumentTest)
#include "ImageDocumentTest.moc"
