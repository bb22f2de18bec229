#include "language/ChipCompiler.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

using namespace pivex;

namespace {

/// The most instructions that the board's 16-bit length field can count.
constexpr std::int64_t largestProgram = 4095;

/// One turn of a realistic test: 21 lines, 16 instructions.
constexpr std::string_view turn = R"(
// One address after the other, with the level that the pattern wants.
LOOP 16                        // outer pass
    REGLOD INDEX 0
    WHILE LT #R3 LIMIT
        SETADDR 16 #R3 1       /* address
                                  on the pins */
        IF EQ #R4 0x80000000
            SETPIN DATA 1
            DELUS 250
        ENDIF
        BRD_SEND_CMD 0x0101 #R5 42
        ADD #R3 1 SUM
        REGINC INDEX
        MULTIO 1 2 14
    ENDWHL
    AND #R6 0b1111 7
    CALL BLINK
    TXTCOL 0xFFFF 0
ENDLOOP
)";

/// A program of exactly `instructions` instructions, at least 4.
std::string programOf(std::int64_t instructions) {
    std::string text = "DIM LIMIT 0x1F\nDIM INDEX 3\nDIM DATA LIMIT\nDIM SUM INDEX\n";
    text += "FUNC BLINK\nLEDON\nENDFUNC\n";
    for (instructions -= 4; instructions >= 16; instructions -= 16) {
        text += turn;
    }
    for (; instructions > 0; --instructions) {
        text += "DELMS #R7\n";
    }
    return text + "ENDTEST\n";
}

std::int64_t lineCount(const std::string& text) {
    return std::ranges::count(text, '\n');
}

/// What no reading of the text can go without: its words, line by line.
std::vector<std::vector<std::string>> wordsOf(const std::string& text) {
    std::vector<std::vector<std::string>> lines(1);
    std::size_t wordStart = 0;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        const char c = at < text.size() ? text[at] : '\n';
        if (c != ' ' && c != '\t' && c != '\n') {
            continue;
        }
        if (at > wordStart) {
            lines.back().emplace_back(text, wordStart, at - wordStart);
        }
        if (c == '\n') {
            lines.emplace_back();
        }
        wordStart = at + 1;
    }
    return lines;
}

/// Measures `work` on a program of the benchmark's size and counts lines.
template<typename Work>
void measure(benchmark::State& state, const Work& work) {
    const ChipDocument document{"Bench", 40, 0, 0, programOf(state.range(0)), {}};
    for (auto iteration : state) {
        benchmark::DoNotOptimize(work(document));
    }
    const std::int64_t lines = lineCount(document.code) * state.iterations();
    state.counters["lines/s"] =
        benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsRate);
}

void floorOfWords(benchmark::State& state) {
    measure(state, [](const ChipDocument& document) { return wordsOf(document.code); });
}

void compile(benchmark::State& state) {
    measure(state, compileChip);
}

void check(benchmark::State& state) {
    measure(state, validateChip);
}

void gutter(benchmark::State& state) {
    measure(state, [](const ChipDocument& document) {
        return instructionGutter(document.code, document.pins);
    });
}

/// Measures the work on the text that comes back from the bytes of the program.
template<typename Work>
void measureDecompiled(benchmark::State& state, const Work& work) {
    const ChipDocument source{"Bench", 40, 0, 0, programOf(state.range(0)), {}};
    const Bytes code = compileChip(source).bytes;
    const ChipDocument result{"Bench", 40, 0, 0, decompileChip(code), {}};
    if (code.empty() || compileChip(result).bytes != code) {
        state.SkipWithError("the program does not come back");
    }
    for (auto iteration : state) {
        work(code, result);
    }
    const auto lines = static_cast<std::int64_t>(code.size() / instructionSize);
    state.counters["lines/s"] = benchmark::Counter(static_cast<double>(lines * state.iterations()),
                                                   benchmark::Counter::kIsRate);
}

void decompile(benchmark::State& state) {
    measureDecompiled(state, [](const Bytes& code, const ChipDocument&) {
        benchmark::DoNotOptimize(decompileChip(code));
    });
}

void compileDecompiled(benchmark::State& state) {
    measureDecompiled(state, [](const Bytes&, const ChipDocument& result) {
        benchmark::DoNotOptimize(compileChip(result));
    });
}

/// The board's largest program, then growth by a factor of a hundred.
void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(largestProgram)->Arg(500)->Arg(5000)->Arg(50000);
    benchmark->Unit(benchmark::kMicrosecond);
}

BENCHMARK(floorOfWords)->Apply(sizes);
BENCHMARK(compile)->Apply(sizes);
BENCHMARK(check)->Apply(sizes);
BENCHMARK(gutter)->Apply(sizes);
BENCHMARK(decompile)->Apply(sizes);
BENCHMARK(compileDecompiled)->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
