#pragma once

#include <benchmark/benchmark.h>

// Every benchmark program's main: the Qt application its benchmarks need (QCoreApplication,
// or QApplication for widgets), then Google Benchmark with the command line's flags.
template <typename Application>
int runBenchmarks(int argc, char** argv)
{
    Application app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
