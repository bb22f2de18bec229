#pragma once

#include "app/ChipWindow.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"
#include "simulator/BoardServer.h"
#include "support/WindowStory.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTextBlock>

namespace pivex::testing {

/// The rows of a list, joined by bars.
inline QString rowsOf(const QListWidget& list) {
    QStringList texts;
    for (int row = 0; row < list.count(); ++row) {
        texts << list.item(row)->text();
    }
    return texts.join(u" | "_s);
}

inline ChipDocument chip(const QString& name) {
    return {.name = name.toStdString(), .pins = 16, .code = "GOSTRT\nENDTEST", .strings = {}};
}

/// A main window that waits long for a slow machine's board. Its stories take their next step once
/// no operation runs; what begins with "start" is looked at while it runs.
class ChipWindowBench : public WindowStory {
public:
    ChipWindow window{{.settle = std::chrono::milliseconds(20), .answer = std::chrono::minutes(1)}};

    QPlainTextEdit& code = child<QPlainTextEdit>(window, "codeEditor");
    QLineEdit& name = child<QLineEdit>(window, "nameEdit");
    QListWidget& files = child<QListWidget>(window, "chipFileList");
    QListWidget& stored = child<QListWidget>(window, "storedChipList");
    QComboBox& port = child<QComboBox>(window, "portBox");

    ChipWindowBench() {
        root = &window;
        act(u"clearOutputButton"_s); // what it says about ports depends on the machine
        views.front().value = [this] {
            return window.windowTitle().replace(u"PivexGUI — Linux chips"_s, u"title"_s);
        };
        verbs.merge(Verbs{
            {u"start"_s, [this](auto& words) { isHasty = true, act(words.join(u' ')); }},
            {u"wait"_s, [this](auto&) { wait(); }},
            {u"chip"_s, [this](auto& words) { window.populate(chip(words[0]), {}); }},
            {u"add"_s, [this](auto& words) { window.addPaths({folder.filePath(words[0])}); }},
            {u"load"_s, [this](auto& words) { window.loadPath(folder.filePath(words[0])); }},
            {u"row"_s, [this](auto& words) { stored.setCurrentRow(words[0].toInt()); }},
            {u"choose"_s, [this](auto& words) { files.setCurrentRow(words[0].toInt()); }},
        });
        views.push_back({"", [this] { return name.text() + u": "_s + code.toPlainText(); }});
        views.push_back({"stored ", [this] { return rowsOf(stored); }});
        views.push_back({"listed ", [this] { return rowsOf(files); }});
        views.push_back(
            {"line ", [this] { return QString::number(code.textCursor().blockNumber()); }});
        views.push_back({"", [this] { return output(); }});
        views.push_back(
            {"", [this] { return child<QLabel>(window, "statusLabel").text().left(30); }});
        watchEnabled(u"C connectButton R refreshButton A deleteAllEntry S sendButton V saveButton "
                     "L loadSelectedButton D deleteSelectedButton B batchSaveButton "
                     "l storedChipList p portRefreshButton"_s);
    }

    bool isEnabled(const char* widget) const { return child<QWidget>(window, widget).isEnabled(); }

    /// Acts and waits for the end of the operation.
    bool runs(const QString& action) {
        act(action);
        return idle();
    }

    QString output() const { return child<QPlainTextEdit>(window, "outputPane").toPlainText(); }

    /// Waits until the board is connected and no operation runs.
    bool idle() const {
        return comes([this] { return isEnabled("sendButton"); });
    }

protected:
    std::string content(const QString& words) override {
        return words.contains(u'[') ? unescaped(words).toStdString() : encodeChip(chip(words));
    }

    QString summary(const std::string& text) override {
        return QString::fromStdString(decodeChip(text).name);
    }

    void settle() override { wait(); }

    /// Waits for the end of the operation, unless the step only starts it.
    bool wait() {
        return !std::exchange(isHasty, false) && comes([this] {
            const QString connection = child(window, "connectButton").text();
            return isEnabled("sendButton") || connection == u"Connect"_s;
        });
    }

private:
    static bool comes(const std::function<bool()>& condition) {
        return QTest::qWaitFor(condition, 20'000);
    }

    bool isHasty = false;
};

/// A board with stored tests of these names.
inline BoardModel boardWith(const QStringList& names) {
    BoardModel model;
    for (const QString& name : names) {
        const Bytes code = compileChip(chip(name)).bytes;
        model.storage.chips.push_back(
            {.name = chip(name).name, .type = 4, .pins = 16, .code = code});
    }
    return model;
}

/// A main window that is connected to a board. Its stories see whether that was asked anything.
class ConnectedBench : public ChipWindowBench {
public:
    explicit ConnectedBench(const BoardModel& model = {}) : board(model) {
        verbs[u"late"_s] = [this](auto&) {
            spoil({.kind = FaultKind::Late, .delay = std::chrono::seconds(20)});
        };
        verbs[u"cut"_s] = [this](auto&) {
            spoil({.command = Command::UploadMetadata, .kind = FaultKind::HangUp});
        };
        verbs[u"holds"_s] = [this](auto& words) {
            board.withModel([&](BoardModel& now) {
                now.storage = boardWith(unescaped(words.join(u' ')).split(u' ')).storage;
            });
        };
        verbs[u"leave"_s] = [this](auto&) {
            board.withModel([](BoardModel& now) { now.uploadMode = false; });
        };
        verbs[u"connect"_s] = [this](auto&) {
            window.connectTo(QString::fromStdString(board.path()));
        };
        if (!runs(u"connect"_s)) {
            qFatal("no connection");
        }
        board.clearRequests();
    }

    void spoil(const Fault& fault) {
        board.withModel([&](BoardModel& model) { model.addFault(fault); });
    }

    BoardServer board;

protected:
    void settle() override {
        if (wait()) {
            // A request that the end of the connection overtook may have come or not.
            const bool talked = !board.requests().empty() && isEnabled("sendButton");
            told << (talked ? QStringList(u"talks"_s) : QStringList());
            board.clearRequests();
        }
    }
};

} // namespace pivex::testing
