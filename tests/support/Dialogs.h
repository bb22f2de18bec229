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
    QStringList buttons; ///< without mnemonic marks, in the order of the toolkit
    QString defaultButton;
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

    /// Presses a standard button of the next message box, after running `before`.
    void answer(QMessageBox::StandardButton button, std::function<void()> before = {}) {
        answer([button, before = std::move(before)](QWidget* dialog) {
            run(before);
            press(qobject_cast<QMessageBox*>(dialog)->button(button));
        });
    }

    /// Presses the button of the next dialog that reads `text`, after running `before`.
    void answer(const QString& text, std::function<void()> before = {}) {
        answer([text, before = std::move(before)](QWidget* dialog) {
            run(before);
            for (QAbstractButton* button : dialog->findChildren<QAbstractButton*>()) {
                if (plain(button) == text) {
                    return press(button);
                }
            }
            dialog->close();
        });
    }

    /// Types one key into the next dialog: Return takes the default button, Escape leaves.
    void answer(Qt::Key key, std::function<void()> before = {}) {
        answer([key, before = std::move(before)](QWidget* dialog) {
            run(before);
            QTest::keyClick(dialog, key);
        });
    }

    /// Types `path` into the next file dialog and accepts it.
    void chooseFile(const QString& path) {
        answer([path](QWidget* dialog) {
            dialog->findChild<QLineEdit*>()->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
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
    static void run(const std::function<void()>& action) {
        if (action) {
            action();
        }
    }

    static void press(QAbstractButton* button) {
        if (button != nullptr) {
            button->click();
        }
    }

    static QString plain(const QAbstractButton* button) {
        return button->text().remove(QLatin1Char('&'));
    }

    static SeenDialog record(QWidget* dialog) {
        SeenDialog shown{
            .title = dialog->windowTitle(), .text = {}, .buttons = {}, .defaultButton = {}};
        if (const auto* box = qobject_cast<QMessageBox*>(dialog)) {
            shown.text = box->text();
            shown.format = box->textFormat();
            for (const QAbstractButton* button : box->buttons()) {
                shown.buttons << plain(button);
            }
        }
        for (const QPushButton* button : dialog->findChildren<QPushButton*>()) {
            if (button->isDefault()) {
                shown.defaultButton = plain(button);
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
