#include "simulator/BoardServer.h"

#include "device/SerialProtocol.h"
#include "simulator/FileDescriptor.h"
#include "support/Hex.h"
#include "support/TextCases.h"

#include <QProcess>
#include <QTemporaryDir>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace pivex;
using namespace pivex::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patience = 5000;

/// A program at the far end of the line.
class Client {
public:
    explicit Client(const std::string& path) {
        line.reset(::open(path.c_str(), O_RDWR | O_NOCTTY));
    }

    /// Sends the command and payload in `hex`.
    void request(const QByteArray& hex, std::uint8_t sequence = 5) const {
        const Bytes bytes = fromHex(hex);
        const Bytes frame = encodePacket(bytes[0], sequence, {bytes.begin() + 1, bytes.end()});
        [[maybe_unused]] const ssize_t count = ::write(line.get(), frame.data(), frame.size());
    }

    /// What comes in front of the answer to one more request: packets in hexadecimal, and a "?" for
    /// every frame that is none.
    QByteArray heard() const {
        request("dc", 99);
        QByteArrayList frames{""};
        Bytes frame;
        Bytes packet;
        std::uint8_t byte = 0;
        for (pollfd polled{line.get(), POLLIN, 0}; frames.last() != "e063626f617264";) {
            if (::poll(&polled, 1, patience) != 1 || ::read(line.get(), &byte, 1) != 1) {
                return "no answer";
            }
            if (byte == 0) {
                frames.append(decodePacket(std::exchange(frame, {}), packet) ? toHex(packet) : "?");
            } else {
                frame.push_back(byte);
            }
        }
        return frames.mid(1, frames.size() - 2).join(' ');
    }

private:
    FileDescriptor line;
};

/// What a pivex-board with three sample tests and more answers to "arguments|requests"; or, if it
/// does not serve, its exit code and first line.
QByteArray session(const QByteArray& text) {
    const QByteArrayList parts = ("--samples --identity board " + text).split('|');
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationDirPath() + u"/../../src/simulator/pivex-board"_s,
                  QString::fromUtf8(parts[0]).split(u' ', Qt::SkipEmptyParts));
    QByteArrayList outcome;
    if (parts.size() > 1) {
        process.waitForReadyRead(patience);
        const Client client(process.readLine().trimmed().toStdString());
        for (const QByteArray& request : parts[1].split(' ')) {
            client.request(request);
            outcome.append(client.heard());
        }
        process.terminate();
    }
    process.waitForFinished(patience);
    outcome.append((QByteArray::number(process.exitCode()) + ' ' + process.readLine()).trimmed());
    return outcome.join(", ");
}

} // namespace

class BoardServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void answersInAFlood() {
        BoardServer board;
        board.withModel([](BoardModel& model) {
            model.identity = "board";
            model.addFault({.kind = FaultKind::Flood});
        });
        const Client client(board.path());
        QByteArray noise;
        QTRY_VERIFY((noise += client.heard()).contains("? ?"));
        client.request("c8");
        QVERIFY(client.heard().contains("b9050000"));
    }

    void runsAsAProgram_data() {
        addTextCases({
            {"--fault ChipCount:2:Busy:2|c8 af c8 c8 c8",
             "b9050300, 0505, b105, b105, b9050300, 0"},
            {"--fault ChipCount:1:Busy --fault ChipCount:1:Split|c8 c8", "b105, b9050300, 0"},
            {"|da0100 c70000", "b205, ba05" + QByteArray("7400 quad NAND, gate 1").toHex() + ", 0"},
            {"--no-upload-mode --chips 7|af c8", "0605, b9050a00, 0"},
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
        QCOMPARE(session(store + " --chips 255|c8 da0001 c8"), "b9050201, b205, b9050101, 0");
        QCOMPARE(session(store + "|c8"), "b9050101, 0");
    }
};

QTEST_GUILESS_MAIN(BoardServerTest)
#include "BoardServerTest.moc"
