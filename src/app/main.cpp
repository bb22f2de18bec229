#include "app/ChipWindow.h"
#include "app/Look.h"
#include "app/StartupOptions.h"
#include "tools/SelfChecks.h"

#include <QApplication>
#include <QSettings>

#include <cstdlib>

#include <malloc.h>

namespace {

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

/// Lets freed memory stay with the program: what reads the whole text at every keystroke would
/// otherwise give its memory back each time and get it anew page by page.
void keepFreedMemory() {
    constexpr int blockLimit = 32 * 1024 * 1024; // the most that the C library takes
    mallopt(M_MMAP_THRESHOLD, blockLimit);
    mallopt(M_TRIM_THRESHOLD, 2 * blockLimit);
}

/// Keeps the toolkit's dialogs from noting where they have been: every start finds the same state.
void keepNoSettings() {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, u"/dev/null"_s);
}

int exitCode(bool passed) {
    return passed ? EXIT_SUCCESS : EXIT_FAILURE;
}

int runWindow(const StartupOptions& options) {
    ChipWindow window;
    if (options.selfCheck == SelfCheck::window) {
        return exitCode(window.smoke());
    }
    window.show();
    carryOut(options, window);
    return QApplication::exec();
}

} // namespace

int main(int argc, char* argv[]) {
    keepFreedMemory();
    const std::future<void> fonts = findFonts();
    const QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(u"org.pivex.PivexGUI"_s);
    keepNoSettings();
    applyLook();
    fonts.wait();
    const StartupOptions options = parseStartupOptions(QApplication::arguments());
    switch (options.selfCheck) {
    case SelfCheck::fonts:
        return exitCode(linuxFontSmoke());
    case SelfCheck::images:
        return exitCode(linuxImageSmoke());
    case SelfCheck::settings:
        return exitCode(linuxSettingsSmoke());
    case SelfCheck::window:
    case SelfCheck::none:
        return runWindow(options);
    }
}
