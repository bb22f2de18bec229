#include "DiskFaults.h"
#include "app/ChipWindow.h"
#include "model/ChipFileCodec.h"
#include "support/Dialogs.h"
#include "support/Sweep.h"
#include "tools/FontWindowPrivate.h"
#include "tools/ImageWindowPrivate.h"

#include <QLineEdit>
#include <QTemporaryDir>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr std::array errors{ENOSPC, EIO, EDQUOT, EACCES, EPERM, EROFS};
constexpr const char* fileName = "file.txt";
constexpr const char* linkTarget = "target";
const std::string oldText = "what stood there before\n";

/// What stands at the path of the file to save, and on what kind of file system.
enum class Place { New, Old, Link, OldNamed, OldLocked };

/// A window whose document is saved to a path, again and again.
struct Desk {
    std::unique_ptr<QWidget> window;
    std::function<void()> edit; ///< opens the document as an unsaved change of the file
    std::function<void()> save;
    std::string text; ///< what the file then holds

    bool isUnsaved() const { return window->windowTitle().endsWith(u" *"_s); }
};

/// Its text is too long for the buffer that a short one is written through.
Desk chipDesk(const QString& path) {
    auto window = std::make_unique<ChipWindow>();
    ChipDocument chip;
    chip.name = "Chip";
    chip.strings = {"edited", std::string(40'000, 'x')};
    const auto edit = [&window = *window, chip, path] {
        ChipDocument before = chip;
        before.strings[0].clear();
        window.populate(before, path);
        child<QLineEdit>(window, "string0").setText(u"edited"_s);
    };
    const auto save = [&window = *window] { child(window, "saveFileButton").click(); };
    return {std::move(window), edit, save, encodeChip(chip)};
}

Desk imageDesk(const QString& path) {
    auto window = std::make_unique<ImageWindow>(nullptr, LinuxImageHooks());
    const ImageDocument image = newImage("Image", 20, 100);
    const auto edit = [&window = *window, image, path] { window.adopt(image, path, true); };
    const auto save = [&window = *window, path] { window.savePath(path); };
    return {std::move(window), edit, save, image.text()};
}

Desk fontDesk(const QString& path) {
    auto window = std::make_unique<FontWindow>(nullptr, LinuxFontHooks());
    const FontDocument font{.name = "Font", .width = 5, .height = 7, .columns = Bytes(475)};
    const auto edit = [&window = *window, font, path] { window.adopt(font, path, true); };
    const auto save = [&window = *window] { child(window, "saveButton").click(); };
    return {std::move(window), edit, save, font.text()};
}

constexpr std::array<std::pair<const char*, Desk (*)(const QString&)>, 3> kinds{
    {{"chip", chipDesk}, {"image", imageDesk}, {"font", fontDesk}}};

std::optional<std::string> content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::optional(std::string(std::istreambuf_iterator(file), {})) : std::nullopt;
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

/// A folder with the file to save, saves that go wrong, and what they leave behind.
class Trials {
public:
    Trials(const fs::path& home, Desk (*makeDesk)(const QString&), Place where)
        : folder(home), place(where), desk(makeDesk(QString::fromStdString(path().string()))) {}

    /// Saves with `fault`; what is wrong afterwards, empty if nothing is.
    QString save(const DiskFault& fault) {
        prepare();
        const std::size_t filesBefore = namesIn("/proc/self/fd").size();
        crowd(true);
        calls = watch(fault);
        ++count;
        isSaved = !desk.isUnsaved();
        QStringList found = findings();
        if (namesIn("/proc/self/fd").size() != filesBefore) {
            found << u"leaves a file open"_s;
        }
        crowd(false);
        desk.save();
        if (desk.isUnsaved() || content(path()) != desk.text) {
            found << u"cannot be saved afterwards"_s;
        }
        return report(found, fault);
    }

    /// Dies in the middle of a save; what is wrong afterwards.
    QString die(int call) {
        prepare();
        const pid_t child = fork();
        if (child == 0) {
            watch({.call = call});
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        ++count;
        QStringList found;
        if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) {
            found << u"lives on"_s;
        }
        if (const auto now = content(path()); now != before() && now != desk.text) {
            found << u"destroys the file"_s;
        }
        checkRemains(found);
        return report(found, {.call = call});
    }

    std::vector<std::string> calls; ///< of the last save
    bool isSaved = false;           ///< whether the last save says that it succeeded
    int count = 0;                  ///< of all trials

    /// Takes the room of the disk before a save, and gives it back.
    std::function<void(bool)> crowd = [](bool) {};

private:
    fs::path path() const { return folder / fileName; }

    std::optional<std::string> before() const {
        return place == Place::New ? std::nullopt : std::optional(oldText);
    }

    void prepare() {
        for (const auto& entry : fs::directory_iterator(folder)) {
            fs::remove(entry);
        }
        if (place == Place::Link) {
            fs::create_symlink(linkTarget, path());
        }
        if (place != Place::New) {
            std::ofstream(path()) << oldText;
        }
        names = namesIn(folder);
        desk.edit();
        dialogs.forget();
    }

    std::vector<std::string> watch(DiskFault fault) {
        fault.newFiles = place == Place::OldNamed    ? NewFiles::Named
                         : place == Place::OldLocked ? NewFiles::None
                                                     : NewFiles::Any;
        DiskWatch disk(folder.string(), fault);
        desk.save();
        return disk.calls;
    }

    QStringList findings() const {
        QStringList found;
        const auto expect = [&](bool isRight, const QString& finding) {
            found << (isRight ? QStringList() : QStringList(finding));
        };
        expect(content(path()) == (isSaved ? desk.text : before()), u"spoils the file"_s);
        expect(dialogs.seen.size() == (isSaved ? 0 : 1),
               u"shows %1 boxes"_s.arg(dialogs.seen.size()));
        expect(isSaved || (!dialogs.seen.isEmpty() && !dialogs.seen.first().text.isEmpty()),
               u"does not say why"_s);
        // The system tells only once that it could not keep what was written.
        const auto kept = std::ranges::find_if(
            calls, [](const std::string& call) { return call.starts_with("fdatasync"); });
        expect(!isSaved || (kept != calls.end() && *kept == "fdatasync"),
               u"claims what the disk did not keep"_s);
        const bool cannotTidy = std::ranges::find(calls, "unlink!") != calls.end();
        std::set<std::string> wanted = names;
        if (isSaved) {
            wanted.insert(fileName);
        }
        expect(cannotTidy || namesIn(folder) == wanted, u"leaves litter"_s);
        return found;
    }

    /// Nobody can tidy up after a kill: a whole copy beside the file is right at the moment when
    /// it is to take the file's place, and a copy at any time where files must have names.
    void checkRemains(QStringList& found) const {
        for (const std::string& name : namesIn(folder)) {
            const bool isCopy = name.starts_with(fileName) || name.starts_with(linkTarget);
            const bool isWhole = content(folder / name) == desk.text;
            if (!names.contains(name) && !(isCopy && (isWhole || place == Place::OldNamed))) {
                found << u"leaves "_s + QString::fromStdString(name);
            }
        }
    }

    QString report(const QStringList& found, const DiskFault& fault) const {
        const std::string call = fault.call >= 0 && fault.call < std::ssize(calls)
                                     ? calls[static_cast<std::size_t>(fault.call)]
                                     : "none";
        return found.isEmpty() ? QString()
                               : u"call %1 (%2), error %3, lasting %4: %5"_s.arg(
                                     QString::number(fault.call), QString::fromStdString(call),
                                     QString::number(fault.error),
                                     QString::number(int{fault.lasts}), found.join(u", "_s));
    }

    fs::path folder;
    Place place;
    Dialogs dialogs;
    Desk desk;
    std::set<std::string> names; ///< in the folder before the save
};

/// A file system of a few blocks in memory, where the user may mount one.
class SmallDisk {
public:
    static constexpr std::uintmax_t blockSize = 4096;
    static constexpr std::uintmax_t size = 128; ///< in blocks

    explicit SmallDisk(fs::path where) : place(std::move(where)) {
        const std::string blocks = "nr_blocks=" + std::to_string(size);
        mounted = mount("tmpfs", place.c_str(), "tmpfs", 0, blocks.c_str()) == 0 &&
                  fs::create_directory(desk());
    }

    ~SmallDisk() {
        if (mounted) {
            umount2(place.c_str(), MNT_DETACH);
        }
    }

    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool isMounted() const { return mounted; }

    fs::path desk() const { return place / "desk"; }

    /// Leaves `blocks` free, or as many as there are.
    void leave(std::uintmax_t blocks) const {
        const fs::path ballast = place / "ballast";
        fs::remove(ballast);
        const fs::space_info room = fs::space(place);
        const std::uintmax_t ballastSize = room.free - std::min(room.free, blocks * blockSize);
        std::ofstream(ballast) << std::string(ballastSize, 'x');
    }

private:
    fs::path place;
    bool mounted;
};

} // namespace

class DiskSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsTheFileWhateverFails_data();
    void keepsTheFileWhateverFails();
    void keepsTheFileOnAFullDisk_data();
    void keepsTheFileOnAFullDisk();
};

