#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"

#include <QtTest>

#include <filesystem>
#include <fstream>
#include <iterator>

using namespace pivex;

namespace {

std::string fileBytes(const QString& path) {
    std::ifstream file(path.toStdString(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

/// Every chip test under examples/ is what a user may copy from: it reads, is written back byte for
/// byte, compiles, and the checker has nothing to say.
class ChipExamplesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void works_data();
    void works();
};

void ChipExamplesTest::works_data() {
    QTest::addColumn<QString>("path");
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(PIVEX_EXAMPLES_DIR)) {
        if (entry.path().extension() == ".chip") {
            QTest::newRow(entry.path().stem().c_str())
                << QString::fromStdString(entry.path().string());
            ++count;
        }
    }
    QVERIFY(count >= 10);
}

void ChipExamplesTest::works() {
    QFETCH(const QString, path);
    const std::string bytes = fileBytes(path);
    const ChipDocument chip = decodeChip(bytes);
    QCOMPARE(encodeChip(chip), bytes);
    QCOMPARE(compileChip(chip).errorMessage, std::string());
    QVERIFY(validateChip(chip).empty());
}

QTEST_APPLESS_MAIN(ChipExamplesTest)

#include "ChipExamplesTest.moc"
