#include "simulator/BoardFile.h"
#include "simulator/BoardOptions.h"
#include "simulator/BoardServer.h"
#include "simulator/SampleStorage.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <span>
#include <stdexcept>

namespace {

using namespace pivex;

constexpr int usageFault = 2;

/// What a board without a storage file starts with.
BoardStorage freshStorage(const BoardOptions& options) {
    BoardStorage storage = options.samples ? sampleStorage() : BoardStorage();
    addGeneratedChips(storage, options.generatedChips);
    return storage;
}

/// Ties `board` to the storage file, which is written at once if there is none yet, so that a
/// place that cannot be written to is found out at the start.
void openStore(BoardModel& board, const std::string& path) {
    if (auto stored = loadStorage(path)) {
        board.storage = *std::move(stored);
    } else {
        saveStorage(path, board.storage);
    }
    board.keep = [path](const BoardStorage& storage) {
        try {
            saveStorage(path, storage);
        } catch (const std::runtime_error& error) {
            std::cerr << "pivex-board: " << error.what() << '\n';
            throw;
        }
    };
}

BoardModel boardFor(const BoardOptions& options) {
    BoardModel board;
    board.storage = freshStorage(options);
    board.uploadMode = options.uploadMode;
    board.identity = options.identity.value_or(board.identity);
    for (const Fault& fault : options.faults) {
        board.addFault(fault);
    }
    if (options.store) {
        openStore(board, *options.store);
    }
    return board;
}

void logRequest(const BoardRequest& request) {
    std::fprintf(stderr, "%3u %s (0x%02X)", unsigned{request.sequence},
                 commandName(request.command).data(), static_cast<unsigned>(request.command));
    for (const std::uint8_t byte : request.payload) {
        std::fprintf(stderr, " %02X", unsigned{byte});
    }
    std::fputc('\n', stderr);
}

/// Serves until somebody asks the program to end.
void serve(const BoardOptions& options) {
    // The board's thread inherits the mask, so that the signals come to the wait below.
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    BoardServer server(boardFor(options), options.log ? logRequest : BoardServer::Watcher());
    server.recordRequests(false);
    std::cout << server.path() << std::endl;
    int received = 0;
    sigwait(&signals, &received);
}

} // namespace

int main(int argc, char** argv) {
    BoardOptions options;
    try {
        const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
        options = parseBoardOptions(arguments.subspan(arguments.empty() ? 0 : 1));
    } catch (const std::runtime_error& error) {
        std::cerr << "pivex-board: " << error.what() << " Try --help.\n";
        return usageFault;
    }
    if (options.help) {
        std::cout << boardHelp;
        return EXIT_SUCCESS;
    }
    if (options.version) {
        std::cout << "pivex-board " << PIVEX_VERSION << '\n';
        return EXIT_SUCCESS;
    }
    try {
        serve(options);
    } catch (const std::runtime_error& error) {
        std::cerr << "pivex-board: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