void DiskSweepTest::keepsTheFileWhateverFails_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<Place>("place");
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        for (const auto& [name, place] :
             {std::pair("new", Place::New), std::pair("old", Place::Old),
              std::pair("linked", Place::Link), std::pair("named", Place::OldNamed),
              std::pair("locked", Place::OldLocked)}) {
            QTest::addRow("%s, %s", kinds[kind].first, name) << static_cast<int>(kind) << place;
        }
    }
}

void DiskSweepTest::keepsTheFileWhateverFails() {
    QFETCH(const int, kind);
    QFETCH(const Place, place);
    const QTemporaryDir folder;
    Trials trials(folder.path().toStdString(), kinds.at(static_cast<std::size_t>(kind)).second,
                  place);
    QStringList found(trials.save({}));
    QCOMPARE(trials.isSaved, place != Place::OldLocked);
    const int calls = static_cast<int>(trials.calls.size());
    for (int call = 0; call < calls; ++call) {
        // A sample takes turns with the errors.
        for (std::size_t at = 0; at < errors.size(); ++at) {
            if (fullSweep() || (static_cast<std::size_t>(call + kind) + at) % errors.size() == 0) {
                found << trials.save({.call = call, .error = errors[at]});
                found << trials.save({.call = call, .error = errors[at], .lasts = true});
            }
        }
        found << trials.die(call);
    }
    found.removeAll({});
    QVERIFY2(found.isEmpty(), qPrintable(u'\n' + found.join(u'\n')));
    qInfo("%d calls, %d saves", calls, trials.count);
}

