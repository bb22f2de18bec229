#include "app/Look.h"

#include "app/FocusMark.h"

#include <QApplication>
#include <QPalette>

#include <fontconfig/fontconfig.h>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

struct RoleColor {
    QPalette::ColorRole role;
    QRgb color;
};

constexpr RoleColor roleColors[] = {
    {QPalette::Window, 0x22292c},
    {QPalette::WindowText, 0xe1e5e7},
    {QPalette::Base, 0x1c2225},
    {QPalette::AlternateBase, 0x30383c},
    {QPalette::Text, 0xe1e5e7},
    {QPalette::Button, 0x343e42},
    {QPalette::ButtonText, 0xe1e5e7},
    {QPalette::Highlight, 0x2677b7},
    {QPalette::HighlightedText, 0xffffff},
};

} // namespace

std::future<void> findFonts() {
    // Without fonts it fails, and the toolkit says so.
    return std::async(std::launch::async, [] { FcInit(); });
}

void applyLook() {
    // A desktop's own dialog asks about the name as it is typed; with the suffix that comes to it
    // later it would replace another file without a question.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setStyle(u"Fusion"_s);
    QPalette palette;
    for (const auto& [role, color] : roleColors) {
        palette.setColor(role, QColor(color));
    }
    QApplication::setPalette(palette);
    qApp->setStyleSheet(u"QPushButton { padding: 5px 9px; } QLineEdit { padding: 3px; } "
                        "QSplitter::handle { background: #384246; }"_s);
    markKeyboardFocus();
}

} // namespace pivex
