#include "tools/ImageDocument.h"

#include "support/TextCases.h"
#include "support/Thrown.h"

#include <numeric>

using namespace pivex;

namespace {

const QByteArray sizeMessage = "Image size must be 1-160 wide and 1-128 high.";
const QByteArray shortMessage = "Invalid or oversized image RLE data.";
const QByteArray partsMessage = "Image RLE must contain complete three-byte runs.";
const QByteArray logo = "name=Logo\n\nwidth=2\n\nheight=1\n\nsize=3\n\n[data]\n\n2 255 255\n";
const QByteArray header = "name=Logo\nwidth=2\nheight=1\n[data]\n";

} // namespace

class ImageDocumentTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void parses_data() {
        addTextCases({
            {"name=a=b\nwidth=1\nheight=1\n[data]\n1 0 0",
             "name=a=b\n\nwidth=1\n\nheight=1\n\nsize=3\n\n[data]\n\n1 0 0\n"},
            {"width=2\nheight=1\n[data]\n1 0 7\n1 0 7",
             "name=\n\nwidth=2\n\nheight=1\n\nsize=6\n\n[data]\n\n1 0 7\n1 0 7\n"},
            {"size=-1\n", "Invalid image size."},
            {QByteArray("name=a@b\n[data]\n").replace('@', '\0'), "Invalid image name."},
            {header + "2 0 0 # x", "Invalid image integer: #"},
            {header + "width=2", "Invalid image integer: width=2"},
            {header, partsMessage},
            {header + "3 0 0", "Invalid image run length or expanded size."},
            {header + "1 0 0", "Image pixel count does not match dimensions."},
        });
        addTexts(logo, {logo, QByteArray(logo).replace("\n", "\r\n"),
                        "\xEF\xBB\xBF" + QByteArray(logo).replace("\n", "\r"),
                        "stray\n HEIGHT = 1\nWidth=9\nwidth=2\nother=x\nname=a\n\tName= Logo \t\n"
                        " [DATA] \n\n[Data]\n2\v255\f255"});
        addTexts(sizeMessage, {"height=1\n[data]\n1 0 0", "width=161\nheight=1\n[data]\n161 0 0"});
        addTexts("Declared compressed size does not match image data.",
                 {"size=6\n" + header + "2 255 255", "size=0\n" + header + "2 255 255"});
        addTexts("Missing image [data] section.", {"", "name=Logo\n[data] x\n"});
        addTexts(shortMessage, {header + "2 255", header + "\v"});
        for (const QByteArray line : {"1 2 3 4", "0 1", "2 256 0", "2 0 -1"}) {
            addTexts("Invalid image RLE line: " + line, {header + ' ' + line + ' '});
        }
        for (const QByteArray number : {"", "-", "--1", "+1", "1 1", "0x1", "2147483648"}) {
            addTexts("Invalid image integer: " + number, {"width=" + number});
        }
    }

    void parses() {
        checkTextCase([](const QByteArray& text) {
            return textOrError([&] { return parseImage(text.toStdString()).text(); });
        });
    }

    void keepsTheLargestImage() {
        ImageDocument image = newImage("Ω", maxImageWidth, maxImageHeight);
        std::iota(image.pixels.begin(), image.pixels.end(), std::uint16_t{0xF000});
        image.rebuild();
        QCOMPARE(image.rle.size(), 61440U);
        QCOMPARE(parseImage(image.text()), image);
        QCOMPARE(thrownText([&] { parseImage(image.text() + "1 0 0"); }), shortMessage);
    }

    void refusesWhatDoesNotFit() {
        QCOMPARE(thrownText([] { decompressImage(Bytes{3, 0, 0, 1}, 3, 1); }), partsMessage);
        ImageDocument image{"x", 2, 2, Pixels(3), {}};
        QCOMPARE(thrownText([&] { image.rebuild(); }), "Invalid image pixel buffer.");
    }

    void makesNewImages() {
        const ImageDocument image = newImage(" \tOne name\r\n", 160, 51);
        QCOMPARE(image.name, "One name");
        QCOMPARE(image.rle.size(), 96U); // runs of 255 pixels each
        const auto make = [](const QByteArray& name, int width = 1, int height = 1) {
            return thrownText([&] { newImage(name.toStdString(), width, height); });
        };
        QCOMPARE(make(QByteArray(31, 'x')) + make("\f"), "");
        for (const QByteArray& name :
             {QByteArray(" \t\r\n"), QByteArray("Ω").repeated(16), QByteArray("a\nb"),
              QByteArray("a\rb"), QByteArray("a\0b", 3)}) {
            QCOMPARE(make(name, 0), "Image name must be 1-31 UTF-8 bytes on one line.");
        }
        for (const auto& [width, height] : {std::pair(0, 1), {161, 1}, {1, 0}, {1, 129}}) {
            QCOMPARE(make("a", width, height), sizeMessage);
        }
    }
};

QTEST_APPLESS_MAIN(ImageDocumentTest)
#include "ImageDocumentTest.moc"
