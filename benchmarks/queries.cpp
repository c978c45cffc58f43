// Board queries after the first call, beside an opaque function that returns a table entry.
#include "allocations.hpp"
#include "bsp/Bsp.h"
#include "opaque.hpp"

#include <benchmark/benchmark.h>

namespace {

void tableEntryOfAnOpaqueFunction(benchmark::State& state) {
    unsigned index = 5;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(index);
        benchmark::DoNotOptimize(tableEntry(index));
    }
}
BENCHMARK(tableEntryOfAnOpaqueFunction);

template <auto Query>
void query(benchmark::State& state) {
    Query();
    const unsigned long before = allocations();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Query());
    }
    state.counters["allocations"] = static_cast<double>(allocations() - before);
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
BENCHMARK_QUERY(Bsp_getTrafFpgaType); // reads the store, on a unit that has FPGA variants

void getFpgaPath(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Bsp_getFpgaPath("pci"));
    }
}
BENCHMARK(getFpgaPath);

} // namespace
