#include "simulator/BoardModel.h"

#include "device/DeviceRecords.h"
#include "simulator/BoardFile.h"
#include "simulator/SampleStorage.h"

#include <QtTest/QtTest>

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

using namespace pivex;
using namespace Qt::Literals::StringLiterals;

namespace {

using Packet = std::pair<Command, Bytes>;
using Packets = std::vector<Packet>;

enum class Upload { Chip, Image, Font };

void addPieces(Packets& packets, Command command, const Bytes& bytes, std::size_t piece) {
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        const std::size_t end = std::min(at + piece, bytes.size());
        packets.emplace_back(command, Bytes(bytes.begin() + long(at), bytes.begin() + long(end)));
    }
}

Packets chipPackets(std::string_view name = "NAND") {
    Bytes metadata(41);
    Bytes strings(512);
    metadata[0] = 0x5A;
    metadata[1] = 0xA5;
    std::ranges::copy(name, metadata.begin() + 2);
    metadata[34] = 4;
    metadata[36] = 14;
    metadata[37] = 1;
    metadata[38] = 80;
    metadata[40] = 2;
    strings[0] = 'a';
    strings[320] = 'b';
    Packets packets{{Command::UploadMetadata, metadata}, {Command::UploadStringsStart, {}}};
    addPieces(packets, Command::UploadStringChunk, strings, 63);
    packets.emplace_back(Command::UploadStringsDone, Bytes{});
    packets.emplace_back(Command::UploadCodeLength, u16Bytes(80));
    addPieces(packets, Command::UploadCodeChunk, Bytes(80, 7), 63);
    packets.emplace_back(Command::PermanentSave, Bytes{});
    return packets;
}

/// An 8 by 2 image in slot 20, or a font of three 2-column glyphs in slot 4.
Packets artworkPackets(bool isImage) {
    Bytes metadata(128);
    metadata[2] = 'x';
    metadata[34] = isImage ? 8 : 2;
    metadata[35] = isImage ? 2 : 7;
    metadata[36] = isImage ? 48 : 2;
    metadata[37] = isImage ? 0 : 3;
    metadata[40] = isImage ? 0 : 6;
    const auto pick = [&](Command image, Command font) { return isImage ? image : font; };
    Packets packets{{pick(Command::ImageBegin, Command::FontBegin), {128, 0}}};
    if (isImage) {
        packets.emplace_back(Command::ImageSelectSlot, Bytes{20, 0});
    } else {
        packets.back().second.push_back(4);
    }
    addPieces(packets, pick(Command::ImageMetadataChunk, Command::FontMetadataChunk), metadata, 48);
    packets.emplace_back(pick(Command::ImageMetadataCommit, Command::FontMetadataCommit), Bytes{});
    packets.emplace_back(pick(Command::ImageDataSize, Command::FontDataSize),
                         u16Bytes(isImage ? 48 : 6));
    const Bytes data = isImage ? Bytes(48, 1) : Bytes(6, 0x7F);
    addPieces(packets, pick(Command::ImageDataChunk, Command::FontDataChunk), data, 30);
    packets.emplace_back(pick(Command::ImageDataCommit, Command::FontDataCommit), Bytes{});
    return packets;
}

Packets packetsOf(Upload upload) {
    return upload == Upload::Chip ? chipPackets() : artworkPackets(upload == Upload::Image);
}

BoardAnswer ask(BoardModel& board, Command command, const Bytes& payload = {}) {
    return board.answer(command, payload).value();
}

/// Whether every packet is accepted.
bool sendAll(BoardModel& board, const Packets& packets) {
    bool isAccepted = true;
    for (const auto& [command, payload] : packets) {
        isAccepted = ask(board, command, payload).code != refusedResponse && isAccepted;
    }
    return isAccepted;
}

/// Whether the board refuses something of `packets` and stores nothing.
bool isRefused(const Packets& packets) {
    BoardModel board;
    return !sendAll(board, packets) && board.storage == BoardStorage();
}

/// Asks with the continuation marker until an answer is empty; gives all that came.
Bytes readOn(BoardModel& board, Command command) {
    Bytes all;
    for (;;) {
        const Bytes piece = ask(board, command, {0xAA, 0xAA}).payload;
        if (piece.empty()) {
            return all;
        }
        all.insert(all.end(), piece.begin(), piece.end());
    }
}

} // namespace

class BoardModelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void storesWhatArrivesInOrder() {
        BoardModel board;
        QVERIFY(sendAll(board, chipPackets()));
        QVERIFY(sendAll(board, artworkPackets(true)));
        QVERIFY(sendAll(board, artworkPackets(false)));
        BoardStorage expected;
        expected.chips = {{.name = "NAND", .type = 4, .imageIndex = 1, .code = Bytes(80, 7)}};
        expected.chips[0].strings[0] = "a";
        expected.chips[0].strings[5] = "b";
        expected.images[20] = {.name = "x", .width = 8, .height = 2, .rle = Bytes(48, 1)};
        expected.fonts[4] = {
            .name = "x", .width = 2, .height = 7, .glyphs = 3, .columns = Bytes(6, 0x7F)};
        QVERIFY(board.storage == expected);
        QCOMPARE(ask(board, Command::BatchFinish).code, Response::Acknowledged);
        QCOMPARE(ask(board, Command::PermanentSave).code, refusedResponse);
    }

    void refusesEveryDisorder_data() {
        QTest::addColumn<Upload>("upload");
        QTest::newRow("chip") << Upload::Chip;
        QTest::newRow("image") << Upload::Image;
        QTest::newRow("font") << Upload::Font;
    }

    void refusesEveryDisorder() {
        QFETCH(const Upload, upload);
        const Packets good = packetsOf(upload);
        for (std::size_t i = 0; i < good.size(); ++i) {
            Packets dropped = good;
            dropped.erase(dropped.begin() + long(i));
            QVERIFY2(isRefused(dropped) || i + 1 == good.size(), qPrintable(u"drop %1"_s.arg(i)));
            // A second begin starts anew; a second commit finds nothing to store.
            if (i > 0 && i + 1 < good.size()) {
                Packets twice = good;
                twice.insert(twice.begin() + long(i), good[i]);
                QVERIFY2(isRefused(twice), qPrintable(u"double %1"_s.arg(i)));
            }
            if (i > 0 && good[i].first != good[i - 1].first) {
                Packets swapped = good;
                std::swap(swapped[i], swapped[i - 1]);
                QVERIFY2(isRefused(swapped), qPrintable(u"swap %1"_s.arg(i)));
            }
        }
    }

    void refusesWhatCannotBeStored_data() {
        QTest::addColumn<Upload>("upload");
        QTest::addColumn<std::size_t>("packet");
        QTest::addColumn<std::size_t>("offset");
        QTest::addColumn<int>("value");
        const auto row = [](const char* name, Upload upload, std::size_t packet, std::size_t offset,
                            int value) {
            QTest::newRow(name) << upload << packet << offset << value;
        };
        row("chip magic", Upload::Chip, 0, 1, 0);
        row("chip code length", Upload::Chip, 0, 38, 96);
        row("chip string count", Upload::Chip, 0, 40, 3);
        row("chip string without end", Upload::Chip, 3, 0, 'x');
        row("image metadata length", Upload::Image, 0, 0, 127);
        row("image slot 0", Upload::Image, 1, 0, 0);
        row("image slot 240", Upload::Image, 1, 0, 240);
        row("image without name", Upload::Image, 2, 2, 0);
        row("image name without end", Upload::Image, 2, 33, 'x');
        row("image width 0", Upload::Image, 2, 34, 0);
        row("image width 161", Upload::Image, 2, 34, 161);
        row("image height 129", Upload::Image, 2, 35, 129);
        row("image length no multiple of 3", Upload::Image, 2, 36, 49);
        row("image length above 4096", Upload::Image, 2, 37, 0x2F);
        row("image data of another length", Upload::Image, 6, 0, 45);
        row("image run of no pixels", Upload::Image, 7, 0, 0);
        row("image run of too many pixels", Upload::Image, 8, 0, 2);
        row("font slot 6", Upload::Font, 0, 2, 6);
        row("font height 9", Upload::Font, 1, 35, 9);
        row("font width copy", Upload::Font, 1, 36, 3);
        row("font glyph count", Upload::Font, 1, 37, 4);
        row("font column above height", Upload::Font, 6, 5, 0x80);
    }

    void refusesWhatCannotBeStored() {
        QFETCH(const Upload, upload);
        QFETCH(const std::size_t, packet);
        QFETCH(const std::size_t, offset);
        QFETCH(const int, value);
        Packets packets = packetsOf(upload);
        packets.at(packet).second.at(offset) = static_cast<std::uint8_t>(value);
        QVERIFY(isRefused(packets));
    }

    void takesNoChipOutsideUploadMode() {
        BoardModel board;
        QCOMPARE(ask(board, Command::UploadModeCheck).code, Response::InUploadMode);
        Packets packets = chipPackets();
        packets.pop_back();
        QVERIFY(sendAll(board, packets));
        board.uploadMode = false;
        QCOMPARE(ask(board, Command::UploadModeCheck).code, Response::NotInUploadMode);
        QCOMPARE(ask(board, Command::PermanentSave).code, refusedResponse);
        QVERIFY(!sendAll(board, chipPackets()));
        QVERIFY(board.storage.chips.empty());
    }

    void readsChipsInPieces() {
        BoardModel board;
        board.traits = {.metadataSize = 160, .metadataPiece = 100, .codePiece = 33, .codeExtra = 5};
        QVERIFY(sendAll(board, chipPackets()));
        QCOMPARE(ask(board, Command::ReadChipMetadata, {0xAA, 0xAA}).code, refusedResponse);
        const Bytes first = ask(board, Command::ReadChipMetadata, {0, 0}).payload;
        QCOMPARE(first.size(), std::size_t{100});
        QCOMPARE(Bytes(first.begin(), first.begin() + 41), chipPackets()[0].second);
        QCOMPARE(readOn(board, Command::ReadChipMetadata).size(), std::size_t{60});
        QCOMPARE(ask(board, Command::ReadChipCode, {0, 0}).payload, u16Bytes(128 + 5));
        Bytes code(80, 7);
        code.resize(133, 0xFF);
        QCOMPARE(readOn(board, Command::ReadChipCode), code);
        QCOMPARE(ask(board, Command::ReadChipString, {0, 0, 5}).payload, Bytes{'b'});
        QCOMPARE(ask(board, Command::ReadChipString, {0, 0, 8}).code, refusedResponse);
        QCOMPARE(ask(board, Command::ReadChipMetadata, {1, 0}).code, refusedResponse);
        QCOMPARE(ask(board, Command::ReadChipMetadata, {0xAA, 0xAA}).code, refusedResponse);
    }

    void shiftsPositionsAfterDeletion() {
        BoardModel board;
        for (const char* name : {"one", "two", "three"}) {
            QVERIFY(sendAll(board, chipPackets(name)));
        }
        QCOMPARE(ask(board, Command::DeleteSelectedChip, {3, 0}).code, refusedResponse);
        QCOMPARE(ask(board, Command::DeleteSelectedChip, {1, 0}).code, Response::Acknowledged);
        QCOMPARE(ask(board, Command::ChipCount).payload, u16Bytes(2));
        QCOMPARE(ask(board, Command::ChipName, {1, 0}).payload, (Bytes{'t', 'h', 'r', 'e', 'e'}));
        QCOMPARE(ask(board, Command::ChipName, {2, 0}).code, refusedResponse);
        QCOMPARE(ask(board, Command::DeleteAllChips).code, Response::Acknowledged);
        QCOMPARE(ask(board, Command::ChipCount).payload, u16Bytes(0));
    }

    void servesArtwork() {
        BoardModel board;
        board.traits.imagePiece = 40;
        QVERIFY(sendAll(board, artworkPackets(true)));
        QVERIFY(sendAll(board, artworkPackets(false)));
        QCOMPARE(ask(board, Command::ImageName, {20, 0}),
                 (BoardAnswer{Response::ImageName, {'x'}}));
        QCOMPARE(ask(board, Command::ImageName, {21, 0}), BoardAnswer{Response::ImageSlotEmpty});
        QCOMPARE(ask(board, Command::ImageName, {0, 0}).code, refusedResponse);
        Bytes metadata(38);
        metadata[0] = 'x';
        metadata[32] = 8;
        metadata[33] = 2;
        metadata[34] = 48;
        QCOMPARE(ask(board, Command::ImageMetadata, {20, 0}),
                 (BoardAnswer{Response::ImageMetadata, metadata}));
        Bytes rest(10, 1);
        rest[0] = 40;
        rest[1] = 0;
        QCOMPARE(ask(board, Command::ImageChunk, {20, 0, 40, 0}),
                 (BoardAnswer{Response::ImageChunk, rest}));
        QCOMPARE(ask(board, Command::ImageChunk, {20, 0, 48, 0}).code, refusedResponse);
        Bytes font(40);
        font[0] = 4;
        font[1] = 2;
        font[2] = 7;
        font[3] = 3;
        font[8] = 'x';
        QCOMPARE(ask(board, Command::FontSlotRead, {4}), (BoardAnswer{Response::FontSlot, font}));
        QCOMPARE(ask(board, Command::FontDelete, {4}).code, Response::ToolAccepted);
        QCOMPARE(ask(board, Command::FontSlotRead, {4}),
                 (BoardAnswer{Response::FontSlotEmpty, {4}}));
        QCOMPARE(ask(board, Command::FontSlotRead, {6}).code, refusedResponse);
    }

    void protectsTheFirstImages() {
        BoardModel board;
        board.storage.images = {{14, {.name = "a"}}, {15, {.name = "b"}}};
        QCOMPARE(ask(board, Command::ImageDelete, {14, 0}).code, refusedResponse);
        QCOMPARE(ask(board, Command::ImageDelete, {240, 0}).code, refusedResponse);
        QCOMPARE(ask(board, Command::ImageDelete, {15, 0}).code, Response::ToolAccepted);
        QCOMPARE(board.storage.images.size(), std::size_t{1});
    }

    void changesOnlyTheSettingNamed() {
        for (int setting = 0; setting < 10; ++setting) {
            const auto rule = std::ranges::find(settingRules, setting, &SettingRule::setting);
            for (int value = 0; value < 8; ++value) {
                BoardModel board;
                auto expected = board.storage.settings;
                const bool isAllowed = rule != settingRules.end() && value <= rule->largest;
                if (isAllowed) {
                    expected[rule->recordByte] = static_cast<std::uint8_t>(value);
                }
                const BoardAnswer answer =
                    ask(board, Command::Settings, {1, std::uint8_t(setting), std::uint8_t(value)});
                QCOMPARE(board.storage.settings, expected);
                QCOMPARE(answer.code, isAllowed ? Response::Settings : refusedResponse);
                QCOMPARE(ask(board, Command::Settings, {0}).payload,
                         Bytes(expected.begin(), expected.end()));
            }
        }
        BoardModel board;
        QCOMPARE(ask(board, Command::Settings, {1}).code, refusedResponse);
        QCOMPARE(ask(board, Command::Settings, {0, 2, 1}).code, refusedResponse);
    }

    void answersEveryCommandAndNoOther() {
        for (int code = 0; code < 256; ++code) {
            const Command command{static_cast<std::uint8_t>(code)};
            for (std::size_t size = 0; size <= 64; ++size) {
                BoardModel board;
                board.storage = sampleStorage();
                const auto answer = board.answer(command, Bytes(size, 0xAA));
                QCOMPARE(answer.has_value(), isCommand(std::uint8_t(code)));
                QVERIFY(size < 64 || !answer || answer->code == refusedResponse);
            }
        }
    }

    void countsTheRequestsOfAFault() {
        BoardModel board;
        board.addFault(
            {.command = Command::ChipName, .packet = 2, .kind = FaultKind::Busy, .count = 2});
        board.addFault({.packet = 4, .kind = FaultKind::Short});
        std::vector<std::optional<FaultKind>> kinds;
        for (const Command command : {Command::ChipName, Command::ChipCount, Command::ChipName,
                                      Command::ChipName, Command::ChipName}) {
            const auto fault = board.takeFault(command);
            kinds.push_back(fault ? std::optional(fault->kind) : std::nullopt);
        }
        const std::vector<std::optional<FaultKind>> expected{
            {}, {}, FaultKind::Busy, FaultKind::Busy, {}};
        QVERIFY(kinds == expected);
    }

    void keepsItsStorageInAFile() {
        const QTemporaryDir folder;
        const std::string path = folder.filePath(u"board.store"_s).toStdString();
        QVERIFY(!loadStorage(path));
        BoardStorage storage = sampleStorage();
        addGeneratedChips(storage, 3);
        storage.chips[0].name = std::string("\0 \n\xFF", 4);
        saveStorage(path, BoardStorage());
        saveStorage(path, storage);
        QVERIFY(loadStorage(path) == storage);
        const std::string elsewhere = folder.filePath(u"no/such/folder"_s).toStdString();
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, saveStorage(elsewhere, storage));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void refusesADamagedFile() {
        BoardStorage storage = sampleStorage();
        storage.images.clear();
        const std::string text = encodeStorage(storage);
        for (std::size_t i = 0; i < text.size(); ++i) {
            std::string damaged = text;
            damaged[i] = static_cast<char>(damaged[i] ^ 1);
            QVERIFY_THROWS_EXCEPTION(std::runtime_error, decodeStorage(damaged));
            QVERIFY_THROWS_EXCEPTION(std::runtime_error, decodeStorage(text.substr(0, i)));
        }
    }

    void dropsAChangeThatCannotBeKept() {
        BoardModel board;
        board.storage = sampleStorage();
        std::size_t kept = 0;
        board.keep = [&](const BoardStorage& next) { kept = next.chips.size(); };
        QCOMPARE(ask(board, Command::DeleteSelectedChip, {0, 0}).code, Response::Acknowledged);
        QCOMPARE(kept, std::size_t{2});
        board.keep = [](const BoardStorage&) { throw std::runtime_error("disk full"); };
        const BoardStorage before = board.storage;
        QCOMPARE(ask(board, Command::DeleteAllChips).code, refusedResponse);
        QCOMPARE(ask(board, Command::Settings, {1, 7, 3}).code, refusedResponse);
        QVERIFY(board.storage == before);
    }
};

QTEST_APPLESS_MAIN(BoardModelTest)
#include "BoardModelTest.moc"
