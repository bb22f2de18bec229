#pragma once

#include "support/Dialogs.h"

#include <QDir>
#include <QMetaProperty>
#include <QPointer>
#include <QTemporaryDir>

#include <map>
#include <vector>

namespace pivex::testing {

using namespace Qt::Literals::StringLiterals;

/// A window that plays stories: lines of "action => all that it changes to be seen", continued on
/// lines that stand further right.
///
/// An action begins with a verb or the name of a button. Behind each " | " stands the answer to a
/// question that follows: a button, a key, or "/file" in the folder; "Yes after ready no" acts once
/// more before it answers. Questions are seen as "? title: text [default button]", the text only
/// when it is new.
class WindowStory {
public:
    struct View {
        const char* name; ///< stands before the value
        std::function<QString()> value;
        bool isSet = false; ///< of letters: what came and what went is shown
        QString shown{};
    };

    /// What actions do that begin with a word; they get the other words.
    using Verbs = std::map<QString, std::function<void(const QStringList&)>>;

    virtual ~WindowStory() { delete root; }

    /// Watches the texts of labels and fields; "name.property" watches another property.
    void watchTexts(const QString& names) {
        for (const QString& each : names.split(u' ')) {
            const QByteArrayList words = each.toLatin1().split('.') << "text";
            views.push_back(
                {"", [this, words] {
                     return child<QObject>(*root, words[0]).property(words[1]).toString();
                 }});
        }
    }

    /// Watches which controls are enabled, or have another property: pairs of a letter and the name
    /// of the control. What came is shown behind a +, what went behind a -.
    void watchEnabled(const QString& controls, const char* property = "enabled",
                      const char* name = "") {
        const auto holders = [this, property, words = controls.split(u' ')] {
            QString letters;
            for (qsizetype i = 0; i < words.size(); i += 2) {
                const auto& control = child<QObject>(*root, words[i + 1].toLatin1());
                letters += control.property(property).toBool() ? words[i] : QString();
            }
            return letters;
        };
        views.push_back({name, holders, true});
    }

    /// Plays a story up to the first step that changes something else than it says.
    void play(const char* story) {
        changes();
        for (const QString& step : stepsOf(QString::fromUtf8(story))) {
            act(step.section(u" =>"_s, 0, 0));
            told << (dialogs.unused() == 0 ? QStringList() : QStringList(u"asks nothing"_s));
            const QString actual = changes();
            dialogs.forget();
            const bool isRight = actual == step.section(u"=> "_s, 1);
            QVERIFY2(isRight, qPrintable(step + u"\nbut => "_s + actual));
        }
    }

    /// Does what `action` says, without looking.
    void act(const QString& action) {
        const QStringList parts = action.split(u" | "_s);
        for (const QString& part : parts.sliced(1)) {
            const QStringList answer = part.split(u" after "_s);
            const QString path = answer[0].startsWith(u'/') ? folder.path() : QString();
            dialogs.answer(path + answer[0], [this, deeds = answer.sliced(1)] {
                std::ranges::for_each(deeds, [this](const QString& deed) { act(deed); });
            });
        }
        QStringList words = parts[0].split(u' ');
        const QString first = words.takeFirst();
        if (const auto verb = verbs.find(first); verb != verbs.end()) {
            verb->second(words);
        } else {
            auto& button = child<QObject>(*root, first.toLatin1());
            QMetaObject::invokeMethod(&button, button.isWidgetType() ? "click" : "trigger");
        }
    }

    QPointer<QWidget> root; ///< the window, which the story deletes
    QTemporaryDir folder;
    Dialogs dialogs;
    QStringList told; ///< what the window asked for during the step
    Verbs verbs{
        {u"look"_s, [this](auto&) { forgetViews(); }},
        {u"fill"_s, [this](auto& words) { fill(words[0].toLatin1(), words.mid(1).join(u' ')); }},
        {u"type"_s, [this](auto& words) { type(words[0].toLatin1(), words.mid(1).join(u' ')); }},
        {u"key"_s, [this](auto& words) { press(words[0]); }},
        {u"write"_s, [this](auto& words) { write(words[0], words.mid(1).join(u' ')); }},
        {u"drop"_s, [this](auto&) { QVERIFY(folder.remove()); }},
        {u"close"_s, [this](auto&) { told << (root->close() ? u"closes"_s : u"stays"_s); }},
    };
    std::vector<View> views{{"", [this] { return root->windowTitle(); }}};

protected:
    /// Lets the window finish what it has begun.
    virtual void settle() { QCoreApplication::processEvents(); }

    /// What a file holds that is written with `words`.
    virtual std::string content(const QString& words) { return words.toStdString(); }

    /// A line about the document in a text; throws std::runtime_error when there is none.
    virtual QString summary(const std::string& /*text*/) { return {}; }