void DiskSweepTest::keepsTheFileOnAFullDisk_data() {
    QTest::addColumn<int>("kind");
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        QTest::newRow(kinds[kind].first) << static_cast<int>(kind);
    }
}

void DiskSweepTest::keepsTheFileOnAFullDisk() {
    QFETCH(const int, kind);
    const QTemporaryDir folder;
    const SmallDisk disk(folder.path().toStdString());
    if (!disk.isMounted()) {
        QSKIP("only root may mount a small file system");
    }
    Trials trials(disk.desk(), kinds.at(static_cast<std::size_t>(kind)).second, Place::Old);
    QStringList found;
    int refusals = 0;
    std::uintmax_t blocks = 0;
    trials.crowd = [&](bool isCrowded) { disk.leave(isCrowded ? blocks : SmallDisk::size); };
    for (; refusals == static_cast<int>(blocks); ++blocks) {
        found << trials.save({});
        refusals += trials.isSaved ? 0 : 1;
    }
    found.removeAll({});
    QVERIFY2(found.isEmpty(), qPrintable(u'\n' + found.join(u'\n')));
    QVERIFY(refusals > 0);
    qInfo("refused with 0 to %d free blocks, saved with %d", refusals - 1, refusals);
}

QTEST_MAIN(DiskSweepTest)
#include "DiskSweepTest.moc"
