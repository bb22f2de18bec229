#include "Fuzz.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

void replay(const std::filesystem::path& path) {
    // Said before the run, so that the last line of a failed test names the culprit.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const pivex::Bytes bytes(text.begin(), text.end());
    pivex::fuzzing::fuzzOne(pivex::fuzzing::Input(bytes));
}

} // namespace

/// Runs the harness over every file of the folder that is its only argument, and over nothing.
int main(int argc, char** argv) {
    if (argc != 2 || !std::filesystem::is_directory(argv[1])) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", argv[0]);
        return EXIT_FAILURE;
    }
    pivex::fuzzing::fuzzOne(pivex::fuzzing::Input({}));
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        replay(entry.path());
        ++count;
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
