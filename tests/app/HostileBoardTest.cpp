#include "FaultSweepStation.h"

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

std::string hostileName(int number) {
    return hostileNames[std::size_t(number) % hostileNames.size()] + " " + std::to_string(number);
}

BoardModel hostileBoard(int chips) {
    BoardModel board = sweptBoard();
    board.identity = "<h1>zq</h1>\n\u202E" + longName;
    board.storage.chips.clear();
    for (int i = 0; i < chips; ++i) {
        board.storage.chips.push_back(
            {.name = hostileName(i), .type = 65535, .pins = 255, .imageIndex = 255});
    }
    for (int slot = 1; slot <= imageSlotCount; ++slot) {
        board.storage.images[slot] = {.name = hostileName(slot), .rle = {1, 2, 3}};
    }
    board.storage.settings[9] = 4; // the default font
    for (int slot = 0; slot < fontSlotCount; ++slot) {
        board.storage.fonts[slot] = {.name = hostileName(slot), .columns = {0}};
    }
    return board;
}

/// Whether `text` could break out of its place: end its line, turn its neighbours round.
bool isWild(const QString& text) {
    static const QRegularExpression wild(
        u"[\\p{Cc}\\x{2028}\\x{2029}\\x{202A}-\\x{202E}\\x{2066}-\\x{2069}]"_s);
    return text.contains(wild);
}

/// What the rows of all lists and boxes say of the board.
QStringList allRows(Qt::ItemDataRole role = Qt::DisplayRole) {
    QStringList texts;
    for (const QWidget* widget : QApplication::allWidgets()) {
        const auto* box = qobject_cast<const QComboBox*>(widget);
        const auto* view = qobject_cast<const QAbstractItemView*>(widget);
        const auto* rows = box != nullptr    ? box->model()
                           : view != nullptr ? view->model()
                                             : nullptr;
        for (int row = 0; rows != nullptr && row < rows->rowCount(); ++row) {
            texts << rows->index(row, 0).data(role).toString();
        }
    }
    return texts.filter(marker);
}

/// Everything of the board that some widget would take for markup, or that runs wild.
QStringList wrongTexts() {
    QStringList found = allRows(Qt::ToolTipRole);
    for (const QWidget* widget : QApplication::allWidgets()) {
        found << widget->toolTip() << widget->whatsThis() << widget->statusTip();
        const auto* label = qobject_cast<const QLabel*>(widget);
        if (label != nullptr && (label->textFormat() != Qt::PlainText || isWild(label->text()))) {
            found << label->text();
        }
    }
    for (const QString& text : allRows()) {
        // The fonts' rows have two lines.
        const qsizetype first = text.startsWith(u"Slot "_s) ? text.indexOf(u'\n') + 1 : 0;
        found << (isWild(text.mid(first)) ? text : QString());
    }
    return found.filter(marker);
}

} // namespace

class HostileBoardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void showsNamesAsTheyAre() {
        const int count = fullSweep() ? 65'535 : 2'000;
        const std::size_t before = mallinfo2().uordblks;
        ChipWindow window({.settle = std::chrono::milliseconds(1)});
        const BoardServer board(hostileBoard(count));
        auto& stored = child<QListWidget>(window, "storedChipList");
        const auto& send = child(window, "sendButton");
        window.show();
        carryOut({.port = QString::fromStdString(board.path()),
                  .fonts = true,
                  .images = true,
                  .settings = true},
                 window);
        // The fonts are listed in two windows.
        const int rows = count + imageSlotCount + 2 * fontSlotCount;
        QTRY_VERIFY_WITH_TIMEOUT(
            send.isEnabled() && stored.count() == count && allRows().size() >= rows, 600'000);
        std::cout << count << " stored tests take " << (mallinfo2().uordblks - before) / 1'000'000
                  << " MB" << std::endl;
        QCOMPARE(wrongTexts(), QStringList());
        QVERIFY(window.minimumSizeHint().width() < 1600);
        Dialogs dialogs;
        stored.setCurrentRow(0);
        dialogs.answer(Qt::Key_Escape);
        child(window, "deleteSelectedButton").click();
        QCOMPARE(dialogs.seen.value(0).format, Qt::PlainText);
        QVERIFY(dialogs.seen.value(0).text.contains(stored.item(0)->text()));
    }
};

QTEST_MAIN(HostileBoardTest)
#include "HostileBoardTest.moc"
