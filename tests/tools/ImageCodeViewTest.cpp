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

/// Gives every `step`th pixel a value of its own.
void scatter(ImageDocument& image, std::size_t step) {
    for (std::size_t at = 0; at < image.pixels.size(); at += step) {
        image.pixels[at] = static_cast<std::uint16_t>(3 * at + step);
    }
    image.rebuild();
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
            QVERIFY2(follows(view, drawing.document), qPrintable(QString::number(round)));
        }
        // Images that differ in every other pixel, so that nothing but rewriting helps.
        ImageDocument wide = newImage("Wide", 160, 128);
        scatter(wide, 1);
        QVERIFY(follows(view, wide));
        scatter(wide, 2);
        QVERIFY(follows(view, wide));
        view.showImage(nullptr);
        QCOMPARE(view.toPlainText(), QStringLiteral("No image loaded."));
        QVERIFY(follows(view, newImage("Other", 2, 1)));
    }

    void keepsTheScrollPositionAndQuietLines() {
        ImageDocument image = newImage("Rows", 1, 128);
        scatter(image, 1);
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
        QVERIFY(follows(view, image));
        QCOMPARE(view.verticalScrollBar()->value(), 70);
    }
};

QTEST_MAIN(ImageCodeViewTest)
#include "ImageCodeViewTest.moc"
