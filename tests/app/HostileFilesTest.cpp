#include "app/ChipWindow.h"
#include "support/Dialogs.h"
#include "support/Sweep.h"
#include "support/Thrown.h"
#include "tools/FontWindowPrivate.h"
#include "tools/ImageWindowPrivate.h"

#include <QtWidgets>

#include <ctime>
#include <fstream>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

/// How often a hostile file repeats what makes it one.
std::size_t scale(std::size_t full) {
    constexpr std::size_t sample = 200;
    return fullSweep() ? full : full / sample;
}

/// `piece` many times over, its "#" replaced by the number of the time.
std::string times(std::size_t count, const std::string& piece) {
    const std::size_t mark = piece.find('#');
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.append(piece, 0, mark);
        if (mark != std::string::npos) {
            text.append(std::to_string(i)).append(piece, mark + 1);
        }
    }
    return text;
}

std::string chipFile(const std::string& code, const std::string& meta = "name=n") {
    return "[chips]\n[meta]\n" + meta + "\n[code]\n" + code;
}

/// Does `action` and shows what it changed; prints what that took.
void measure(const char* what, QWidget& window, const std::function<void()>& action) {
    const std::clock_t before = std::clock();
    action();
    window.grab();
    const double seconds = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    qInfo("%-8s %6.1f s, at most %5ld MB so far", what, seconds, usage.ru_maxrss / 1024);
    // Nothing may take the memory of the whole machine.
    QVERIFY(usage.ru_maxrss / 1024 < 3000);
}

/// A folder for files, a main window and what it says.
struct Desk {
    Dialogs dialogs;
    QTemporaryDir folder;
    ChipWindow window;

    /// The path of a file that holds `text`.
    QString file(const std::string& text) const {
        QString path = folder.filePath(u"<b>hostile.chip"_s);
        std::ofstream(path.toStdString(), std::ios::binary) << text;
        return path;
    }

    QString lastBox() const { return dialogs.seen.value(dialogs.seen.size() - 1).text; }
};

/// Makes a row of a file of the kind that is read by the window `kind`, and the beginning of the
/// sentence that refuses it, if one does.
void add(const char* kind, const char* name, const std::string& text,
         const QByteArray& message = {}) {
    QTest::addRow("%s: %s", kind, name) << QByteArray(kind) << text << message;
}

/// Does with a program what a user would.
void useChip(Desk& desk, const QString& path) {
    ChipWindow& window = desk.window;
    auto& code = child<QPlainTextEdit>(window, "codeEditor");
    measure("type", window, [&] { QTest::keyClick(&code, 'x'); });
    measure("scroll", window, [&] { code.moveCursor(QTextCursor::End); });
    measure("compile", window, [&] { window.compile(); });
    measure("scan", window, [&] { window.scan(); });
    QVERIFY(!child<QPlainTextEdit>(window, "outputPane").toPlainText().isEmpty());
    window.addPaths({path});
    measure("batch", window, [&] {
        const QByteArray failure = thrownText([&] { window.batchPlans(); });
        QVERIFY(failure.isEmpty() || failure.startsWith("Batch preflight failed for <b>"));
    });
    measure("save", window, [&] { QVERIFY(window.save(false)); });
    measure("reload", window, [&] { QVERIFY(window.loadPath(path)); });
}

} // namespace

class HostileFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void survivesEveryFile_data() {
        QTest::addColumn<QByteArray>("kind");
        QTest::addColumn<std::string>("text");
        QTest::addColumn<QByteArray>("message");
        const std::size_t million = scale(1'000'000 - 10);
        const QByteArray tooManyLines = "Chip file has more than 1000000 lines of code.";
        add("chip", "100 MB", times(fullSweep() ? 100'000'000 : 16'000'001, "x"),
            "Chip file exceeds 16 MB.");
        add("chip", "lines", chipFile(times(million, "SETPIN 1 1\n")));
        add("chip", "faulty lines", chipFile(times(million, "<b>x</b>\n")));
        add("chip", "constants", chipFile(times(scale(500'000), "DIM N# 1\n") + "ENDTEST"));
        add("chip", "functions", chipFile(times(scale(400'000), "FUNC N#\nENDFUNC\n")));
        add("chip", "open blocks", chipFile(times(million, "IF EQ 1 1\n")));
        add("chip", "too many lines", chipFile("x" + times(1'000'000, "\n") + "x"), tooManyLines);
        add("chip", "too many separators", chipFile(times(1'000'001, "\u2029")), tooManyLines);
        add("chip", "one word", chipFile(times(scale(15'000'000), "w")));
        add("chip", "one line", chipFile(times(million, "1 ")));
        add("chip", "marks", chipFile("a" + times(million, "\u0301")));
        add("chip", "directions", chipFile(times(million, "\u202E\u2066\u05D0")));
        add("chip", "name", chipFile("ENDTEST", "name=<b>" + times(million, "n")));
        add("chip", "string", chipFile("ENDTEST\n[strings]\n0=" + times(scale(5'000'000), "<i>")));
        add("chip", "number", chipFile("ENDTEST", "pins=<b>" + times(million, "9")),
            "Invalid pins in the chip file: <b>99");
        add("chip", "no UTF-8", chipFile(times(million, "x") + "\xFF"),
            "The chip file could not be read as UTF-8 text.");
        const std::size_t most = scale(990'000);
        const std::string pixel = "1 0 0\n";
        add("image", "100 MB", times(fullSweep() ? 100'000'000 : 1'000'001, "x"),
            "Image file exceeds 1 MB.");
        add("image", "name",
            "name=<b>" + times(most, "n") + "\nwidth=1\nheight=1\n[data]\n" + pixel);
        add("image", "number", "width=<b>" + times(most, "9") + "\n[data]\n" + pixel,
            "Invalid image integer: <b>99");
        add("image", "line", "width=1\n[data]\n" + times(most / 2, "1 "),
            "Invalid image RLE line: 1 1");
        const std::string oneColumn = "\nwidth=1\nheight=1\nsize=1\n[data]\n";
        add("font", "100 MB", times(fullSweep() ? 100'000'000 : 4'000'001, "x"),
            "Font file is too large (maximum 4 MB).");
        add("font", "name", "name=<b>" + times(scale(3'900'000), "n") + oneColumn + "0b1");
        add("font", "word", "name=n" + oneColumn + "<b>" + times(scale(3'900'000), "1"),
            "Invalid binary column or column height: <b>11");
        add("font", "one glyph",
            "name=n\nwidth=65535\nheight=1\nsize=65535\n[data]\n" + times(65'535, "0b1 "));
    }

    void survivesEveryFile() {
        QFETCH(const QByteArray, kind);
        QFETCH(const std::string, text);
        QFETCH(const QByteArray, message);
        Desk desk;
        const QString path = desk.file(text);
        ImageWindow images(nullptr, {});
        FontWindow fonts(nullptr, {});
        QWidget* window = &desk.window;
        std::function<void()> load = [&] { desk.window.loadPath(path); };
        if (kind != "chip") {
            window = kind == "font" ? static_cast<QWidget*>(&fonts) : &images;
            load = [&] {
                child(*window, kind == "font" ? "openButton" : "loadFileButton").click();
            };
            desk.dialogs.answer(path);
        }
        const QSize size = window->size();
        window->show();
        measure("load", *window, load);
        const QByteArray shown = desk.lastBox().toUtf8();
        QVERIFY2(shown.startsWith(message) && shown.isEmpty() == message.isEmpty(), shown);
        QVERIFY(shown.size() < 3000);
        if (kind == "chip" && message.isEmpty()) {
            useChip(desk, path);
        }
        QCOMPARE(window->size(), size);
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            QVERIFY(label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()));
        }
        measure("resize", *window, [&] { window->resize(1200, 900); });
    }

    void refusesWhatIsNoFile() {
        Desk desk;
        const QString special = u"This is a pipe or a device, not a file."_s;
        const QString pipe = desk.folder.filePath(u"pipe.chip"_s);
        QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
        for (const QString& path : {pipe, u"/dev/zero"_s, desk.folder.path()}) {
            QVERIFY(!desk.window.loadPath(path));
            QCOMPARE(desk.lastBox(),
                     path == desk.folder.path() ? u"file to open is a directory"_s : special);
            child(desk.window, "clearListButton").click();
            desk.window.addPaths({path});
            QVERIFY_THROWS_EXCEPTION(std::runtime_error, desk.window.batchPlans());
        }
        desk.window.populate({.name = "n", .code = {}, .strings = {}}, pipe);
        QVERIFY(!desk.window.save(false));
        QCOMPARE(desk.lastBox(), special);
        QCOMPARE(desk.dialogs.seen.size(), 4);
    }

    void writesNothingThatItWouldNotRead() {
        Desk desk;
        const QString path = desk.file("old");
        ImageDocument image = newImage("n", 1, 1);
        image.name = times(1'000'000, "n");
        ImageWindow images(nullptr, {});
        images.adopt(image, path, true);
        QVERIFY(!images.savePath(path));
        QCOMPARE(desk.lastBox(), u"Image file exceeds 1 MB."_s);
        if (fullSweep()) {
            desk.window.populate({.name = "n", .code = times(1'000'001, "x\n"), .strings = {}},
                                 path);
            QVERIFY(!desk.window.save(false));
            QCOMPARE(desk.lastBox(), u"Chip file has more than 1000000 lines of code."_s);
        }
        QCOMPARE(QFileInfo(path).size(), 3);
    }
};

QTEST_MAIN(HostileFilesTest)
#include "HostileFilesTest.moc"
