#include "FaultSweepRules.h"
#include "support/Sweep.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QRegularExpression>

#include <iostream>

#include <malloc.h>

using namespace pivex;
using namespace pivex::testing;

namespace {

/// In every hostile name, so that its way through the windows can be followed.
const QString marker = u"zq"_s;

const std::string longName(4000, 'W');

/// What a board may call things.
const std::vector<std::string> hostileNames{
    "<h1>zq</h1><img src='file:///etc/passwd'>",
    "<b>zq",
    "<qt>&lt;zq&gt;",
    "&zq && %1 %2 %n",
    "zq\nsecond\r\nline\tand\vmore",
    "zq\x01\x1b[31m\x7f\x08",
    "zq \u202E\u2066txet desrever\u2069",
    "\u200F\u061Czq \u05D0\u05D1\u0628",
    "zq\u2028line\u2029paragraph\u0085next",
    "zq\xFF\xFE\x80\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80",
    "zq e\u0301\u0301\u0301\u0301\u0301\u0301 \U0001F600\uFDFD",
    "\uFEFF\u200B\u00ADzq ",
    "zq" + longName,
};

std::string hostileName(std::size_t number) {
    return hostileNames[number % hostileNames.size()] + " " + std::to_string(number);
}

BoardModel hostileBoard(std::size_t chips) {
    BoardModel board = sweptBoard();
    board.identity = "<h1>zq</h1>\n\u202E" + longName;
    board.storage.chips.clear();
    for (std::size_t i = 0; i < chips; ++i) {
        board.storage.chips.push_back(
            {.name = hostileName(i), .type = 65535, .pins = 255, .imageIndex = 255});
    }
    for (int slot = 1; slot <= imageSlotCount; ++slot) {
        board.storage.images[slot] = {.name = hostileName(std::size_t(slot)), .rle = {1, 2, 3}};
    }
    board.storage.settings[9] = 4; // the default font
    for (int slot = 0; slot < fontSlotCount; ++slot) {
        board.storage.fonts[slot] = {.name = hostileName(std::size_t(slot)), .columns = {0}};
    }
    return board;
}

/// Whether `text` could break out of its place: end its line, turn its neighbours round.
bool isWild(const QString& text) {
    return std::ranges::any_of(text, [](QChar character) {
        const char16_t code = character.unicode();
        return character.category() == QChar::Other_Control || code == u'\u2028' ||
               code == u'\u2029' || (code >= u'\u202A' && code <= u'\u202E') ||
               (code >= u'\u2066' && code <= u'\u2069');
    });
}

/// What is wrong with how `texts` of rows show names.
QStringList wildRows(const QStringList& texts) {
    QStringList wild;
    std::ranges::copy_if(texts, std::back_inserter(wild), isWild);
    return wild;
}

template<typename List>
QStringList rowsOf(const List& list) {
    QStringList texts;
    const QAbstractItemModel& model = *list.model();
    for (int row = 0; row < model.rowCount(); ++row) {
        texts << model.index(row, 0).data().toString();
    }
    return texts;
}

/// Everything of the board that some widget would take for markup, or some label let run wild.
QStringList markup() {
    QStringList found;
    for (const QWidget* widget : QApplication::allWidgets()) {
        const auto* label = qobject_cast<const QLabel*>(widget);
        if (label != nullptr && (label->textFormat() != Qt::PlainText || isWild(label->text()))) {
            found << label->text();
        }
        found << widget->toolTip() << widget->whatsThis() << widget->statusTip();
        if (const auto* view = qobject_cast<const QAbstractItemView*>(widget)) {
            for (int row = 0; view->model() != nullptr && row < view->model()->rowCount(); ++row) {
                found << view->model()->index(row, 0).data(Qt::ToolTipRole).toString();
            }
        }
    }
    return found.filter(marker);
}

/// A main window with its three tool windows and a board that is up to no good.
struct Scene {
    explicit Scene(const BoardModel& model) : board(model) {
        window.show();
        carryOut({.port = QString::fromStdString(board.path()),
                  .fonts = true,
                  .images = true,
                  .settings = true},
                 window);
    }

    bool isIdle() const { return child(window, "sendButton").isEnabled(); }

