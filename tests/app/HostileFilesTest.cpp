#include "app/ChipWindow.h"
#include "support/Dialogs.h"
#include "support/Sweep.h"
#include "tools/FontWindow.h"
#include "tools/ImageWindowPrivate.h"

#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTemporaryDir>

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
    return fullSweep() ? full : std::max<std::size_t>(full / sample, 1);
}

std::string times(std::size_t count, std::string_view piece) {
    std::string text;
    text.reserve(count * piece.size());
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

std::string numbered(std::size_t count, std::string_view before, std::string_view after) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.append(before).append(std::to_string(i)).append(after);
    }
    return text;
}

std::string chipFile(const std::string& code, const std::string& name = "n",
                     const std::string& string = {}, const std::string& pins = "14") {
    return "[chips]\n[meta]\nname=" + name + "\npins=" + pins + "\n[code]\n" + code +
           "\n[strings]\n0=" + string + "\n";
}

std::string imageFile(const std::string& keys, const std::string& data) {
    return keys + "\n[data]\n" + data;
}

std::string fontFile(const std::string& name, std::size_t columns, const std::string& data,
                     const std::string& width = "1") {
    return "name=" + name + "\nwidth=" + width + "\nheight=1\nsize=" + std::to_string(columns) +
           "\n[data]\n" + data;
}

/// The most memory that this process has had since the last call, in megabytes.
long peakMemory() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line) && !line.starts_with("VmHWM:")) {
    }
    std::ofstream("/proc/self/clear_refs") << '5';
    return line.empty() ? 0 : std::stol(line.substr(6)) / 1024;
}

double userSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

/// Does `action` and shows what it changed; prints what that took.
void measure(const char* what, QWidget& window, const std::function<void()>& action) {
    const double before = userSeconds();
    peakMemory();
    action();
    window.grab();
    const double seconds = userSeconds() - before;
    if (const long memory = peakMemory(); fullSweep() || seconds > 1) {
        qInfo("%-8s %6.1f s %5ld MB", what, seconds, memory);
    }
    // Nothing may take the memory of the whole machine.
    QVERIFY(peakMemory() < 3000);
}

void write(const QString& path, const std::string& text) {
    std::ofstream(path.toStdString(), std::ios::binary) << text;
}

/// A main window, a folder for its files and what it says.
struct Desk {
    Dialogs dialogs;
    QTemporaryDir folder;
    ChipWindow window;

    QString path(const QString& name) const { return folder.filePath(name); }

    void click(const char* button) { child(window, button).click(); }

    QString lastBox() const {
        return dialogs.seen.isEmpty() ? QString() : dialogs.seen.last().text;
    }
};

} // namespace

class HostileFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void survivesChipFiles_data();
    void survivesChipFiles();
    void survivesArtworkFiles_data();
    void survivesArtworkFiles();
    void refusesWhatIsNoFile();
    void writesNothingThatItWouldNotRead();
};

