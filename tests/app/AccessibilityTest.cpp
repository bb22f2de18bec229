#include "app/ChipWindow.h"
#include "app/InsertDialog.h"
#include "app/Look.h"
#include "app/PinSelector.h"
#include "support/Dialogs.h"
#include "tools/FontWindowPrivate.h"
#include "tools/ImageWindowPrivate.h"
#include "tools/NewFontDialog.h"
#include "tools/SettingsWindow.h"

#include <QAccessible>
#include <QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;
using pivex::testing::child;
using pivex::testing::Dialogs;

namespace {

QString called(QWidget* widget) {
    const QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return u"%1 %2 \"%3\""_s.arg(QLatin1StringView(widget->metaObject()->className()),
                                 widget->objectName(), face->text(QAccessible::Name));
}

bool isControl(const QWidget& widget) {
    return widget.isVisible() && widget.focusProxy() == nullptr &&
           (widget.focusPolicy() & Qt::TabFocus) != 0;
}

/// The controls of `window` that Tab must reach, in no order. Of buttons that exclude each other it
/// reaches the one that is pressed, and arrow keys the others.
QList<QWidget*> controls(const QWidget& window) {
    QList<QWidget*> found = window.findChildren<QWidget*>();
    found.removeIf([](const QWidget* each) {
        const auto* button = qobject_cast<const QAbstractButton*>(each);
        return !isControl(*each) || !each->isEnabled() ||
               (button != nullptr && button->group() != nullptr && !button->isChecked());
    });
    return found;
}

/// What a reader of the screen could not name.
QString nameFaults(const QWidget& window) {
    QString faults;
    for (QWidget* each : window.findChildren<QWidget*>()) {
        auto* face = QAccessible::queryAccessibleInterface(each);
        // A drop-down list shows its choice in place of its name, and the name by its label.
        const bool isNamed = face->role() == QAccessible::ComboBox
                                 ? !face->relations(QAccessible::Label).isEmpty()
                                 : !face->text(QAccessible::Name).isEmpty();
        if (isControl(*each) && !isNamed) {
            faults += called(each) + u" has no name\n"_s;
        }
    }
    return faults;
}

/// Whether `next` stands right of `now` or below it, both seen where their panes part.
bool readsOn(QWidget* now, QWidget* next) {
    if (qobject_cast<PinSelector*>(now->parentWidget()) != nullptr) {
        return true; // pins count down the left side and up the right one
    }
    while (!now->parentWidget()->isAncestorOf(next)) {
        now = now->parentWidget();
    }
    while (next->parentWidget() != now->parentWidget()) {
        next = next->parentWidget();
    }
    const QRect one = now->geometry();
    const QRect other = next->geometry();
    const bool isBeside = one.top() <= other.center().y() && other.center().y() <= one.bottom();
    return isBeside ? one.left() < other.left() : one.top() < other.top();
}

/// Whether one sees that `control` has the focus: the pixels in and around it that differ clearly
/// from those without the focus would make a line around it.
bool showsFocus(QWidget& control) {
    QWidget& window = *control.window();
    const QRect seen = control.visibleRegion().boundingRect();
    const QRect place =
        seen.translated(control.mapTo(&window, QPoint())).adjusted(-2, -2, 2, 2) & window.rect();
    const QImage with = window.grab(place).toImage();
    control.clearFocus();
    const QImage without = window.grab(place).toImage();
    control.setFocus(Qt::TabFocusReason);
    int clear = 0;
    for (int y = 0; y < place.height(); ++y) {
        for (int x = 0; x < place.width(); ++x) {
            clear += std::abs(qGray(with.pixel(x, y)) - qGray(without.pixel(x, y))) >= 64;
        }
    }
    const bool isCanvas = control.inherits("pivex::ImageCanvas") ||
                          control.objectName() == u"glyphEditor"_s; // they mark one cell
    return clear >= (isCanvas ? 20 : 2 * (seen.width() + seen.height()));
}

/// Goes once around with Tab: every control must be reached and show it, and only the step from the
/// last to the first may lead back.
QString tabFaults(QWidget& window) {
    QString faults;
    QList<QWidget*> missing = controls(window);
    QWidget* now = nullptr;
    int returns = 0;
    for (qsizetype tabs = missing.size(); tabs >= 0; --tabs) {
        QWidget* const focused = QApplication::focusWidget();
        const bool isTyped = focused->inherits("pivex::CodeEditor");
        QTest::keyClick(focused, Qt::Key_Tab, isTyped ? Qt::ControlModifier : Qt::NoModifier);
        QWidget* const last = std::exchange(now, QApplication::focusWidget());
        missing.removeOne(now);
        if (!showsFocus(*now)) {
            faults += called(now) + u" does not show the focus\n"_s;
        }
        if (last != nullptr && !readsOn(last, now) && ++returns > 1) {
            faults += called(last) + u" leads back to "_s + called(now) + u'\n';
        }
    }
    for (QWidget* each : missing) {
        faults += called(each) + u" is not reached\n"_s;
    }
    return faults;
}

/// The size that the text of a control needs; empty for one with a text that may be cut because it
/// comes from a file or from the board.
QSize neededSize(const QWidget& control) {
    if (const auto* button = qobject_cast<const QPushButton*>(&control)) {
        return button->fontMetrics().size(Qt::TextShowMnemonic, button->text()) + QSize(4, 2);
    }
    const bool isElastic = control.minimumWidth() == 1 || control.focusProxy() != nullptr;
    return isElastic ? QSize() : control.minimumSizeHint();
}

/// What does not fit: the window on the screen, a control in its pane, a text in its control.
QString sizeFaults(QWidget& window) {
    QString faults;
    const QSize room = window.screen()->availableGeometry().size() - QSize(10, 40);
    const QSize least = window.minimumSizeHint().expandedTo(window.minimumSize());
    if (least.boundedTo(room) != least) {
        faults += u"needs %1 x %2\n"_s.arg(least.width()).arg(least.height());
    }
    for (QWidget* each : window.findChildren<QWidget*>()) {
        if (!each->isVisible()) {
            continue;
        }
        if (!each->isWindow() && !each->parentWidget()->rect().contains(each->geometry()) &&
            !each->parentWidget()->parentWidget()->inherits("QScrollArea")) {
            faults += called(each) + u" is cut off\n"_s;
        }
        const QSize needed = neededSize(*each);
        if (needed.boundedTo(each->size()) != needed) {
            faults += called(each) + u" cuts its text off\n"_s;
        }
        if (const auto* view = qobject_cast<QAbstractItemView*>(each)) {
            const QModelIndex first = view->model()->index(0, 0);
            const int lines = 1 + static_cast<int>(first.data().toString().count(u'\n'));
            if (first.isValid() &&
                view->visualRect(first).height() <
                    lines * view->fontMetrics().lineSpacing() + (lines - 1) * 12) {
                faults += called(each) + u" cuts its rows off\n"_s;
            }
        }
    }
    return faults;
}

constexpr auto yes = [] { return true; };

/// Says what is wrong with a window, a line for each fault.
QString shown(QWidget& window) {
    window.show();
    window.activateWindow();
    const bool isActive = QTest::qWaitForWindowActive(&window);
    return isActive ? nameFaults(window) + tabFaults(window) + sizeFaults(window)
                    : u"never active"_s;
}

/// Looks at the dialog that `opening` opens and waits for.
QString visited(const std::function<void()>& opening) {
    QString faults = u"no dialog"_s;
    Dialogs dialogs;
    dialogs.answer([&](QWidget* dialog) {
        faults = shown(*dialog);
        dialog->close();
    });
    opening();
    return faults;
}

QString inserting(std::string_view opcode, int pins) {
    InsertDialog dialog(*std::ranges::find(opcodeTools, opcode, &OpcodeTool::opcode), pins,
                        nullptr);
    return shown(dialog);
}

QString imageManager() {
    ImageWindow window(nullptr, {yes, [] {}, [](int) {}, [](auto) {}, [](int) {}});
    ImageSlots filled;
    filled.fill({true, "Image"});
    window.adopt(newImage("Test", 40, 30), {}, false);
    window.state(filled, {}, false);
    child<QListWidget>(window, "slotList").setCurrentRow(20);
    return shown(window);
}

FontSlots fonts() {
    FontSlots filled;
    filled.fill({true, "Font", {}});
    return filled;
}

QString fontManager() {
    FontWindow window(nullptr, {yes, [] {}, [](auto) {}});
    window.adopt({.name = "Test", .width = 8, .height = 8, .columns = Bytes(1792)}, {}, false);
    window.state(fonts(), {});
    return shown(window);
}

QString settings() {
    const std::unique_ptr<QWidget> window(
        openLinuxSettingsWindow(nullptr, {yes, yes, [](const Bytes&) {}}, fonts()));
    receivedLinuxSettings(window.get(), {});
    child<QComboBox>(*window, "fontBox").setCurrentIndex(1);
    return shown(*window);
}

/// Every window and dialog of the program, with all that they can offer.
const std::pair<const char*, std::function<QString()>> windows[] = {
    {"main window", [] { return shown(*std::make_unique<ChipWindow>()); }},
    {"insert three operands", [] { return inserting("SETADDR", 14); }},
    {"insert with pins", [] { return inserting("DEFADDR", 14); }},
    {"insert with 40 pins", [] { return inserting("MULTIO", 40); }},
    {"images", imageManager},
    {"new image",
     [] {
         ImageWindow window(nullptr, {});
         return visited([&] { child(window, "newButton").click(); });
     }},
    {"fonts", fontManager},
    {"new font", [] { return visited([] { std::ignore = askForNewFont(nullptr); }); }},
    {"settings", settings},
};

} // namespace

class AccessibilityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    /// Every control has a name, Tab reads through the window and large letters fit.
    void servesEverybody_data() {
        QTest::addColumn<std::function<QString()>>("faults");
        for (const auto& [name, faults] : windows) {
            QTest::newRow(name) << faults;
        }
    }

    void servesEverybody() {
        QFETCH(const std::function<QString()>, faults);
        QCOMPARE(faults(), QString());
    }

    void initTestCase() {
        applyLook();
        QFont large = QApplication::font();
        large.setPointSize(18);
        QApplication::setFont(large);
    }
};

QTEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
