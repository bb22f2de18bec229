#pragma once

#include "FaultSweepStation.h"
#include "model/ChipFileCodec.h"

#include <QTemporaryDir>

namespace pivex::testing {

/// Windows that run trials at the same time, since most of a trial is waiting.
class Fleet {
public:
    explicit Fleet(Side from) : side(from) {
        for (const char* name : {"A", "B", "C"}) {
            QFile file(folder.filePath(QString::fromUtf8(name) + QStringLiteral(".chip")));
            if (!file.open(QIODevice::WriteOnly)) {
                qFatal("cannot write a chip file");
            }
            file.write(QByteArray::fromStdString(encodeChip(sweptChip(name))));
            files << file.fileName();
        }
    }

    /// Runs `trials` and gives what was wrong. On a busy machine a board may answer too late; so a
    /// few trials that go wrong get a second chance without company.
    QString run(std::vector<Trial> trials) {
        constexpr std::size_t most = 32;
        run(trials, most);
        QString complaints = complaintsOf(trials);
        if (!trials.empty() && trials.size() <= most) {
            qWarning("%s", qPrintable(complaints));
            stations.clear();
            std::ranges::for_each(trials, &QStringList::clear, &Trial::findings);
            run(trials, 1);
            complaints = complaintsOf(trials);
        }
        return complaints;
    }

private:
    void run(std::vector<Trial>& trials, std::size_t most) {
        while (stations.size() < std::min(trials.size(), most)) {
            stations.push_back(std::make_unique<Station>(side, files, dialogs));
        }
        auto next = trials.begin();
        for (bool isRunning = true; isRunning;) {
            isRunning = false;
            for (const auto& station : stations) {
                if (station->isFree() && next != trials.end()) {
                    station->begin(*next++);
                }
                station->advance();
                isRunning = isRunning || station->isRunning() ||
                            (station->isFree() && next != trials.end());
            }
            QTest::qWait(1);
        }
        for (; next != trials.end(); ++next) {
            next->findings << QStringLiteral("left out, since no window works any more");
        }
    }

    /// Keeps of `trials` those that went wrong.
    static QString complaintsOf(std::vector<Trial>& trials) {
        std::erase_if(trials, [](const Trial& trial) { return trial.findings.isEmpty(); });
        QStringList complaints;
        for (const Trial& trial : trials) {
            complaints << trial.name + QStringLiteral(": ") +
                              trial.findings.join(QStringLiteral("; "));
        }
        return complaints.join(u'\n');
    }

    Side side;
    QTemporaryDir folder;
    QStringList files;
    Dialogs dialogs;
    std::vector<std::unique_ptr<Station>> stations;
};

} // namespace pivex::testing
