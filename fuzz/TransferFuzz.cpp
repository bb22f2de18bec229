#include "Fuzz.h"
#include "device/BatchSave.h"
#include "device/ChipUpload.h"
#include "device/StoredChips.h"
#include "device/ToolTransfers.h"

#include <array>

namespace pivex::fuzzing {

namespace {

/// One request and its answer, empty while there is none.
struct Exchange {
    Command command;
    Bytes payload;
    Bytes packet;

    /// The code of the answer; `Any` without one.
    Response answer() const {
        return packet.empty() ? Response::Any : static_cast<Response>(packet[0]);
    }
};

/// What the board says when all is well.
Response soundResponse(Command command) {
    constexpr std::array<std::pair<Command, Response>, 12> answers{{
        {Command::ChipCount, Response::ChipCount},
        {Command::ChipName, Response::ChipName},
        {Command::ReadChipMetadata, Response::ChipMetadata},
        {Command::ReadChipCode, Response::ChipCode},
        {Command::ReadChipString, Response::ChipString},
        {Command::UploadModeCheck, Response::InUploadMode},
        {Command::ImageName, Response::ImageName},
        {Command::ImageMetadata, Response::ImageMetadata},
        {Command::ImageChunk, Response::ImageChunk},
        {Command::ImageDelete, Response::ToolAccepted},
        {Command::FontSlotRead, Response::FontSlot},
        {Command::Settings, Response::Settings},
    }};
    const auto* found = std::ranges::find(answers, command, &std::pair<Command, Response>::first);
    return found != answers.end() ? found->second : Response::Acknowledged;
}

/// A board whose answers are the input and that notes what it was asked. Falls silent at its end.
class FuzzedBoard {
public:
    explicit FuzzedBoard(Input& bytes) : input(bytes) {}

    Query query() {
        return [this](Command command, Response expected, const Bytes& payload) {
            return answer(command, expected, payload);
        };
    }

    Send send() {
        return [this](Command command, const Bytes& payload) {
            return static_cast<Response>(answer(command, Response::Any, payload)[0]);
        };
    }

    std::vector<Exchange> exchanges;

private:
    /// The first byte of an answer says what follows: a code of its own, the end of the request
    /// as an echo, and how many bytes.
    Bytes answer(Command command, Response expected, const Bytes& payload) {
        hold(isCommand(static_cast<std::uint8_t>(command)), "only commands are sent");
        exchanges.push_back({command, payload, {}});
        if (input.isEmpty()) {
            throw std::runtime_error("The board is silent.");
        }
        const std::uint8_t form = input.byte();
        const Response code =
            (form & 0x80) != 0 ? static_cast<Response>(input.byte()) : soundResponse(command);
        Bytes packet{static_cast<std::uint8_t>(code), 0};
        if ((form & 0x40) != 0) {
            const auto echoed =
                static_cast<std::ptrdiff_t>(std::min<std::size_t>(2, payload.size()));
            packet.insert(packet.end(), payload.end() - echoed, payload.end());
        }
        const Bytes data = input.bytes(form & 0x3F);
        packet.insert(packet.end(), data.begin(), data.end());
        exchanges.back().packet = packet;
        if (expected != Response::Any && code != expected) {
            throw std::runtime_error("Unexpected PCB response: " +
                                     std::to_string(static_cast<unsigned>(code)));
        }
        return packet;
    }