void HostileFilesTest::survivesChipFiles_data() {
    QTest::addColumn<std::string>("text");
    QTest::addColumn<QString>("message");
    const auto add = [](const char* name, const std::string& text, const QString& message = {}) {
        QTest::newRow(name) << text << message;
    };
    const std::size_t million = scale(1'000'000 - 10);
    add("100 MB", times(fullSweep() ? 100'000'000 : 16'000'001, "x"),
        u"Chip file exceeds 16 MB."_s);
    add("lines", chipFile(times(million, "SETPIN 1 1\n")));
    add("faulty lines", chipFile(times(million, "<b>x</b>\n")));
    add("faulty constants", chipFile(times(million, "DIM 1 1\n")));
    add("constants", chipFile(numbered(scale(500'000), "DIM N", " 1\n") + "ENDTEST"));
    add("functions", chipFile(numbered(scale(400'000), "FUNC N", "\nENDFUNC\n")));
    add("open blocks", chipFile(times(million, "IF EQ 1 1\n")));
    add("endless comment", chipFile("/*" + times(million, "x\n")));
    add("empty lines", chipFile("x" + times(million, "\n") + "x"));
    add("too many lines", chipFile("x" + times(1'000'000, "\n") + "x"),
        u"Chip file has more than 1000000 lines of code."_s);
    add("too many separators", chipFile(times(1'000'001, "\u2029")),
        u"Chip file has more than 1000000 lines of code."_s);
    add("sections", times(million, "[x]\n") + chipFile("ENDTEST"));
    add("one word", chipFile(times(scale(15'000'000), "w")));
    add("one line", chipFile(times(million, "1 ")));
    add("comments", chipFile(times(million, "/*<i>*/")));
    add("marks", chipFile("a" + times(million, "\u0301")));
    add("directions", chipFile(times(million, "\u202E\u2066\u05D0")));
    add("zeros", chipFile(std::string(million, '\0')));
    add("name", chipFile("ENDTEST", "<b>" + times(million, "n")));
    add("string", chipFile("ENDTEST", "n", times(scale(15'000'000), "<i>")));
    add("number", chipFile("ENDTEST", "n", {}, "<b>" + times(million, "9")),
        u"Invalid pins in the chip file: <b>99"_s);
    add("no UTF-8", chipFile(times(million, "x") + "\xFF"),
        u"The chip file could not be read as UTF-8 text."_s);
}

void HostileFilesTest::survivesChipFiles() {
    QFETCH(const std::string, text);
    QFETCH(const QString, message);
    Desk desk;
    ChipWindow& window = desk.window;
    const QString path = desk.path(u"<b>hostile.chip"_s);
    write(path, text);
    window.show();
    window.addPaths({path});
    child<QListWidget>(window, "chipFileList").setCurrentRow(0);
    measure("load", window, [&] { desk.click("loadButton"); });
    QVERIFY2(desk.lastBox().startsWith(message), qPrintable(desk.lastBox()));
    QVERIFY(desk.lastBox().size() < 3000);
    QCOMPARE(desk.dialogs.seen.size(), message.isEmpty() ? 0 : 1);
    if (!message.isEmpty()) {
        return;
    }
    auto& code = child<QPlainTextEdit>(window, "codeEditor");
    measure("type", window, [&] { QTest::keyClick(&code, 'x'); });
    measure("scroll", window, [&] { code.moveCursor(QTextCursor::End); });
    measure("compile", window, [&] { desk.click("compileButton"); });
    measure("scan", window, [&] { desk.click("scanButton"); });
    QVERIFY(!child<QPlainTextEdit>(window, "outputPane").toPlainText().isEmpty());
    measure("batch", window, [&] {
        try {
            window.batchPlans();
        } catch (const std::runtime_error& failure) {
            QVERIFY(std::string_view(failure.what()).starts_with("Batch preflight failed for <b>"));
        }
    });
    measure("save", window, [&] { QVERIFY(window.save(false)); });
    measure("reload", window, [&] { QVERIFY(window.loadPath(path)); });
    QCOMPARE(window.size(), QSize(1180, 820));
}

void HostileFilesTest::survivesArtworkFiles_data() {
    QTest::addColumn<bool>("isFont");
    QTest::addColumn<std::string>("text");
    QTest::addColumn<QString>("message");
    const auto add = [](const char* name, bool isFont, const std::string& text,
                        const QString& message = {}) {
        QTest::newRow(name) << isFont << text << message;
    };
    const std::size_t million = scale(990'000);
    const std::string tiny = "1 0 0\n";
    add("image of 100 MB", false, times(fullSweep() ? 100'000'000 : 1'000'001, "x"),
        u"Image file exceeds 1 MB."_s);
    add("image name", false,
        imageFile("name=<b>" + times(million, "n") + "\nwidth=1\nheight=1", tiny));
    add("image number", false, imageFile("width=<b>" + times(million, "9"), tiny),
        u"Invalid image integer: <b>99"_s);
    add("image line", false, imageFile("width=1", times(million / 2, "1 ")),
        u"Invalid image RLE line: 1 1"_s);
    add("image runs", false, imageFile("width=1", times(scale(160'000), tiny)),
        fullSweep() ? u"Invalid or oversized image RLE data."_s : u"Image size must be"_s);
    add("image of single pixels", false,
        imageFile("name=n\nwidth=160\nheight=128", times(std::size_t{160} * 128, tiny)));
    add("font of 100 MB", true, times(fullSweep() ? 100'000'000 : 4'000'001, "x"),
        u"Font file is too large (maximum 4 MB)."_s);
    add("font name", true, fontFile("<b>" + times(scale(3'900'000), "n"), 1, "0b1"));
    add("font word", true, fontFile("n", 1, "<b>" + times(scale(3'900'000), "1")),
        u"Invalid binary column or column height: <b>11"_s);
    add("font glyphs", true, fontFile("n", 65'535, times(65'535, "0b1 ")));
    add("font glyph", true, fontFile("n", 65'535, times(65'535, "0b1 "), "65535"));
    add("font columns", true, fontFile("n", 65'536, times(65'536, "0b1 ")),
        u"Font exceeds 65535 columns."_s);
    add("font width", true, fontFile("n", 1, "0b1", "2147483647"),
        u"Font contains an incomplete glyph."_s);
}

void HostileFilesTest::survivesArtworkFiles() {
    QFETCH(const bool, isFont);
    QFETCH(const std::string, text);
    QFETCH(const QString, message);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"<b>hostile.txt"_s);
    write(path, text);
    Dialogs dialogs;
    const std::unique_ptr<QWidget> window(isFont ? openLinuxFontWindow(nullptr, {}, {})
                                                 : openLinuxImageWindow(nullptr, {}, {}));
    dialogs.answer([path](QWidget* dialog) {
        qobject_cast<QFileDialog*>(dialog)->selectFile(path);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    measure("load", *window,
            [&] { child(*window, isFont ? "openButton" : "loadFileButton").click(); });
    QCOMPARE(dialogs.seen.size(), message.isEmpty() ? 1 : 2);
    const QString shown = message.isEmpty() ? QString() : dialogs.seen.last().text;
    QVERIFY2(shown.startsWith(message) && shown.size() < 3000, qPrintable(shown));
    QCOMPARE(window->size(), QSize(1180, 740));
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        QVERIFY(label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()));
    }
    measure("resize", *window, [&] { window->resize(1200, 800); });
}

void HostileFilesTest::refusesWhatIsNoFile() {
    Desk desk;
    const QString special = u"This is a pipe or a device, not a file."_s;
    const QString pipe = desk.path(u"pipe.chip"_s);
    QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
    for (const QString& path : {pipe, u"/dev/zero"_s, desk.folder.path()}) {
        QVERIFY(!desk.window.loadPath(path));
        QCOMPARE(desk.lastBox(),
                 path == desk.folder.path() ? u"file to open is a directory"_s : special);
        desk.click("clearListButton");
        desk.window.addPaths({path});
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, desk.window.batchPlans());
    }
    ChipDocument chip;
    chip.name = "n";
    desk.window.populate(chip, pipe);
    QVERIFY(!desk.window.save(false));
    QCOMPARE(desk.lastBox(), special);
    QCOMPARE(desk.dialogs.seen.size(), 4);
}

void HostileFilesTest::writesNothingThatItWouldNotRead() {
    Desk desk;
    const QString path = desk.path(u"kept"_s);
    write(path, "old");
    ImageDocument image = newImage("n", 1, 1);
    image.name = times(1'000'000, "n");
    ImageWindow images(nullptr, {});
    images.adopt(image, path, true);
    QVERIFY(!images.savePath(path));
    QCOMPARE(desk.lastBox(), u"Image file exceeds 1 MB."_s);
    if (fullSweep()) {
        ChipDocument chip;
        chip.name = "n";
        chip.code = times(1'000'001, "x\n");
        desk.window.populate(chip, path);
        QVERIFY(!desk.window.save(false));
        QCOMPARE(desk.lastBox(), u"Chip file has more than 1000000 lines of code."_s);
    }
    QCOMPARE(QFileInfo(path).size(), 3);
}

QTEST_MAIN(HostileFilesTest)
#include "HostileFilesTest.moc"