    bool waits() const {
        return QTest::qWaitFor([this] { return isIdle(); }, 200'000);
    }

    /// Whether every window has read what it shows.
    bool isComplete() const {
        const auto& images = tool<QListWidget>("editCanvas", "slotList");
        return isIdle() && images.item(238)->text().contains(marker) &&
               tool<QComboBox>("fontBox", "fontBox").count() >= fontSlotCount;
    }

    /// The rows of all lists; the first line of the fonts' is left out.
    QStringList rows() const {
        QStringList fonts = rowsOf(tool<QListWidget>("glyphEditor", "slotList"));
        fonts.replaceInStrings(QRegularExpression(u"^Slot .\n"_s), {});
        return rowsOf(stored) + fonts + rowsOf(tool<QListWidget>("editCanvas", "slotList")) +
               rowsOf(tool<QComboBox>("fontBox", "fontBox"));
    }

    /// Loads the selected test, in place of one that was not saved.
    bool loads(bool isFirst) {
        if (!isFirst) {
            dialogs.answer(u"Discard"_s);
        }
        child(window, "loadSelectedButton").click();
        return waits() && dialogs.unused() == 0 &&
               child<QPlainTextEdit>(window, "outputPane")
                   .toPlainText()
                   .startsWith(u"Chip loaded"_s);
    }

    /// The child `name` of the tool window with the child `content`.
    template<typename Widget>
    Widget& tool(const char* content, const char* name) const {
        for (const QWidget* widget : window.findChildren<QWidget*>(QLatin1String(content))) {
            if (widget->window() != &window) {
                return child<Widget>(*widget->window(), name);
            }
        }
        qFatal("no window with %s", content);
    }

    Dialogs dialogs;
    ChipWindow window{{.settle = std::chrono::milliseconds(1), .answer = std::chrono::minutes(1)}};
    QListWidget& stored = child<QListWidget>(window, "storedChipList");
    BoardServer board;
};

/// Answers as large, as small and as empty as can be.
std::vector<Bytes> absurdPayloads() {
    std::vector<Bytes> payloads{{}};
    for (const std::size_t size : std::vector<std::size_t>{1, 2, 3, 14, 38, 40, 60, 128, 4000}) {
        for (const std::uint8_t fill : Bytes{0, 0xFF}) {
            payloads.emplace_back(size, fill);
            if (size > 2) {
                // The metadata of a chip are only believed behind their mark.
                payloads.emplace_back(size, fill);
                payloads.back()[0] = 0x5A;
                payloads.back()[1] = 0xA5;
            }
        }
    }
    return payloads;
}

} // namespace

class HostileBoardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void showsNamesAsTheyAre() {
        const int count = fullSweep() ? 65'535 : 2'000;
        const std::size_t before = mallinfo2().uordblks;
        QElapsedTimer timer;
        timer.start();
        Scene scene(hostileBoard(std::size_t(count)));
        QTRY_VERIFY_WITH_TIMEOUT(scene.stored.count() == count, 300'000);
        std::cout << count << " stored tests in " << timer.elapsed() << " ms, "
                  << (mallinfo2().uordblks - before) / 1'000'000 << " MB" << std::endl;
        QTRY_VERIFY_WITH_TIMEOUT(scene.isComplete(), 100'000);
        QCOMPARE(wildRows(scene.rows()), QStringList());
        QVERIFY(!isWild(child<QLabel>(scene.window, "statusLabel").text()));
        QCOMPARE(markup(), QStringList());
        QVERIFY2(scene.window.minimumSizeHint().width() < 1600,
                 qPrintable(QString::number(scene.window.minimumSizeHint().width())));
    }

    void asksAboutNamesAsTheyAre() {
        Scene scene(hostileBoard(hostileNames.size()));
        QTRY_VERIFY_WITH_TIMEOUT(scene.isIdle() && scene.stored.count() > 0, 100'000);
        for (int row = 0; row < scene.stored.count(); ++row) {
            QTRY_VERIFY_WITH_TIMEOUT(scene.isIdle(), 100'000);
            scene.stored.setCurrentRow(row);
            scene.dialogs.answer(Qt::Key_Escape);
            child(scene.window, "deleteSelectedButton").click();
            const SeenDialog& box = scene.dialogs.seen.last();
            QVERIFY(box.text.contains(scene.stored.item(row)->text().left(1000)));
            QCOMPARE(box.format, Qt::PlainText);
            QVERIFY(scene.loads(row == 0));
            QCOMPARE(markup(), QStringList());
        }
    }

    void survivesAbsurdAnswers_data() { addSides(); }

    void survivesAbsurdAnswers() {
        QFETCH(const Side, side);
        Fleet fleet(side);
        CleanRuns clean;
        QCOMPARE(runUndisturbed(fleet, side, clean), QString());
        std::vector<Trial> trials;
        int sampled = 0;
        for (const auto& [operation, run] : clean) {
            const Stream answers = streamsOf(*operation, run).second;
            trials.push_back(trialOf(*operation, {.kind = FaultKind::Flood}));
            for (const std::size_t index : sweptRequests(run.requests)) {
                Fault fault = replacing(run, index, answers[index]);
                for (const Bytes& payload : absurdPayloads()) {
                    fault.payload = payload;
                    if (sampled++ % sweepStride(23) == 0) {
                        trials.push_back(trialOf(*operation, fault));
                    }
                }
            }
        }
        QCOMPARE(fleet.run(trials), QString());
        std::cout << trials.size() << " absurd answers" << std::endl;
    }

private:
    /// An order to answer the request `index` otherwise, but with the right code.
    static Fault replacing(const Observation& run, std::size_t index, const Content& answer) {
        const Command command = run.requests[index].command;
        const auto before = std::ranges::count(std::span(run.requests).first(index), command,
                                               &BoardRequest::command);
        return {.command = command,
                .packet = std::size_t(before) + 1,
                .kind = FaultKind::Replace,
                .code = Response{answer.code}};
    }

    /// One run with `fault`, which must succeed or be told.
    static Trial trialOf(const Operation& operation, const Fault& fault) {
        const auto judge = [&operation](const Observation& seen) {
            const bool isDone = seen.outcome() == QString::fromUtf8(operation.success);
            const bool isListed = seen.outcome().startsWith(u"Loaded "_s);
            const bool isTold = !seen.outcome().isEmpty() && seen.state == idleState(false);
            return isDone || isListed || isTold ? QStringList()
                                                : QStringList(seen.outcome() + seen.state);
        };
        const Bytes& payload = fault.payload;
        const QString name = u"%1, command %2 no. %3, fault %4 of %5 bytes %6"_s.arg(
            QString::fromUtf8(operation.button),
            QString::number(fault.command ? static_cast<int>(*fault.command) : 0, 16),
            QString::number(fault.packet), QString::number(static_cast<int>(fault.kind)),
            QString::number(payload.size()),
            payload.empty() ? QString() : QString::number(payload.back()));
        const auto arm = [fault](BoardServer& board) {
            board.withModel([&](BoardModel& model) { model.addFault(fault); });
        };
        return {&operation, name, arm, judge};
    }
};

QTEST_MAIN(HostileBoardTest)
#include "HostileBoardTest.moc"
