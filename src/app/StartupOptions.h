#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace pivex {

class ChipWindow;

/// A built-in check that replaces the normal run.
enum class SelfCheck { none, fonts, images, settings, window };

/// What the command line asks for.
struct StartupOptions {
    SelfCheck selfCheck = SelfCheck::none;
    std::optional<QString> port = {}; ///< what follows the first `--connect`
    bool fonts = false;
    bool images = false;
    bool settings = false;

    bool operator==(const StartupOptions&) const = default;
};

/// Reads the argument list, the program name included. Options are whole arguments in any order;
/// whatever is unknown is ignored. Of several self-checks the font check goes before the image,
/// settings and window checks.
StartupOptions parseStartupOptions(const QStringList& arguments);

/// Connects, then opens the Font Manager, the Image Manager and the Settings window, as asked, the
/// way the user would. Does not connect while the window is connecting or connected.
void carryOut(const StartupOptions& options, ChipWindow& window);

} // namespace pivex
