// Compares board queries after their first call with a function that reads a table entry.
#include "bsp/Bsp.h"

#include <benchmark/benchmark.h>

#include <array>

namespace {

volatile int seed = 3;
std::array<int, 16> table = {seed, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7, 9, 3};

[[gnu::noinline]] int tableEntry(unsigned index) {
    return table[index % table.size()];
}

void lookIntoATable(benchmark::State& state) {
    unsigned index = 5;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(index);
        benchmark::DoNotOptimize(tableEntry(index));
    }
}
BENCHMARK(lookIntoATable);

template <auto Query>
void query(benchmark::State& state) {
    Query();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Query());
    }
}
#define BENCHMARK_QUERY(name) BENCHMARK(query<name>)->Name(#name)

BENCHMARK_QUERY(Bsp_getProductId);
BENCHMARK_QUERY(Bsp_getHwRevision);
BENCHMARK_QUERY(Bsp_getPlatformType);
BENCHMARK_QUERY(Bsp_getTrafficBackplane);
BENCHMARK_QUERY(Bsp_getControlBackplane);
BENCHMARK_QUERY(Bsp_getDspType);
BENCHMARK_QUERY(Bsp_getSwitchType);
BENCHMARK_QUERY(Bsp_getNumberOfChannels);
BENCHMARK_QUERY(Bsp_getNumberOfRlt);
BENCHMARK_QUERY(Bsp_getRadiolinkMode);
BENCHMARK_QUERY(Bsp_getBoardId);
BENCHMARK_QUERY(Bsp_getBoardIdText);
BENCHMARK_QUERY(Bsp_getLatestBoardIdText);
BENCHMARK_QUERY(Bsp_getTrafFpgaType); // reads the store if the unit's traffic type has variants

} // namespace
