#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <deque>
#include <functional>
#include <utility>

namespace pivex::testing {

/// What a modal dialog showed at the moment when it was answered.
struct SeenDialog {
    QString title;
    QString text;
    QString defaultButton; ///< empty when there is no other
    Qt::TextFormat format = Qt::AutoText;
};

/// Answers modal dialogs while it lives: each one that appears takes the next answer and is
/// recorded. A dialog that nobody expected is recorded and closed, so that no test hangs.
class Dialogs {
public:
    using Answer = std::function<void(QWidget*)>;

    Dialogs() {
        QObject::connect(&timer, &QTimer::timeout, [this] { look(); });
        timer.start(1);
    }

    /// Any action on the next dialog, which must close it.
    void answer(Answer action) { answers.push_back(std::move(action)); }

    /// Types one key into the next dialog: Return takes the default button, Escape leaves.
    void answer(Qt::Key key) {
        answer([key](QWidget* dialog) { QTest::keyClick(dialog, key); });
    }

    /// Answers the next dialog after running `before`: with the button that reads `text`, the key
    /// "Return" or, when it begins with a slash, the file of that path; without such a button by
    /// the key "Escape".
    void answer(const QString& text, const std::function<void()>& before = {}) {
        answer([text, before](QWidget* dialog) {
            if (before) {
                before();
            }
            const QList<QAbstractButton*> buttons = dialog->findChildren<QAbstractButton*>();
            const auto button = std::ranges::find(buttons, text, plain);
            if (text.startsWith(QLatin1Char('/'))) {
                choose(dialog, text);
            } else if (text == QLatin1String("Return")) {
                QTest::keyClick(dialog, Qt::Key_Return);
            } else if (button == buttons.end()) {
                QTest::keyClick(dialog, Qt::Key_Escape);
            } else {
                (*button)->click();
            }
        });
    }

    /// Drops all answers and records.
    void forget() {
        answers.clear();
        seen.clear();
    }

    /// All dialogs so far, oldest first.
    QList<SeenDialog> seen;

    /// The number of answers that no dialog has taken yet.
    std::size_t unused() const { return answers.size(); }

private:
    static void choose(QWidget* dialog, const QString& path) {
        // The name field alone would leave the file with which the dialog began.
        qobject_cast<QFileDialog*>(dialog)->selectFile(path);
        dialog->findChild<QLineEdit*>()->setText(path);
        QMetaObject::invokeMethod(dialog, "accept");
    }

    static QString plain(const QAbstractButton* button) {
        return button->text().remove(QLatin1Char('&'));
    }

    static SeenDialog record(QWidget* dialog) {
        SeenDialog shown{.title = dialog->windowTitle(), .text = {}, .defaultButton = {}};
        if (const auto* box = qobject_cast<QMessageBox*>(dialog)) {
            shown.text = box->text();
            shown.format = box->textFormat();
            for (const auto* button : box->findChildren<QPushButton*>()) {
                const bool isOne = button->isDefault() && box->buttons().size() > 1;
                shown.defaultButton = isOne ? plain(button) : shown.defaultButton;
            }
        }
        return shown;
    }

    void look() {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr || !dialog->isVisible() || dialog == current) {
            return;
        }
        // A timer does not fire inside its own handler; a fresh one does, so that a dialog which
        // opens under this one is answered as well.
        timer.start(1);
        QWidget* const outer = std::exchange(current, dialog);
        seen << record(dialog);
        if (answers.empty()) {
            dialog->close();
        } else {
            const Answer action = std::move(answers.front());
            answers.pop_front();
            action(dialog);
        }
        current = outer;
    }

    QTimer timer;
    std::deque<Answer> answers;
    QWidget* current = nullptr; ///< being answered right now
};

/// The child of `window` with this object name; it must exist.
template<typename Widget = QAbstractButton>
Widget& child(const QWidget& window, const char* name) {
    auto* found = window.findChild<Widget*>(QString::fromLatin1(name));
    if (found == nullptr) {
        qFatal("no child called %s", name);
    }
    return *found;
}

/// One letter for each child of `window` with these names: + enabled, - disabled.
inline QString enabledStates(const QWidget& window, std::initializer_list<const char*> names) {
    QString states;
    for (const char* name : names) {
        const bool isEnabled = child<QObject>(window, name).property("enabled").toBool();
        states += QLatin1Char(isEnabled ? '+' : '-');
    }
    return states;
}

} // namespace pivex::testing
