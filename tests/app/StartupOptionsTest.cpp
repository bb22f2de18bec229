#include "app/StartupOptions.h"

#include <QTest>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

class StartupOptionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void readsTheArguments_data() {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<StartupOptions>("options");
        const auto row = [](const char* arguments, const StartupOptions& options) {
            QTest::newRow(arguments) << QString::fromLatin1(arguments) << options;
        };
        row("PivexGUI", {});
        row("PivexGUI --FONTS --fonts=1 -fonts --nothing fonts", {});
        row("PivexGUI --connect", {});
        row("PivexGUI --connect /dev/ttyUSB9", {.port = u"/dev/ttyUSB9"_s});
        row("PivexGUI --connect a --connect b", {.port = u"a"_s});
        row("PivexGUI --connect --connect", {.port = u"--connect"_s});
        row("PivexGUI --connect --fonts", {.port = u"--fonts"_s, .fonts = true});
        row("PivexGUI --settings --images --fonts",
            {.fonts = true, .images = true, .settings = true});
        row("--images", {.images = true});
        row("PivexGUI --smoke", {.selfCheck = SelfCheck::window});
        row("PivexGUI --smoke --settings-smoke", {.selfCheck = SelfCheck::settings});
        row("PivexGUI --settings-smoke --smoke --image-smoke", {.selfCheck = SelfCheck::images});
        row("PivexGUI --image-smoke --font-smoke", {.selfCheck = SelfCheck::fonts});
    }

    void readsTheArguments() {
        QFETCH(const QString, arguments);
        QFETCH(const StartupOptions, options);
        QVERIFY(parseStartupOptions(arguments.split(u' ')) == options);
    }
};

QTEST_APPLESS_MAIN(StartupOptionsTest)
#include "StartupOptionsTest.moc"
