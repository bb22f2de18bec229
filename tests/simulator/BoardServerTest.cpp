#include "device/BoardQuery.h"
#include "support/Hex.h"
#include "support/TextCases.h"

#include <QProcess>
#include <QTemporaryDir>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What the board behind `path` answers to `requests`, each a command and its payload.
QByteArray answers(const QByteArray& path, const QByteArray& requests) {
    PortLink port(QString::fromUtf8(path).toStdWString());
    BoardQuery query(port, std::chrono::seconds(5), {});
    QByteArray all;
    for (const QByteArray& request : requests.split(' ')) {
        const Bytes bytes = fromHex(request);
        Bytes packet = query(Command{bytes[0]}, Response::Any, {bytes.begin() + 1, bytes.end()});
        packet.erase(packet.begin() + 1);
        all += toHex(packet) + ", ";
    }
    return all;
}

/// What a pivex-board with three sample tests and more answers to "arguments|requests"; or, if it
/// does not serve, its exit code and first line.
QByteArray session(const QByteArray& text) {
    const QByteArrayList parts = ("--samples --identity board " + text).split('|');
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationDirPath() + u"/../../src/simulator/pivex-board"_s,
                  QString::fromUtf8(parts[0]).split(u' ', Qt::SkipEmptyParts));
    QByteArray outcome;
    if (parts.size() > 1) {
        process.waitForReadyRead();
        outcome = answers(process.readLine().trimmed(), parts[1]);
        process.terminate();
    }
    process.waitForFinished();
    return (outcome + QByteArray::number(process.exitCode()) + ' ' + process.readLine()).trimmed();
}

} // namespace

class BoardServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void runsAsAProgram_data() {
        addTextCases({
            {"--fault ChipCount:2:Busy:2|c8 af c8 c8 c8", "b90300, 05, b1, b1, b90300, 0"},
            {"--fault ChipCount:1:Busy --fault ChipCount:1:Split|c8 c8", "b1, b90300, 0"},
            {"|da0100 c70000", "b2, ba" + QByteArray("7400 quad NAND, gate 1").toHex() + ", 0"},
            {"--no-upload-mode --chips 7|af c8", "06, b90a00, 0"},
            {"--help", "0 Usage: pivex-board [options]"},
            {"--sample", "2 pivex-board: Unknown option \"--sample\". Try --help."},
            {"--store", "2 pivex-board: Option --store needs a value. Try --help."},
            {"--chips 65536", "2 pivex-board: \"65536\" is not a number up to 65535. Try --help."},
            {"--fault Identify:1", "2 pivex-board: A fault is COMMAND:PACKET:KIND or "
                                   "COMMAND:PACKET:KIND:COUNT. Try --help."},
            {"--fault Identify:0:Busy", "2 pivex-board: \"0\" is not a count from 1. Try --help."},
            {"--fault Identify:1:busy", "2 pivex-board: Unknown name \"busy\". Try --help."},
            {"--store /no/such/x",
             "1 pivex-board: Cannot write the storage file /no/such/x: No such file or directory"},
            {"--store /proc/version",
             "1 pivex-board: The storage file /proc/version cannot be used (the check "
             "line does not match). It was left as it is."},
        });
    }

    void runsAsAProgram() { checkTextCase(session); }

    void keepsItsStoreOverRestarts() {
        const QTemporaryDir folder;
        const QByteArray store = "--store " + folder.filePath(u"board"_s).toUtf8();
        QCOMPARE(session(store + " --chips 255|c8 da0001 c8"), "b90201, b2, b90101, 0");
        QCOMPARE(session(store + "|c8"), "b90101, 0");
    }
};

QTEST_GUILESS_MAIN(BoardServerTest)
#include "BoardServerTest.moc"
