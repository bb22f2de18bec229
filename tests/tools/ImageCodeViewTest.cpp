#include "tools/ImageCodeView.h"

#include "tools/ImageDrawing.h"
#include "tools/RunChanges.h"

#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace pivex;

namespace {

/// Runs from their counts and values, such as {3, 1, 2, 0}: three pixels of 1, two of 0.
Bytes runs(std::initializer_list<int> countsAndValues) {
    Bytes bytes;
    for (const int* item = countsAndValues.begin(); item != countsAndValues.end(); item += 2) {
        bytes.insert(bytes.end(),
                     {static_cast<std::uint8_t>(item[0]), 0, static_cast<std::uint8_t>(item[1])});
    }
    return bytes;
}

bool showsTextOf(const ImageCodeView& view, const ImageDocument& image) {
    return view.toPlainText().toStdString() == image.text();
}

} // namespace

class ImageCodeViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void tellsDistantChangesApart() {
        const Bytes before = runs({5, 0, 5, 1, 5, 2, 5, 3, 5, 4});
        const Bytes after = runs({5, 0, 2, 1, 3, 9, 5, 2, 5, 3, 5, 8});
        const std::vector<RunChange> expected{{1, 1, 1, 2}, {4, 1, 5, 1}};
        QVERIFY(runChanges(before, after) == expected);
        QVERIFY(runChanges(before, before).empty());
    }

    void alwaysHoldsTheText() {
        QRandomGenerator random(5);
        const auto upTo = [&](int limit) { return random.bounded(limit); };
        ImageDrawing drawing(newImage("Logo", 40, 30));
        ImageCodeView view;
        for (int round = 0; round < 300; ++round) {
            drawing.apply(static_cast<ImageTool>(upTo(5)), upTo(40), upTo(30),
                          static_cast<std::uint16_t>(upTo(3)));
            if (upTo(3) == 0) {
                drawing.finish();
            }
            drawing.document.rebuild();
            if (upTo(20) == 0) {
                drawing.document.name += upTo(2) == 0 ? "\n\u03a9" : "x";
            }
            view.showImage(&drawing.document);
            QVERIFY2(showsTextOf(view, drawing.document), qPrintable(QString::number(round)));
        }
        const ImageDocument small = newImage("Other", 2, 1);
        view.showImage(&small);
        QVERIFY(showsTextOf(view, small));
        view.showImage(nullptr);
        QCOMPARE(view.toPlainText(), QStringLiteral("No image loaded."));
        view.showImage(&small);
        QVERIFY(showsTextOf(view, small));
    }

    /// Two images that differ in every other pixel, so that nothing but rewriting helps.
    void rewritesWhatDiffersEverywhere() {
        ImageDocument image = newImage("Wide", 160, 128);
        ImageCodeView view;
        view.showImage(&image);
        for (std::size_t at = 0; at < image.pixels.size(); ++at) {
            image.pixels[at] = static_cast<std::uint16_t>(at % 7);
        }
        image.rebuild();
        view.showImage(&image);
        for (std::size_t at = 0; at < image.pixels.size(); at += 2) {
            image.pixels[at] = 9;
        }
        image.rebuild();
        view.showImage(&image);
        QVERIFY(showsTextOf(view, image));
    }

    void keepsTheScrollPositionAndQuietLines() {
        ImageDocument image = newImage("Rows", 1, 128);
        for (std::size_t at = 0; at < image.pixels.size(); ++at) {
            image.pixels[at] = static_cast<std::uint16_t>(at);
        }
        image.rebuild();
        ImageCodeView view;
        view.resize(300, 100);
        view.show();
        view.showImage(&image);
        view.verticalScrollBar()->setValue(70);
        QSignalSpy written(&view, &QPlainTextEdit::textChanged);
        view.showImage(&image);
        QCOMPARE(written.count(), 0);
        image.pixels[3] = image.pixels[4];
        image.pixels[120] = 0;
        image.rebuild();
        view.showImage(&image);
        QCOMPARE(view.verticalScrollBar()->value(), 70);
        QVERIFY(showsTextOf(view, image));
    }
};

QTEST_MAIN(ImageCodeViewTest)
#include "ImageCodeViewTest.moc"
