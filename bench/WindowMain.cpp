// Runs the benchmarks of a window.

#include <QApplication>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
