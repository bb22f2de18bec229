#include "app/ChipWindow.h"
#include "app/Look.h"
#include "app/StartupOptions.h"
#include "tools/SelfChecks.h"

#include <QApplication>

#include <cstdlib>

namespace {

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

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
    const QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(u"org.pivex.PivexGUI"_s);
    applyLook();
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
