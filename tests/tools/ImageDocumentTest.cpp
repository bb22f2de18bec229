#include "tools/ImageDocument.h"

#include "support/TextCases.h"
#include "support/Thrown.h"
#include "tools/ImageUploadPlan.h"

#include <QDir>
#include <QtTest/QtTest>

using namespace pivex;

namespace {

const QByteArray sizeMessage = "Image size must be 1-160 wide and 1-128 high.";
const QByteArray nameMessage = "Image name must be 1-31 UTF-8 bytes on one line.";
const QByteArray shortMessage = "Invalid or oversized image RLE data.";
const QByteArray sumMessage = "Declared compressed size does not match image data.";
const QByteArray partsMessage = "Image RLE must contain complete three-byte runs.";
const QByteArray runMessage = "Invalid image run length or expanded size.";
const QByteArray logo = "name=Logo\n\nwidth=2\n\nheight=1\n\nsize=3\n\n[data]\n\n2 255 255\n";
const QByteArray header = "name=Logo\nwidth=2\nheight=1\n[data]\n";

/// The file form of one black pixel named `name`.
QByteArray dot(const QByteArray& name) {
    return "name=" + name + "\n\nwidth=1\n\nheight=1\n\nsize=3\n\n[data]\n\n1 0 0\n";
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

    void parses_data() {
        addTextCases({
            {logo, logo},
            {QByteArray(logo).replace("\n", "\r\n"), logo},
            {QByteArray(logo).replace("\n", "\r"), logo},
            {"\xEF\xBB\xBF" + logo, logo},
            {"stray\n HEIGHT = 1\nWidth=9\nwidth=2\nother=x\nname=a\n\tName= Logo \t\n [DATA] \n\n"
             "[Data]\n2\v255\f255",
             logo},
            {"name=a=b\nwidth=1\nheight=1\n[data]\n1 0 0", dot("a=b")},
            {"width=1\nheight=1\n[data]\n1 0 0", dot("")},
            {header + "1 0 7\n1 0 7", "name=Logo\n\nwidth=2\n\nheight=1\n\nsize=6\n\n[data]\n\n"
                                      "1 0 7\n1 0 7\n"},
            {"height=1\n[data]\n1 0 0", sizeMessage},
            {"width=161\nheight=1\n[data]\n161 0 0", sizeMessage},
            {"width=2x\n", "Invalid image integer: 2x"},
            {"height=\n", "Invalid image integer: "},
            {"size=-1\n", "Invalid image size."},
            {"size=6\n" + header + "2 255 255", sumMessage},
            {"size=0\n" + header + "2 255 255", sumMessage},
            {"", "Missing image [data] section."},
            {"name=Logo\n[data] x\n", "Missing image [data] section."},
            {QByteArray("name=a@b\n[data]\n").replace('@', '\0'), "Invalid image name."},
            {header + "2 255", shortMessage},
            {header + "\v", shortMessage},
            {header + " 1 2 3 4 ", "Invalid image RLE line: 1 2 3 4"},
            {header + "0 1", "Invalid image RLE line: 0 1"},
            {header + "2 256 0", "Invalid image RLE line: 2 256 0"},
            {header + "2 0 -1", "Invalid image RLE line: 2 0 -1"},
            {header + "2 0 0 # x", "Invalid image integer: #"},
            {header + "width=2", "Invalid image integer: width=2"},
            {header, partsMessage},
            {header + "3 0 0", runMessage},
            {header + "1 0 0", "Image pixel count does not match dimensions."},
        });
    }

    void parses() {
        checkTextCase([](const QByteArray& text) {
            std::string written;
            const QByteArray message =
                thrownText([&] { written = parseImage(text.toStdString()).text(); });
            return message.isEmpty() ? QByteArray::fromStdString(written) : message;
        });
    }

    void codesEveryRunLength() {
        for (std::size_t equal = 0; equal <= 640; ++equal) {
            ImageDocument image{"bands", 160, 4, Pixels(640, 0xFFFF), {}};
            std::fill_n(image.pixels.begin(), equal, std::uint16_t{0x1234});
            image.rebuild();
            Bytes expected;
            appendRuns(expected, equal, 0x12, 0x34);
            appendRuns(expected, 640 - equal, 0xFF, 0xFF);
            QCOMPARE(image.rle, expected);
            QCOMPARE(decompressImage(image.rle, 160, 4), image.pixels);
        }
    }

    void keepsTheLargestImage() {
        ImageDocument image{"Ω", maxImageWidth, maxImageHeight, Pixels(20480), {}};
        std::iota(image.pixels.begin(), image.pixels.end(), std::uint16_t{0xF000});
        image.rebuild();
        QCOMPARE(image.rle.size(), 61440U);
        QCOMPARE(parseImage(image.text()), image);
        QCOMPARE(thrownText([&] { parseImage(image.text() + "1 0 0"); }), shortMessage);
    }

    void refusesWhatDoesNotFit() {
        const auto decode = [](const Bytes& rle, int width) {
            return thrownText([&] { decompressImage(rle, width, 1); });
        };
        QCOMPARE(decode({}, 0), sizeMessage);
        QCOMPARE(decode({}, 3), partsMessage);
        QCOMPARE(decode({3, 0, 0, 1}, 3), partsMessage);
        QCOMPARE(decode({0, 0, 0, 3, 0, 0}, 3), runMessage);
        ImageDocument image{"x", 2, 2, Pixels(3), {}};
        QCOMPARE(thrownText([&] { image.rebuild(); }), "Invalid image pixel buffer.");
        image.height = 129;
        QCOMPARE(thrownText([&] { image.rebuild(); }), sizeMessage);
    }

    void makesNewImages() {
        const ImageDocument image = newImage(" \tOne name\r\n", 160, 128);
        QCOMPARE(image.name, "One name");
        QCOMPARE(image.pixels, Pixels(20480, 0));
        QCOMPARE(image.rle.size(), 243U);
        const auto make = [](const QByteArray& name, int width = 1, int height = 1) {
            return thrownText([&] { newImage(name.toStdString(), width, height); });
        };
        QCOMPARE(make(QByteArray(31, 'x')) + make("\f"), "");
        for (const QByteArray& name :
             {QByteArray(32, 'x'), QByteArray("Ω").repeated(16), QByteArray("a\nb"),
              QByteArray("a\rb"), QByteArray("a\0b", 3)}) {
            QCOMPARE(make(name), nameMessage);
        }
        QCOMPARE(make(" \t\r\n", 0), nameMessage);
        for (const auto& [width, height] : {std::pair(0, 1), {161, 1}, {1, 0}, {1, 129}}) {
            QCOMPARE(make("a", width, height), sizeMessage);
        }
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
        const QStringList names = folder.entryList(QDir::Files);
        QVERIFY(names.size() >= 3);
        for (const QString& name : names) {
            QFile file(folder.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const std::string text = file.readAll().toStdString();
            const ImageDocument image = parseImage(text);
            QCOMPARE(image.text(), text);
            QVERIFY(!imageUploadPlan(image, 15).empty());
        }
    }
};

QTEST_APPLESS_MAIN(ImageDocumentTest)
#include "ImageDocumentTest.moc"
