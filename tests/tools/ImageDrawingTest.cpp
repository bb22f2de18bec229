#include "tools/ImageDrawing.h"

#include <QtTest/QtTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView inks(".#x");

/// An image from rows of inks, the rows divided by blanks.
ImageDocument drawn(const QString& picture) {
    const QStringList rows = picture.split(u' ');
    ImageDocument image{
        "picture", static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), {}, {}};
    const QString joined = rows.join(QString());
    for (const QChar ink : joined) {
        image.pixels.push_back(static_cast<std::uint16_t>(inks.indexOf(ink)));
    }
    image.rebuild();
    return image;
}

QString pictureOf(const ImageDocument& image) {
    QString picture;
    for (std::size_t at = 0; at < image.pixels.size(); ++at) {
        if (at > 0 && at % static_cast<std::size_t>(image.width) == 0) {
            picture += u' ';
        }
        picture += inks[image.pixels[at]];
    }
    return picture;
}

/// Runs "letter numbers" steps with ink 1: P F L E C apply a tool at a pixel, l e c draw a shape
/// directly, and ! ends the gesture.
void run(ImageDrawing& drawing, const QString& steps) {
    for (const QString& step : steps.split(u"; "_s, Qt::SkipEmptyParts)) {
        const QStringList words = step.split(u' ');
        std::array<int, 4> n{};
        std::transform(words.begin() + 1, words.end(), n.begin(),
                       [](const QString& word) { return word.toInt(); });
        const char letter = words[0].at(0).toLatin1();
        const auto tool = std::string_view("PFLEC").find(letter);
        if (tool != std::string_view::npos) {
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

    void draws_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("after");
        const auto row = [](const char* steps, const QString& before, const QString& after) {
            QTest::newRow(steps) << before << QString::fromLatin1(steps) << after;
        };
        const auto onBlank = [&](const char* steps, const QString& after) {
            row(steps, QString(after).replace(u'#', u'.'), after);
        };
        onBlank("P 1 0; P 1 2", u".#. ... .#."_s);
        onBlank("P -1 0; P 0 -1; P 2 0; P 0 1", u".."_s);
        onBlank("l 0 0 3 1", u"##.. ..##"_s);
        onBlank("l 0 4 2 0", u"..# ..# .#. .#. #.."_s);
        onBlank("l 2 0 0 4", u"..# .#. .#. #.. #.."_s);
        onBlank("l 1 1 1 1", u"... .#."_s);
        onBlank("l -3 -1 9 3", u"##.... ..###. .....#"_s);
        onBlank("e 0 0 6 4", u"..###.. ##...## #.....# ##...## ..###.."_s);
        onBlank("e 7 3 0 0", u".######. #......# #......# .######."_s);
        onBlank("e 0 0 1 1", u".#. ##. ..."_s);
        onBlank("e 0 9 2 0", u".#. #.# #.# #.# #.# #.# #.# #.# #.# .#."_s);
        onBlank("e -7 -1 3 4", u"..#... ...#.. ...#.. ..#... ##...."_s);
        onBlank("e 0 1 3 1", u".... ####"_s);
        onBlank("e 1 2 1 0", u".#. .#. .#."_s);
        onBlank("c 3 3 3", u"..###.. .#...#. #.....# #.....# #.....# .#...#. ..###.."_s);
        onBlank("c 0 0 4", u"....# ....# ...#. ..##. ##..."_s);
        onBlank("c 1 1 1", u".#. #.# .#."_s);
        onBlank("c 1 0 0", u".#."_s);
        onBlank("c 1 0 -1", u"..."_s);
        onBlank("L 0 0; L 0 2; L 2 1", u"#.. .## ..."_s);
        onBlank("E 2 2; E 0 0", u".#. #.# .#."_s);
        onBlank("C 3 3; C 5 3; C 5 5",
                u"..###.. .#...#. #.....# #.....# #.....# .#...#. ..###.."_s);
        onBlank("L 0 0; L 2 0; !; L 0 1; L 1 1", u"### ##."_s);
        row("F 0 0", u"..x .x. x.."_s, u"##x #x. x.."_s);
        row("F 1 1", u"xxxxx x...x x.x.x x...x xxxxx"_s, u"xxxxx x###x x#x#x x###x xxxxx"_s);
        row("F 4 4", u"..... .xxx. .x... .x.xx .x..."_s, u"##### #xxx# #x### #x#xx #x###"_s);
        row("F 1 0", u".#."_s, u".#."_s);
    }

    void draws() {
        QFETCH(QString, before);
        QFETCH(QString, steps);
        ImageDrawing drawing(drawn(before));
        run(drawing, steps);
        QTEST(pictureOf(drawing.document), "after");
    }

    void oneGestureIsOneUndoStep_data() {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QStringList>("history");
        const QString start = u"..#. ...."_s;
        QTest::newRow("stroke") << u"P 0 0; l 0 0 1 0; P 3 1; !"_s << QStringList{start};
        QTest::newRow("two") << u"P 0 0; !; F 0 1; !"_s << QStringList{start, u"#.#. ...."_s};
        QTest::newRow("same pixel") << u"P 2 0; !"_s << QStringList{};
        QTest::newRow("same fill") << u"F 2 0; !"_s << QStringList{};
        QTest::newRow("shape taken back") << u"L 2 0; L 3 0; L 2 0; !"_s << QStringList{};
        QTest::newRow("outside") << u"P 4 0; !"_s << QStringList{};
        QTest::newRow("no gesture") << u"!"_s << QStringList{};
        QTest::newRow("unfinished") << u"P 0 0"_s << QStringList{};
    }

    void oneGestureIsOneUndoStep() {
        QFETCH(QString, steps);
        ImageDrawing drawing(drawn(u"..#. ...."_s));
        run(drawing, steps);
        QStringList history;
        for (const ImageDocument& snapshot : drawing.history) {
            history += pictureOf(snapshot);
            QCOMPARE(snapshot, drawn(history.back()));
        }
        QTEST(history, "history");
    }

    void finishTellsWhetherSomethingChanged() {
        ImageDrawing drawing(drawn(u"...."_s));
        const Bytes longest = drawing.document.rle;
        drawing.document.rle = {2, 0, 0, 2, 0, 0};
        QVERIFY(!drawing.finish());
        QCOMPARE(drawing.document.rle.size(), 6U);
        drawing.begin();
        QVERIFY(!drawing.finish());
        QCOMPARE(drawing.document.rle, longest);
        drawing.apply(ImageTool::Pencil, 0, 0, 1);
        QVERIFY(drawing.finish());
        QCOMPARE(drawing.document, drawn(u"#..."_s));
        QVERIFY(!drawing.finish());
    }

    void historyKeepsTheLatestTwenty() {
        ImageDrawing drawing(drawn(u"."_s));
        for (std::uint16_t color = 1; color <= 21; ++color) {
            drawing.apply(ImageTool::Pencil, 0, 0, color);
            QVERIFY(drawing.finish());
        }
        QCOMPARE(drawing.history.size(), 20U);
        QCOMPARE(drawing.history.front().pixels.front(), 1);
        QCOMPARE(drawing.history.back().pixels.front(), 20);
    }

    void anImageWithoutPixelsIsLeftAlone() {
        ImageDrawing drawing;
        run(drawing, u"P 0 0; F 1 1; L 2 2; l 0 0 9 9; e 0 0 9 9; c 5 5 4; !"_s);
        QCOMPARE(drawing.document, ImageDocument());
        QVERIFY(drawing.history.empty());
    }
};

QTEST_APPLESS_MAIN(ImageDrawingTest)
#include "ImageDrawingTest.moc"
