#include "tools/WidgetParts.h"

#include "tools/SizeBox.h"

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A shown window of one widget above a button, with a page below that scrolls.
template<typename Widget>
struct Scene {
    QScrollArea window;
    QWidget* page = new QWidget;
    Widget* widget;
    QPushButton* other = new QPushButton(page);

    template<typename... Args>
    explicit Scene(Args... args) : widget(new Widget(args..., page)) {
        auto* layout = new QVBoxLayout(page);
        layout->addWidget(widget);
        layout->addWidget(other);
        layout->addSpacing(2000);
        window.setWidget(page);
        window.resize(300, 300);
        window.show();
        if (!QTest::qWaitForWindowActive(&window)) {
            qFatal("never active");
        }
        other->setFocus();
    }

    /// Turns the wheel over the widget.
    void turnWheel() {
        const QPointF centre = widget->rect().center();
        QWheelEvent turn(centre, widget->mapToGlobal(centre), {}, {0, -120}, {}, {},
                         Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&turn); // as from the mouse: it goes on to the parents
        qApp->notify(widget, &turn);
    }
};

QString rowsOf(const QListWidget& list) {
    return u"%1, %2 marked"_s.arg(list.currentRow()).arg(list.selectedItems().size());
}

} // namespace

class WidgetPartsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void theWheelPassesBoxes() {
        Scene<QComboBox> scene;
        scene.widget->addItems({u"one"_s, u"two"_s, u"three"_s});
        guardFromWheel(scene.widget);
        scene.turnWheel();
        QCOMPARE(scene.widget->currentIndex(), 0);
        QVERIFY(scene.window.verticalScrollBar()->value() > 0 && scene.other->hasFocus());
        scene.widget->setFocus();
        scene.turnWheel();
        QCOMPARE(scene.widget->currentIndex(), 1);
    }

    void theCurrentRowIsTheMarkedOne() {
        Scene<QListWidget> scene;
        QListWidget& list = *scene.widget;
        markCurrentRow(&list);
        for (int time = 0; time < 2; ++time) {
            clearRows(&list);
            list.addItems({u"one"_s, u"two"_s});
            list.setFocus();
            QCOMPARE(rowsOf(list), u"-1, 0 marked"_s);
            list.setCurrentRow(1);
            const QPoint second = list.visualItemRect(list.item(1)).center();
            QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::ControlModifier, second);
            QCOMPARE(rowsOf(list), u"1, 1 marked"_s);
            QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, second + QPoint(0, 40));
            QCOMPARE(rowsOf(list), u"1, 1 marked"_s);
            list.setCurrentRow(-1);
            QCOMPARE(rowsOf(list), u"-1, 0 marked"_s);
        }
    }

    /// Leaving for a menu or for another window finishes nothing.
    void sizesAreFinishedInTheWindow() {
        Scene<SizeBox> scene(u"box"_s, 160);
        SizeBox& box = *scene.widget;
        const QSignalSpy finished(&box, &QSpinBox::editingFinished);
        const QShortcut undo(QKeySequence::Undo, &scene.window);
        const QSignalSpy undone(&undo, &QShortcut::activated);
        scene.turnWheel();
        QVERIFY(box.value() == 160 && scene.other->hasFocus());
        box.setFocus();
        box.selectAll();
        QTest::keyClicks(&box, u"1"_s);
        for (const auto reason : {Qt::PopupFocusReason, Qt::ActiveWindowFocusReason}) {
            QFocusEvent left(QEvent::FocusOut, reason);
            QApplication::sendEvent(&box, &left);
            QCOMPARE(finished.size(), 0);
        }
        QTest::keyClicks(&box, u"28"_s);
        QTest::keyClick(&box, Qt::Key_Return);
        QCOMPARE(finished.size(), 1);
        QCOMPARE(box.value(), 128);
        QTest::keySequence(&box, QKeySequence::Undo);
        QCOMPARE(undone.size(), 1);
        scene.other->setFocus();
        QCOMPARE(finished.size(), 2);
    }
};

QTEST_MAIN(WidgetPartsTest)
#include "WidgetPartsTest.moc"