    Input& input;
};

/// One request of an operation that changes the board.
struct Step {
    Command command;
    Bytes payload;
    std::size_t mostSends;
};

using Steps = std::vector<Step>;

bool accepts(Command command, Response response) {
    if (command == Command::UploadModeCheck) {
        return response == Response::InUploadMode;
    }
    const bool isTool = command <= Command::ImageDataCommit ||
                        (command >= Command::FontBegin && command <= Command::FontDataCommit) ||
                        command >= Command::FontDelete;
    return response == Response::Acknowledged || (isTool && response == Response::ToolAccepted);
}

/// The requests are those of `steps` in their order. Only a busy answer repeats one, and not more
/// often than it may be sent; what commits is sent once. Complete means that all were accepted.
void checkSent(const std::vector<Exchange>& exchanges, const Steps& steps, bool isComplete) {
    std::size_t at = 0;
    std::size_t sends = 0;
    for (const Exchange& exchange : exchanges) {
        hold(at < steps.size() && exchange.command == steps[at].command &&
                 exchange.payload == steps[at].payload,
             "requests come in the order of the plan");
        hold(++sends <= steps[at].mostSends, "no request is sent too often");
        if (accepts(exchange.command, exchange.answer())) {
            ++at;
            sends = 0;
        } else {
            hold(exchange.answer() == Response::Busy || &exchange == &exchanges.back(),
                 "nothing follows a refusal");
        }
    }
    hold(isComplete == (at == steps.size()), "complete means that every step was accepted");
}

bool isText(std::string_view text, std::size_t most) {
    return text.size() <= most && text.find('\0') == std::string_view::npos;
}

void listStored(FuzzedBoard& board, std::uint8_t) {
    int listed = 0;
    const auto count = resultOf([&] {
        return listChips(board.query(), [&](int index, const std::string& name) {
            hold(index == listed++ && !name.empty(), "tests are listed in order, by a name");
        });
    });
    hold(!count || *count == listed, "as many tests are listed as there are");
}

void readStored(FuzzedBoard& board, std::uint8_t number) {
    // Every second index is one that no board has.
    const int index = number % 2 == 0 ? number : -number;
    const auto chip = resultOf([&] { return linux_read::readChip(index, board.query()); });
    hold(index >= 0 || board.exchanges.empty(), "a bad index is not asked for");
    for (const Exchange& exchange : board.exchanges) {
        const bool isEmpty = exchange.payload == Bytes{0xAA, 0xAA} && exchange.packet.size() < 3;
        hold(!isEmpty || &exchange == &board.exchanges.back(), "nothing follows an empty piece");
        const bool isLong =
            exchange.command == Command::ReadChipString && exchange.packet.size() > 66;
        hold(!isLong || !chip, "no string is longer than its cell");
    }
    if (chip) {
        hold(isText(chip->name, 32), "a name fits its field");
        hold(chip->pins >= 0 && chip->pins <= 0xFF && chip->imageIndex <= 0xFF, "bytes are bytes");
        hold(std::ranges::all_of(chip->strings,
                                 [](const std::string& text) { return isText(text, 64); }),
             "a string fits its cell");
    }
}

const UploadPlan& chipPlan(int number) {
    static const auto make = [](const char* name, const char* code) {
        ChipDocument document;
        document.name = name;
        document.code = code;
        return prepareUpload(document);
    };
    static const std::array plans{make("First", "SETOUT 1\nSETIN 2\nDELMS 1\nSETPIN 1 1\nENDTEST"),
                                  make("Second", "ENDTEST")};
    return plans[static_cast<std::size_t>(number)];
}

void appendUpload(Steps& steps, const UploadPlan& plan) {
    steps.push_back({Command::UploadModeCheck, {}, 1});
    for (const UploadPacket& packet : plan.packets) {
        steps.push_back({packet.command, packet.payload, 4});
    }
}

void upload(FuzzedBoard& board, std::uint8_t) {
    static const Steps steps = [] {
        Steps all;
        appendUpload(all, chipPlan(0));
        return all;
    }();
    const auto isSent = resultOf([&] { return executeUpload(chipPlan(0), board.send()); });
    checkSent(board.exchanges, steps, isSent.value_or(false));
}

void save(FuzzedBoard& board, std::uint8_t) {
    const std::string failure = failureOf([&] { saveUploaded(board.send()); });
    checkSent(board.exchanges, {{Command::PermanentSave, {}, 1}}, failure.empty());
}

void batch(FuzzedBoard& board, std::uint8_t) {
    static const std::vector plans{chipPlan(0), chipPlan(1)};
    static const Steps steps = [] {
        Steps all;
        for (const UploadPlan& plan : plans) {
            appendUpload(all, plan);
            all.push_back({Command::PermanentSave, {}, 1});
        }
        all.push_back({Command::BatchFinish, {}, 1});
        return all;
    }();
    std::uint64_t saved = 0;
    const std::string failure = failureOf([&] {
        saveBatch(plans, board.send(),
                  [&](std::uint64_t done, const std::string&) { saved = done; });
    });
    checkSent(board.exchanges, steps, failure.empty());
    const auto isSaved = [](const Exchange& exchange) {
        return exchange.command == Command::PermanentSave &&
               exchange.answer() == Response::Acknowledged;
    };
    hold(std::cmp_equal(saved, std::ranges::count_if(board.exchanges, isSaved)), "saves count");
    const std::string counted = "Batch stopped: " + std::to_string(saved) + "/2 saves";
    hold(failure.empty() || failure.starts_with(counted), "a failure counts the saves");
}

void deleteStored(FuzzedBoard& board, std::uint8_t number) {
    const int index = number % 2 == 0 ? number : -number;
    const std::string failure = failureOf([&] { eraseSelectedChip(index, board.send()); });
    const Bytes payload = u16Bytes(static_cast<std::uint32_t>(index));
    checkSent(board.exchanges, {{Command::DeleteSelectedChip, payload, index < 0 ? 0U : 1U}},
              failure.empty());
}

void deleteAllStored(FuzzedBoard& board, std::uint8_t) {
    const std::string failure = failureOf([&] { eraseAllChips(board.send()); });
    checkSent(board.exchanges, {{Command::DeleteAllChips, {}, 1}}, failure.empty());
}

void listImages(FuzzedBoard& board, std::uint8_t) {
    if (const auto slots = resultOf([&] { return readImageSlots(board.query()); })) {
        hold(std::ranges::all_of(
                 *slots,
                 [](const ImageSlot& slot) { return slot.read && isText(slot.name, 0x3F + 2); }),
             "every slot is read");
    }
}

void loadImage(FuzzedBoard& board, std::uint8_t slot) {
    const auto image = resultOf([&] { return readImage(slot, board.query()); });
    const bool isSlot = slot >= 1 && slot <= imageSlotCount;
    hold(isSlot || board.exchanges.empty(), "a bad slot is not asked for");
    if (board.exchanges.size() > 1) {
        const std::uint32_t size = u32At(board.exchanges[0].packet, 36);
        hold(size >= 1 && size <= maxBoardImageBytes && size % 3 == 0, "a bad size ends it");
        hold(!image || image->rle.size() == size, "an image is as long as the board said");
    }
    if (image) {
        hold(isText(image->name, 32), "a name fits its field");
        hold(decompressImage(image->rle, image->width, image->height) == image->pixels,
             "the pixels are those of the runs");
    }
}

template<typename Packet>
Steps stepsOf(const std::vector<Packet>& plan) {
    Steps steps;
    for (const Packet& packet : plan) {
        steps.push_back({packet.command, packet.payload, packet.commit ? 1U : 3U});
    }
    return steps;
}

void writeImage(FuzzedBoard& board, std::uint8_t) {
    static const auto plan = imageUploadPlan(newImage("Black", 160, 128), 15);
    static const Steps steps = stepsOf(plan);
    const std::string failure = failureOf([&] { sendImage(plan, board.send(), {}); });
    checkSent(board.exchanges, steps, failure.empty());
}

void emptyImage(FuzzedBoard& board, std::uint8_t slot) {
    const std::string failure = failureOf([&] { deleteImage(slot, board.send()); });
    const bool isSlot = slot >= firstDeletableImageSlot && slot <= imageSlotCount;
    checkSent(board.exchanges, {{Command::ImageDelete, u16Bytes(slot), isSlot ? 3U : 0U}},
              failure.empty());
}

void readFonts(FuzzedBoard& board, std::uint8_t) {
    int loaded = 0;
    const std::string failure = failureOf([&] {
        readFontSlots(board.query(), [&](int index, const FontSlot& slot) {
            hold(index == loaded++ && slot.read && isText(slot.name, 32), "slots come in order");
        });
    });
    hold(failure.empty() == (loaded == fontSlotCount), "all slots or a failure");
}

void writeFont(FuzzedBoard& board, std::uint8_t number) {
    static const std::array plans{
        fontUploadPlan({"Dots", 5, 8, Bytes(100, 0x55)}, 3),
        fontDeletionPlan(5),
    };
    static const std::array steps{stepsOf(plans[0]), stepsOf(plans[1])};
    const std::size_t chosen = number % plans.size();
    const std::string failure = failureOf([&] { sendFont(plans[chosen], board.send()); });
    checkSent(board.exchanges, steps[chosen], failure.empty());
}

/// Reads the settings, writes one, or asks for what must be refused.
void settings(FuzzedBoard& board, std::uint8_t number) {
    const auto setting = static_cast<std::uint8_t>(number >> 3 & 0x0F);
    const auto value = static_cast<std::uint8_t>(number & 0x07);
    const Bytes request = number == 0 ? Bytes{0} : Bytes{1, setting, value};
    const auto* rule = std::ranges::find(settingRules, setting, &SettingRule::setting);
    const bool isAllowed = number == 0 || (rule != settingRules.end() && value <= rule->largest);
    const auto record = resultOf([&] { return exchangeSettings(request, board.query()); });
    hold(board.exchanges.size() <= (isAllowed ? 3U : 0U), "few requests, none for a bad one");
    for (const Exchange& exchange : board.exchanges) {
        hold(exchange.command == Command::Settings && exchange.payload == request, "the request");
        hold(exchange.answer() == Response::Busy || &exchange == &board.exchanges.back(),
             "only a busy answer repeats a request");
    }
    hold(!record || number == 0 || record->bytes[rule->recordByte] == value,
         "a written setting is confirmed");
}

struct Operation {
    void (*run)(FuzzedBoard& board, std::uint8_t number);
    std::size_t mostRequests;
};

constexpr std::array<Operation, 14> operations{{
    {listStored, 1 + 0xFFFF},
    {readStored, 128 + 1 + 0xFFFF + 8},
    {upload, 1 + 4 * 15},
    {save, 1},
    {batch, 2 * (2 + 4 * 15) + 1},
    {deleteStored, 1},
    {deleteAllStored, 1},
    {listImages, imageSlotCount},
    {loadImage, 1 + maxBoardImageBytes},
    {writeImage, 42},
    {emptyImage, 3},
    {readFonts, fontSlotCount},
    {writeFont, 30},
    {settings, 3},
}};

} // namespace

/// The first byte chooses the operation, the second its slot or index, the rest are answers.
void fuzzOne(Input input) {
    const Operation& operation = operations[input.below(operations.size())];
    const std::uint8_t number = input.byte();
    FuzzedBoard board(input);
    operation.run(board, number);
    hold(board.exchanges.size() <= operation.mostRequests, "the board is asked a bounded number");
}

} // namespace pivex::fuzzing
