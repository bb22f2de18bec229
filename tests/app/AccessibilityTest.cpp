#include "app/ChipWindow.h"
#include "app/InsertDialog.h"
#include "app/Look.h"
#include "app/PinSelector.h"
#include "support/Dialogs.h"
#include "tools/FontWindowPrivate.h"
#include "tools/ImageWindowPrivate.h"
#include "tools/MessageBoxes.h"
#include "tools/NewFontDialog.h"
#include "tools/SettingsWindow.h"

#include <QAccessible>
#include <QtWidgets>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;
using pivex::testing::child;
using pivex::testing::Dialogs;

namespace {

/// Looks at a window and says what is wrong with it, a line for each fault.
using Check = QString (*)(QWidget& window);

/// Opens a window, shows it to the check and gives the check's answer.
using Visit = std::function<QString(Check)>;

constexpr auto yes = [] { return true; };

QString shown(QWidget& window, Check check) {
    window.show();
    window.activateWindow();
    const bool isActive = QTest::qWaitForWindowActive(&window);
    return isActive ? check(window) : u"never active"_s;
}

/// Visits the dialog that `opening` opens and waits for.
QString visited(Check check, const std::function<void()>& opening) {
    QString faults = u"no dialog"_s;
    Dialogs dialogs;
    dialogs.answer([&](QWidget* dialog) {
        faults = shown(*dialog, check);
        dialog->close();
    });
    opening();
    return faults;
}

QString inserting(std::string_view opcode, int pins, Check check) {
    InsertDialog dialog(*std::ranges::find(opcodeTools, opcode, &OpcodeTool::opcode), pins,
                        nullptr);
    return shown(dialog, check);
}

QString imageManager(bool isFull, Check check) {
    ImageWindow window(nullptr, {yes, [] {}, [](int) {}, [](auto) {}, [](int) {}});
    if (isFull) {
        ImageSlots filled;
        filled.fill({true, "Image"});
        window.adopt(newImage("Test", 40, 30), {}, false);
        window.state(filled, {}, false);
        child<QListWidget>(window, "slotList").setCurrentRow(20);
    }
    return shown(window, check);
}

QString fontManager(bool isFull, Check check) {
    FontWindow window(nullptr, {yes, [] {}, [](auto) {}});
    if (isFull) {
        window.adopt({.name = "Test", .width = 8, .height = 8, .columns = Bytes(1792)}, {}, false);
    }
    FontSlots filled;
    filled.fill({true, "Font", {}});
    window.state(isFull ? filled : FontSlots{}, {});
    return shown(window, check);
}

QString settings(bool isFull, Check check) {
    FontSlots filled;
    filled.fill({true, "Font", {}});
    const std::unique_ptr<QWidget> window(openLinuxSettingsWindow(
        nullptr, {yes, yes, [](const Bytes&) {}}, isFull ? filled : FontSlots{}));
    if (isFull) {
        receivedLinuxSettings(window.get(), {});
        child<QComboBox>(*window, "fontBox").setCurrentIndex(1);
    }
    return shown(*window, check);
}

/// Every window and dialog of the program, those with two faces in both.
const std::pair<const char*, Visit> windows[] = {
    {"main window",
     [](Check check) {
         ChipWindow window;
         return shown(window, check);
     }},
    {"insert without operands", [](Check check) { return inserting("GOSTRT", 14, check); }},
    {"insert three operands", [](Check check) { return inserting("SETADDR", 14, check); }},
    {"insert with pins", [](Check check) { return inserting("DEFADDR", 14, check); }},
    {"insert with 40 pins", [](Check check) { return inserting("MULTIO", 40, check); }},
    {"images, none open", [](Check check) { return imageManager(false, check); }},
    {"images", [](Check check) { return imageManager(true, check); }},
    {"new image",
     [](Check check) {
         ImageWindow window(nullptr, {});
         return visited(check, [&] { child(window, "newButton").click(); });
     }},
    {"fonts, none open", [](Check check) { return fontManager(false, check); }},
    {"fonts", [](Check check) { return fontManager(true, check); }},
    {"new font",
     [](Check check) { return visited(check, [] { std::ignore = askForNewFont(nullptr); }); }},
    {"settings, unknown", [](Check check) { return settings(false, check); }},
    {"settings", [](Check check) { return settings(true, check); }},
    {"warning", [](Check check) { return visited(check, [] { warn(nullptr, u"A"_s, u"B"_s); }); }},
    {"deletion",
     [](Check check) {
         return visited(
             check, [] { std::ignore = confirmDestructive(nullptr, u"A"_s, u"B"_s, u"Delete"_s); });
     }},
};

QString called(QWidget* widget) {
    const QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return u"%1 %2 \"%3\""_s.arg(QLatin1StringView(widget->metaObject()->className()),
                                 widget->objectName(), face->text(QAccessible::Name));
}

/// The controls of `window` that Tab must reach, in no order. Of buttons that exclude each other it
/// reaches the one that is pressed, and arrow keys the others.
QList<QWidget*> controls(const QWidget& window) {
    QList<QWidget*> found = window.findChildren<QWidget*>();
    found.removeIf([](const QWidget* each) {
        const auto* button = qobject_cast<const QAbstractButton*>(each);
        return !each->isVisible() || !each->isEnabled() || each->focusProxy() != nullptr ||
               (each->focusPolicy() & Qt::TabFocus) == 0 ||
               (button != nullptr && button->group() != nullptr && !button->isChecked());
    });
    return found;
}

QString namesOf(QAccessibleInterface& face) {
    QString faults;
    const auto isLabelled = [&face] { return !face.relations(QAccessible::Label).isEmpty(); };
    // A drop-down list shows its choice in place of its name, and the name by its label.
    const bool isBox = face.role() == QAccessible::ComboBox;
    const bool isAsked = face.state().focusable || face.role() == QAccessible::MenuItem;
    if (isAsked && face.object() != nullptr && face.object()->isWidgetType() &&
        (isBox ? !isLabelled() : face.text(QAccessible::Name).isEmpty())) {
        faults = called(static_cast<QWidget*>(face.object())) + u" has no name\n"_s;
    }
    for (int i = 0; i < face.childCount() && !isBox; ++i) {
        faults += namesOf(*face.child(i));
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

/// Ratio of the luminances, 1 to 21, as guidelines for accessible content define it.
double contrast(QRgb one, QRgb other) {
    const auto luminance = [](QRgb color) {
        const auto linear = [](int value) {
            const double part = value / 255.0;
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) +
               0.0722 * linear(qBlue(color)) + 0.05;
    };
    const double ratio = luminance(one) / luminance(other);
    return std::max(ratio, 1 / ratio);
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
            clear += contrast(with.pixel(x, y), without.pixel(x, y)) >= 3;
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
        const bool isTyped = now != nullptr && now->inherits("pivex::CodeEditor");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab,
                        isTyped ? Qt::ControlModifier : Qt::NoModifier);
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

/// The size that the text of a control needs; empty for one without a text, or with a text that may
/// be cut because it comes from a file or from the board.
QSize textSize(const QWidget* control) {
    const QFontMetrics metrics = control->fontMetrics();
    if (const auto* label = qobject_cast<const QLabel*>(control)) {
        const bool isElastic = label->wordWrap() || label->minimumWidth() == 1;
        return isElastic ? QSize() : metrics.size(0, label->text());
    }
    if (const auto* button = qobject_cast<const QAbstractButton*>(control)) {
        return metrics.size(Qt::TextShowMnemonic, button->text()) + QSize(4, 2);
    }
    const bool isLine = control->inherits("QLineEdit") || control->inherits("QComboBox") ||
                        control->inherits("QAbstractSpinBox");
    return isLine ? QSize(0, metrics.height()) : QSize();
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
        const bool isWindow = each->isWindow();
        if (!isWindow && !each->parentWidget()->rect().contains(each->geometry()) &&
            !each->parentWidget()->parentWidget()->inherits("QScrollArea")) {
            faults += called(each) + u" is cut off\n"_s;
        }
        const QSize needed = textSize(each);
        if (needed.isValid() && needed.boundedTo(each->contentsRect().size()) != needed) {
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

} // namespace

class AccessibilityTest : public QObject {
    Q_OBJECT

    static void tabulate() {
        QTest::addColumn<Visit>("visit");
        for (const auto& [name, visit] : windows) {
            QTest::newRow(name) << visit;
        }
    }

    static QString faults(Check check) {
        QFETCH(Visit, visit);
        return visit(check);
    }

private Q_SLOTS:

    void initTestCase() { applyLook(); }

    void everyControlHasAName_data() { tabulate(); }

    void everyControlHasAName() {
        QCOMPARE(faults([](QWidget& window) {
                     return namesOf(*QAccessible::queryAccessibleInterface(&window));
                 }),
                 QString());
    }

    void tabReadsThroughTheWindow_data() { tabulate(); }

    void tabReadsThroughTheWindow() { QCOMPARE(faults(tabFaults), QString()); }

    void largeLettersFit_data() { tabulate(); }

    void largeLettersFit() {
        const QFont usual = QApplication::font();
        QFont large = usual;
        large.setPointSize(18);
        QApplication::setFont(large);
        const auto restored = qScopeGuard([&] { QApplication::setFont(usual); });
        QCOMPARE(faults(sizeFaults), QString());
    }
};

/// Starts on a screen of the least size that the windows must do with.
int main(int argc, char* argv[]) {
    QTemporaryFile screens;
    if (!screens.open() || screens.write(R"({"screens": [{"name": "small", "x": 0, "y": 0,
            "width": 1024, "height": 768, "logicalDpi": 96, "dpr": 1}]})") < 0) {
        return EXIT_FAILURE;
    }
    screens.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screens.fileName().toUtf8());
    QApplication application(argc, argv);
    AccessibilityTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AccessibilityTest.moc"
