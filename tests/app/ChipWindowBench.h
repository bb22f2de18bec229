#pragma once

#include "app/ChipWindow.h"
#include "simulator/BoardServer.h"
#include "support/Dialogs.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>

namespace pivex::testing {

/// A main window that waits long for a slow machine's board, the script of its dialogs and a folder
/// for its files.
class ChipWindowBench {
public:
    Dialogs dialogs;
    QTemporaryDir folder;
    ChipWindow window{{.settle = std::chrono::milliseconds(20), .answer = std::chrono::minutes(1)}};

    QPlainTextEdit& code = child<QPlainTextEdit>(window, "codeEditor");
    QLineEdit& name = child<QLineEdit>(window, "nameEdit");
    QListWidget& files = child<QListWidget>(window, "chipFileList");
    QListWidget& stored = child<QListWidget>(window, "storedChipList");
    QComboBox& port = child<QComboBox>(window, "portBox");

    void click(const char* button) { child(window, button).click(); }

    /// Clicks and gives `answer`, any that `Dialogs` knows, to the question that follows.
    template<typename Answer>
    void click(const char* button, const Answer& answer, std::function<void()> before = {}) {
        dialogs.answer(answer, std::move(before));
        click(button);
    }

    /// Clicks, answers and waits for the end of the operation.
    template<typename... Answer>
    bool runs(const char* button, const Answer&... answer) {
        click(button, answer...);
        return idle();
    }

    void trigger(const char* entry) { child<QAction>(window, entry).trigger(); }

    bool enabled(const char* widget) const { return child<QWidget>(window, widget).isEnabled(); }

    QString output() const { return child<QPlainTextEdit>(window, "outputPane").toPlainText(); }

    QString status() const { return child<QLabel>(window, "statusLabel").text(); }

    const SeenDialog& lastBox() const { return dialogs.seen.last(); }

    /// The rows of the stored-test list, joined by bars.
    QString rows() const {
        QStringList texts;
        for (int row = 0; row < stored.count(); ++row) {
            texts << stored.item(row)->text();
        }
        return texts.join(QLatin1Char('|'));
    }

    /// The path of a file in the folder.
    QString path(const QString& fileName) const { return folder.filePath(fileName); }

    /// Writes a file into the folder and gives its path.
    QString file(const QString& fileName, const std::string& bytes) const {
        QFile file(path(fileName));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes.c_str()) < 0) {
            qFatal("cannot write a test file");
        }
        return file.fileName();
    }

    std::string content(const QString& path) const {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
    }

    /// Connects and waits until the list of stored tests has been read.
    bool connectTo(const BoardServer& board) {
        window.connectTo(QString::fromStdString(board.path()));
        return idle();
    }

    /// Waits until the output pane shows `text`.
    bool reports(const QString& text) const {
        return comes([&] { return output() == text; });
    }

    /// Waits until there is no connection.
    bool unlinked() const {
        return comes([this] { return status() == QStringLiteral("Not Connected"); });
    }

    /// Waits until the board is connected and no operation runs.
    bool idle() const {
        return comes([this] { return enabled("sendButton"); });
    }

private:
    bool comes(const std::function<bool()>& condition) const {
        constexpr int patience = 20'000;
        const bool came = QTest::qWaitFor(condition, patience);
        if (!came) {
            qWarning() << "still" << status() << output();
        }
        return came;
    }
};

/// A main window that is connected to a board.
class ConnectedBench : public ChipWindowBench {
public:
    explicit ConnectedBench(const BoardModel& model = {}) : board(model) {
        if (!connectTo(board)) {
            qFatal("no connection");
        }
        board.clearRequests();
    }

    void spoil(const Fault& fault) {
        board.withModel([&](BoardModel& model) { model.addFault(fault); });
    }

    BoardServer board;
};

} // namespace pivex::testing
