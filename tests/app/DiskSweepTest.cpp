#include "DiskFaults.h"
#include "app/ChipWindow.h"
#include "model/ChipFileCodec.h"
#include "support/Dialogs.h"
#include "support/Sweep.h"
#include "tools/FontWindowPrivate.h"
#include "tools/ImageWindowPrivate.h"

#include <QtWidgets>

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

constexpr const char* fileName = "file.txt";
constexpr const char* linkTarget = "target";
const std::string oldText = "what stood there before\n";

/// What stands at the path of the file to save, and on what kind of file system.
enum class Place { New, Old, Link, OldNamed, OldLocked };

/// A window whose document is saved to a path, again and again.
struct Desk {
    std::unique_ptr<QWidget> window;
    std::string text;           ///< what the file holds then
    std::function<void()> edit; ///< opens the document as an unsaved change of the file
    std::function<void()> save;

    /// Whether it says so, and asks before it closes.
    bool isUnsaved() const { return window->windowTitle().endsWith(u" *"_s) && !window->close(); }
};

/// Its text is too long for the buffer that a short one is written through.
Desk chipDesk(const QString& path) {
    auto window = std::make_unique<ChipWindow>();
    ChipDocument chip;
    chip.strings = {"edited", std::string(40'000, 'x')};
    const auto edit = [&window = *window, chip, path] {
        window.populate(chip, path);
        child<QLineEdit>(window, "nameEdit").setText(u"Chip"_s);
    };
    const auto save = [&window = *window] { window.save(false); };
    chip.name = "Chip";
    return {std::move(window), encodeChip(chip), edit, save};
}

Desk imageDesk(const QString& path) {
    auto window = std::make_unique<ImageWindow>(nullptr, LinuxImageHooks());
    const ImageDocument image = newImage("Image", 20, 100);
    const auto edit = [&window = *window, image, path] { window.adopt(image, path, true); };
    const auto save = [&window = *window, path] { window.savePath(path); };
    return {std::move(window), image.text(), edit, save};
}

Desk fontDesk(const QString& path) {
    auto window = std::make_unique<FontWindow>(nullptr, LinuxFontHooks());
    const FontDocument font{.name = "Font", .width = 5, .height = 7, .columns = Bytes(475)};
    const auto edit = [&window = *window, font, path] { window.adopt(font, path, true); };
    const auto save = [&window = *window] { child(window, "saveButton").click(); };
    return {std::move(window), font.text(), edit, save};
}

using MakeDesk = Desk (*)(const QString&);

constexpr std::array<std::pair<const char*, MakeDesk>, 3> kinds{
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
    Trials(const QString& home, MakeDesk makeDesk, Place where)
        : folder(home.toStdString()),
          place(where),
          desk(makeDesk(QString::fromStdString(path.string()))) {}

    /// Saves with a disk that has a fault.
    void save(const DiskWatch& fault) {
        prepare(fault);
        const std::size_t filesBefore = namesIn("/proc/self/fd").size();
        crowd(true);
        saveWatched();
        crowd(false);
        const QList<SeenDialog> boxes = dialogs.seen;
        isSaved = !desk.isUnsaved();
        expect(content(path) == (isSaved ? desk.text : before), "spoils the file");
        // Root would not notice.
        constexpr auto owner = fs::perms::owner_read;
        expect(!fs::exists(path) || (fs::status(path).permissions() & owner) == owner, "locks it");
        expect(boxes.size() == (isSaved ? 0 : 1) && boxes.value(0).text.isEmpty() == isSaved,
               "does not say why, once");
        // The system tells only once that it could not keep what was written.
        expect(!isSaved || did("fdatasync") < did("fdatasync!"), "claims what was not kept");
        if (isSaved) {
            names.insert(fileName);
        }
        expect(did("unlink!") < std::ssize(watch.calls) || namesIn(folder) == names,
               "leaves litter");
        expect(namesIn("/proc/self/fd").size() == filesBefore, "leaves a file open");
        desk.save();
        expect(!desk.isUnsaved() && content(path) == desk.text, "cannot be saved afterwards");
    }

    /// Dies in the middle of a save.
    void die(int call) {
        prepare({.call = call});
        const pid_t child = fork();
        if (child == 0) {
            saveWatched();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        expect(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL, "lives on");
        expect(content(path) == before || content(path) == desk.text, "destroys the file");
        // Nobody can tidy up after a kill: a whole copy beside the file is right at the moment
        // when it is to take the file's place, and a copy at any time where files must have names.
        for (const std::string& name : namesIn(folder)) {
            const bool isCopy = name.starts_with(fileName) || name.starts_with(linkTarget);
            const bool isWhole = content(folder / name) == desk.text || place == Place::OldNamed;
            expect(names.contains(name) || (isCopy && isWhole), "leaves litter");
        }
    }

    DiskWatch watch;      ///< over the last save
    bool isSaved = false; ///< whether the last save says that it succeeded
    QStringList found;    ///< what went wrong

    /// Takes the room of the disk before a save, and gives it back.
    std::function<void(bool)> crowd = [](bool) {};

private:
    void expect(bool isRight, const char* finding) {
        if (!isRight) {
            found << u"call %1, error %2, lasting %3: %4"_s.arg(watch.call)
                         .arg(watch.error)
                         .arg(watch.lasts)
                         .arg(QString::fromUtf8(finding));
        }
    }

    /// When the last save first called this; after its last call if it did not.
    std::ptrdiff_t did(const char* call) const {
        return std::ranges::find(watch.calls, call) - watch.calls.begin();
    }

    void prepare(const DiskWatch& fault) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            fs::remove(entry);
        }
        if (place == Place::Link) {
            fs::create_symlink(linkTarget, path);
        }
        if (place != Place::New) {
            std::ofstream(path) << oldText;
        }
        before = content(path);
        names = namesIn(folder);
        desk.edit();
        dialogs.forget();
        watch = fault;
        watch.folder = folder.string();
        watch.newFiles = place == Place::OldNamed    ? NewFiles::Named
                         : place == Place::OldLocked ? NewFiles::None
                                                     : NewFiles::Any;
    }

    void saveWatched() {
        diskWatch = &watch;
        desk.save();
        diskWatch = nullptr;
    }

    fs::path folder;
    fs::path path = folder / fileName;
    Place place;
    Dialogs dialogs;
    Desk desk;
    std::optional<std::string> before; ///< what the file held before the save
    std::set<std::string> names;       ///< in the folder before the save
};

/// A file system of a few blocks in memory, where the user may mount one.
struct SmallDisk {
    QTemporaryDir folder{};
    bool isMounted = hasBlocks(size, 0);

    static constexpr std::uintmax_t size = 128;

    ~SmallDisk() { umount2(qPrintable(folder.path()), MNT_DETACH); }

    bool hasBlocks(std::uintmax_t blocks, unsigned long flags) const {
        const std::string count = "nr_blocks=" + std::to_string(blocks);
        return mount("tmpfs", qPrintable(folder.path()), "tmpfs", flags, count.c_str()) == 0;
    }

    /// Leaves so many blocks free.
    void leave(std::uintmax_t blocks) const {
        const fs::space_info room = fs::space(folder.path().toStdString());
        QVERIFY(hasBlocks(blocks + (room.capacity - room.free) / 4096, MS_REMOUNT));
    }
};

} // namespace

class DiskSweepTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void keepsTheFileWhateverFails() {
        int sampled = 0;
        for (const auto& [kind, makeDesk] : kinds) {
            for (const Place place :
                 {Place::New, Place::Old, Place::Link, Place::OldNamed, Place::OldLocked}) {
                const QTemporaryDir folder;
                Trials trials(folder.path(), makeDesk, place);
                trials.save({});
                QCOMPARE(trials.isSaved, place != Place::OldLocked);
                const int calls = static_cast<int>(trials.watch.calls.size());
                for (int call = 0; call < calls; ++call) {
                    for (const int error : {ENOSPC, EIO, EDQUOT, EACCES, EPERM, EROFS}) {
                        if (++sampled % sweepStride(5) == 0) {
                            trials.save({.call = call, .error = error});
                            trials.save({.call = call, .error = error, .lasts = true});
                        }
                    }
                    trials.die(call);
                }
                qInfo("%s at place %d: %d calls", kind, static_cast<int>(place), calls);
                QCOMPARE(trials.found.join(u'\n'), QString());
            }
        }
    }

    void keepsTheFileOnAFullDisk() {
        const SmallDisk disk;
        if (!disk.isMounted) {
            QSKIP("only root may mount a small file system");
        }
        for (const auto& [name, makeDesk] : kinds) {
            Trials trials(disk.folder.path(), makeDesk, Place::Old);
            std::uintmax_t blocks = 0;
            trials.crowd = [&](bool isOn) { disk.leave(isOn ? blocks : SmallDisk::size); };
            for (; !trials.isSaved && blocks < SmallDisk::size; ++blocks) {
                trials.save({});
            }
            QCOMPARE(trials.found.join(u'\n'), QString());
            QVERIFY(trials.isSaved && blocks > 1);
            qInfo("%s: saved with %d free blocks", name, static_cast<int>(blocks) - 1);
        }
    }
};

QTEST_MAIN(DiskSweepTest)
#include "DiskSweepTest.moc"
