// SPDX-License-Identifier: GPL-3.0-or-later
//
// Loading and saving the catalogue as the program does it, file and records, by the number of share points; a host
// carries ten of them.
#include "Benchmarks/BenchmarkProgram.h"

#include <benchmark/benchmark.h>

namespace quorrel {

namespace {

void describe(benchmark::State& state, BenchmarkProgram& program) {
    state.SetComplexityN(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["file"] = benchmark::Counter(
        static_cast<double>(program.fileSize()), benchmark::Counter::kDefaults, benchmark::Counter::kIs1024);
}

void load(benchmark::State& state) {
    BenchmarkProgram program(state.range(0));
    for ([[maybe_unused]] const auto& iteration : state)
        program.controller.loadHostsArray();
    const auto hosts = static_cast<std::size_t>(state.range(0) / BenchmarkProgram::sharePointsOfAHost);
    if (program.controller.hosts.count() != hosts)
        state.SkipWithError("the catalogue did not load");
    describe(state, program);
}

/// The file's part of loading, which can be done off the main thread.
void read(benchmark::State& state) {
    BenchmarkProgram program(state.range(0));
    PlistFile files;
    for ([[maybe_unused]] const auto& iteration : state)
        benchmark::DoNotOptimize(files.read(program.controller.applicationSupportFolder() + "/Quorrel2.plist"));
    describe(state, program);
}

/// Up to the disk.
void save(benchmark::State& state) {
    BenchmarkProgram program(state.range(0));
    for ([[maybe_unused]] const auto& iteration : state) {
        program.controller.saveHostsArray();
        program.saves().finish();
    }
    describe(state, program);
}

/// The main thread's part of it.
void take(benchmark::State& state) {
    BenchmarkProgram program(state.range(0));
    for ([[maybe_unused]] const auto& iteration : state) {
        program.controller.saveHostsArray();
        state.PauseTiming();
        program.saves().finish();
        state.ResumeTiming();
    }
    describe(state, program);
}

} // namespace

BENCHMARK(load)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
BENCHMARK(read)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
BENCHMARK(save)
    ->RangeMultiplier(10)
    ->Range(1'000, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Complexity(benchmark::oN);
BENCHMARK(take)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

} // namespace quorrel

BENCHMARK_MAIN();
