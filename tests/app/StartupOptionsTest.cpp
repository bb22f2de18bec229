#include "app/StartupOptions.h"

#include <QTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

class StartupOptionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void readsTheArguments() {
        const std::pair<const char*, StartupOptions> cases[] = {
            {"PivexGUI --FONTS --fonts=1 -fonts --nothing fonts --connect", {}},
            {"PivexGUI --connect a --connect b", {.port = u"a"_s}},
            {"PivexGUI --connect --fonts", {.port = u"--fonts"_s, .fonts = true}},
            {"--settings --images --fonts", {.fonts = true, .images = true, .settings = true}},
            {"PivexGUI --smoke", {.selfCheck = SelfCheck::window}},
            {"PivexGUI --settings-smoke --smoke", {.selfCheck = SelfCheck::settings}},
            {"PivexGUI --settings-smoke --image-smoke", {.selfCheck = SelfCheck::images}},
            {"PivexGUI --image-smoke --font-smoke", {.selfCheck = SelfCheck::fonts}}};
        for (const auto& [arguments, options] : cases) {
            const QStringList words = QString::fromLatin1(arguments).split(u' ');
            QVERIFY2(parseStartupOptions(words) == options, arguments);
        }
    }
};

QTEST_APPLESS_MAIN(StartupOptionsTest)
#include "StartupOptionsTest.moc"
