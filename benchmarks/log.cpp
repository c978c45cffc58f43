// What a message below the level costs.
#include "CoreLog.hpp"
#include "opaque.hpp"

#include <benchmark/benchmark.h>

namespace {

void noMessage(benchmark::State& state) {
    unsigned index = 5;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(index);
        benchmark::DoNotOptimize(tableEntry(index));
    }
}
BENCHMARK(noMessage);

void messageBelowTheLevel(benchmark::State& state) {
    unsigned index = 5;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(index);
        const int entry = tableEntry(index);
        BSP_LOG(os::bsp::coreLog(), 7, "entry ", entry);
        benchmark::DoNotOptimize(entry);
    }
}
BENCHMARK(messageBelowTheLevel);

} // namespace