    /// The summary or, failing that, the beginning of the text.
    QString described(const std::string& text) {
        try {
            return summary(text);
        } catch (const std::runtime_error&) {
            return QString::fromStdString(text).left(20);
        }
    }

    /// `text` with the characters for which \n, \r, \t, \1 and \2 stand.
    static QString unescaped(QString text) {
        constexpr QLatin1StringView marks("nrt12");
        for (qsizetype i = 0; i < marks.size(); ++i) {
            text.replace(QString(u'\\') + marks[i], QChar(u"\n\r\t\1\2"[i]));
        }
        return text;
    }

private:
    static QStringList stepsOf(const QString& story) {
        QStringList steps;
        qsizetype indent = 0;
        for (const QString& line : story.split(u'\n')) {
            const qsizetype blanks = line.indexOf(line.trimmed());
            if (!steps.isEmpty() && blanks > indent) {
                steps.last() += u' ' + line.trimmed();
            } else if (!line.trimmed().isEmpty()) {
                indent = blanks;
                steps << line.trimmed();
            }
        }
        return steps;
    }

    void forgetViews() {
        for (View& view : views) {
            view.shown.clear();
        }
    }

    /// A field of the dialog or, when that has none of this name, of the window.
    QWidget& field(const QByteArray& name) {
        const QWidget* dialog = QApplication::activeModalWidget();
        auto* found =
            dialog != nullptr ? dialog->findChild<QWidget*>(QString::fromLatin1(name)) : nullptr;
        return found != nullptr ? *found : child<QWidget>(*root, name);
    }

    /// Gives a field another value.
    void fill(const QByteArray& name, const QString& value) {
        QWidget& widget = field(name);
        widget.metaObject()->userProperty().write(&widget, unescaped(value));
    }

    /// Replaces the text of a field by hand.
    void type(const QByteArray& name, const QString& text) {
        QWidget& widget = field(name);
        widget.setFocus();
        QMetaObject::invokeMethod(&widget, "selectAll");
        QTest::keyClicks(&widget, unescaped(text));
    }

    /// Presses a shortcut; only an active window hears it, and a dialog may have been active.
    void press(const QString& keys) {
        root->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(root));
        QTest::keySequence(root, QKeySequence(keys));
    }

    void write(const QString& name, const QString& words) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content(words).c_str()) >= 0);
    }

    /// The files of the folder that are new, have other content or are gone.
    QStringList fileChanges() {
        QMap<QString, QString> now;
        for (const QString& name : QDir(folder.path()).entryList(QDir::Files)) {
            QFile file(folder.filePath(name));
            const bool isOpen = file.open(QIODevice::ReadOnly);
            now[name] = isOpen ? described(file.readAll().toStdString()) : u"?"_s;
        }
        QStringList all;
        for (const QString& name : now.keys() + files.keys()) {
            if (!now.contains(name)) {
                all << u"no "_s + name;
            } else if (files.value(name) != now[name]) {
                all << name + u' ' + now[name];
            }
        }
        files = now;
        all.removeDuplicates();
        return all;
    }

    QString changes() {
        settle();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QStringList all = std::exchange(told, {});
        for (const SeenDialog& dialog : std::exchange(dialogs.seen, {})) {
            const bool isNew = !dialog.text.isEmpty() && !asked.contains(dialog.text);
            asked << dialog.text;
            all << u"? "_s + dialog.title + (isNew ? u": "_s + dialog.text : u""_s) +
                       (isNew && dialog.format != Qt::PlainText ? u" (markup)"_s : u""_s) +
                       (dialog.defaultButton.isEmpty() ? u""_s
                                                       : u" [%1]"_s.arg(dialog.defaultButton));
        }
        all << fileChanges();
        for (View& view : views) {
            if (!root) {
                return (all << u"closed"_s).join(u"; "_s);
            }
            const QString now = view.value();
            if (now != view.shown) {
                const QString name = QString::fromUtf8(view.name);
                all << (view.isSet      ? name + difference(view.shown, now)
                        : now.isEmpty() ? u"no "_s + (name.isEmpty() ? u"text"_s : name.trimmed())
                                        : name + now);
            }
            view.shown = now;
        }
        return all.join(u"; "_s).replace(u'\n', u' ').simplified();
    }

    static QString difference(QString before, QString now) {
        const QString old = before;
        before.removeIf([&](QChar letter) { return now.contains(letter); });
        now.removeIf([&](QChar letter) { return old.contains(letter); });
        return (now.isEmpty() ? u""_s : u'+' + now) + (before.isEmpty() ? u""_s : u'-' + before);
    }

    QStringList asked;            ///< the questions so far
    QMap<QString, QString> files; ///< what they held after the last step
};

} // namespace pivex::testing
