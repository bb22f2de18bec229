#include "app/StartupOptions.h"

#include "app/ChipWindow.h"

#include <algorithm>
#include <iterator>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

struct CheckOption {
    const char* name;
    SelfCheck check;
};

constexpr CheckOption checkOptions[] = {
    {"--font-smoke", SelfCheck::fonts},
    {"--image-smoke", SelfCheck::images},
    {"--settings-smoke", SelfCheck::settings},
    {"--smoke", SelfCheck::window},
};

SelfCheck askedCheck(const QStringList& arguments) {
    const auto* found = std::ranges::find_if(checkOptions, [&](const CheckOption& option) {
        return arguments.contains(QLatin1StringView(option.name));
    });
    return found == std::end(checkOptions) ? SelfCheck::none : found->check;
}

std::optional<QString> askedPort(const QStringList& arguments) {
    const qsizetype at = arguments.indexOf("--connect"_L1);
    if (at < 0 || at + 1 == arguments.size()) {
        return {};
    }
    return arguments[at + 1];
}

} // namespace

StartupOptions parseStartupOptions(const QStringList& arguments) {
    return {
        .selfCheck = askedCheck(arguments),
        .port = askedPort(arguments),
        .fonts = arguments.contains("--fonts"_L1),
        .images = arguments.contains("--images"_L1),
        .settings = arguments.contains("--settings"_L1),
    };
}

void carryOut(const StartupOptions& options, ChipWindow& window) {
    if (options.port) {
        window.connectTo(*options.port);
    }
    if (options.fonts) {
        window.openFonts();
    }
    if (options.images) {
        window.openImages();
    }
    if (options.settings) {
        window.openSettings();
    }
}

} // namespace pivex
