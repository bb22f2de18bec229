#include "tools/ImageCodeView.h"

#include "tools/ImageDrawing.h"
#include "tools/RunChanges.h"

#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace pivex;

namespace {

/// Whether `view`, told of `image`, holds its text.
bool follows(ImageCodeView& view, const ImageDocument& image) {
    view.showImage(&image);
    return view.toPlainText().toStdString() == image.text();
}

/// An image of single pixels that differ from those of another step at every `step`th.
ImageDocument scattered(std::size_t step) {
    ImageDocument image = newImage("Wide", 160, 128);
    for (std::size_t at = 0; at < image.pixels.size(); ++at) {
        image.pixels[at] = static_cast<std::uint16_t>(3 * at + (at % step == 0 ? step : 1));
    }
    image.rebuild();
    return image;
}

} // namespace

class ImageCodeViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void tellsDistantChangesApart() {
        const Bytes before{5, 0, 0, 5, 0, 1, 5, 0, 2, 5, 0, 3, 5, 0, 4};
        const Bytes after{5, 0, 0, 2, 0, 1, 3, 0, 9, 5, 0, 2, 5, 0, 3, 5, 0, 8};
        const std::vector<RunChange> expected{{1, 1, 1, 2}, {4, 1, 5, 1}};
        QVERIFY(runChanges(before, after) == expected);
    }

    void alwaysHoldsTheText() {
        QRandomGenerator random(5);
        ImageDrawing drawing(newImage("Logo", 40, 30));
        ImageCodeView view;
        for (int round = 0; round < 300; ++round) {
            drawing.apply(static_cast<ImageTool>(random.bounded(5)), random.bounded(40),
                          random.bounded(30), static_cast<std::uint16_t>(random.bounded(3)));
            if (round % 3 == 0) {
                drawing.finish();
            }
            drawing.document.rebuild();
            drawing.document.name += round % 20 == 0 ? "\n\u03a9" : round % 30 == 0 ? "x" : "";
            QVERIFY2(follows(view, drawing.document), qPrintable(QString::number(round)));
        }
        // Images that differ in every other pixel, so that nothing but rewriting helps.
        QVERIFY(follows(view, scattered(1)) && follows(view, scattered(2)));
        view.showImage(nullptr);
        QCOMPARE(view.toPlainText(), QStringLiteral("No image loaded."));
        QVERIFY(follows(view, newImage("Other", 2, 1)));
    }

    void keepsTheScrollPositionAndQuietLines() {
        const ImageDocument image = scattered(1);
        ImageCodeView view;
        view.resize(300, 100);
        view.show();
        view.showImage(&image);
        view.verticalScrollBar()->setValue(70);
        const QSignalSpy written(&view, &QPlainTextEdit::textChanged);
        view.showImage(&image);
        QCOMPARE(written.count(), 0);
        QVERIFY(follows(view, scattered(2)));
        QCOMPARE(view.verticalScrollBar()->value(), 70);
    }
};

QTEST_MAIN(ImageCodeViewTest)
#include "ImageCodeViewTest.moc"
