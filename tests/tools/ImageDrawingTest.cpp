#include "tools/ImageDrawing.h"

#include "support/TextCases.h"

using namespace pivex;

namespace {

constexpr std::string_view inks = ".#x";

/// An image from rows of inks, the rows divided by blanks.
ImageDocument drawn(QByteArray picture) {
    const auto width = static_cast<int>(picture.split(' ')[0].size());
    const auto height = static_cast<int>(picture.count(' ') + 1);
    ImageDocument image{"picture", width, height, {}, {}};
    for (const char ink : picture.replace(" ", "")) {
        image.pixels.push_back(static_cast<std::uint16_t>(inks.find(ink)));
    }
    image.rebuild();
    return image;
}

QByteArray pictureOf(const ImageDocument& image) {
    QByteArray picture;
    for (const std::uint16_t pixel : image.pixels) {
        picture += inks[pixel];
    }
    for (int row = image.height - 1; row > 0; --row) {
        picture.insert(qsizetype{row} * image.width, ' ');
    }
    return picture;
}

/// Runs "letter numbers" steps with ink 1: P F L E C apply a tool at a pixel, l e c draw a shape
/// directly, and ! ends the gesture.
void run(ImageDrawing& drawing, const QByteArray& steps) {
    for (const QByteArray& step : steps.split(';')) {
        const QList<QByteArray> words = step.trimmed().split(' ');
        std::array<int, 4> n{};
        std::transform(words.begin() + 1, words.end(), n.begin(),
                       [](const QByteArray& word) { return word.toInt(); });
        const char letter = words[0].front();
        if (const auto tool = std::string_view("PFLEC").find(letter); tool <= 4) {
            drawing.apply(static_cast<ImageTool>(tool), n[0], n[1], 1);
        } else if (letter == 'l') {
            drawing.line(n[0], n[1], n[2], n[3], 1);
        } else if (letter == 'e') {
            drawing.ellipse(n[0], n[1], n[2], n[3], 1);
        } else if (letter == 'c') {
            drawing.circle(n[0], n[1], n[2], 1);
        } else {
            drawing.finish();
        }
    }
}

} // namespace

class ImageDrawingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// A picture and steps, then the snapshots and the image that they lead to.
    void draws_data() {
        addTextCases({
            {"... ... ...: P 1 0; P 1 2", ".#. ... .#."},
            {".. ..: P -1 0; P 0 -1; F 2 0; F 0 2; !", ".. .."},
            {"... ... ... ... ...: l 0 4 2 0", "..# ..# .#. .#. #.."},
            {".... .... ....: l 6 -1 -2 3", ".... ..## ##.."},
            {"...... ...... ......: l -3 3 9 -1", ".....# ..###. ##...."},
            {"... ...: l 1 1 1 1", "... .#."},
            {"....... ....... ....... ....... .......: e 0 0 6 4",
             "..###.. ##...## #.....# ##...## ..###.."},
            {"...... ...... ......: e 5 3 -1 -1", "#...## .....# #...##"},
            {"... ... ...: e -1 -4 3 2", "... #.# ###"},
            {".... .... ....: e 0 1 3 1", ".... #### ...."},
            {"... ... ...: e 1 2 1 0", ".#. .#. .#."},
            {"....... ....... ....... ....... ....... ....... .......: c 0 0 6",
             "......# ......# ......# .....#. ....#.. ...#... ###...."},
            {"...: c 1 0 0; c 2 0 -1", ".#."},
            {"... ... ...: L 0 0; L 0 2; L 2 1", "#.. .## ..."},
            {"... ... ...: E 2 2; E 0 0", ".#. #.# .#."},
            {"....... ....... ....... ....... ....... ....... .......: C 3 3; C 5 3; C 5 5",
             "..###.. .#...#. #.....# #.....# #.....# .#...#. ..###.."},
            {"... ...: L 0 0; L 2 0; !; L 0 1; L 1 1; !", "... ...|### ...|### ##."},
            {"..x .x. x..: F 0 0", "##x #x. x.."},
            {"xxxxx x...x x.x.x x...x xxxxx: F 1 1", "xxxxx x###x x#x#x x###x xxxxx"},
            {"..... .xxx. .x... .x.xx .x...: F 4 4", "##### #xxx# #x### #x#xx #x###"},
            {".x. .x.: F 0 1", "#x. #x."},
            {".x. .x.: F 2 0", ".x# .x#"},
            {".##: F 1 0", ".##"},
            {"..#. ....: P 0 0; l 0 0 1 0; P 3 1; !", "..#. ....|###. ...#"},
            {"..#. ....: P 0 0; !; F 0 1; !", "..#. ....|#.#. ....|#### ####"},
            {"..#.: P 2 0; !", "..#."},
            {"..#.: L 2 0; L 3 0; L 2 0; !", "..#."},
        });
    }

    void draws() {
        checkTextCase([](const QByteArray& text) {
            const qsizetype colon = text.indexOf(':');
            ImageDrawing drawing(drawn(text.left(colon)));
            run(drawing, text.mid(colon + 1));
            drawing.history.push_back(drawing.document);
            QByteArrayList pictures;
            for (const ImageDocument& image : drawing.history) {
                const QByteArray picture = pictureOf(image);
                const bool isDone = text.endsWith('!');
                pictures += !isDone || image == drawn(picture) ? picture : "not encoded";
            }
            return pictures.join('|');
        });
    }

    void historyKeepsTheLatestTwenty() {
        ImageDrawing drawing(drawn("."));
        for (std::uint16_t color = 1; color <= 21; ++color) {
            drawing.apply(ImageTool::Pencil, 0, 0, color);
            drawing.finish();
        }
        QCOMPARE(drawing.history.size(), 20U);
        QCOMPARE(drawing.history.front().pixels.front(), 1);
        QCOMPARE(drawing.history.back().pixels.front(), 20);
    }
};

QTEST_APPLESS_MAIN(ImageDrawingTest)
#include "ImageDrawingTest.moc"
