// Board queries after the first call, beside an opaque function that returns a table entry.
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
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Query());
    }
}
BENCHMARK(query<Bsp_getProductId>)->Name("Bsp_getProductId");
BENCHMARK(query<Bsp_getHwRevision>)->Name("Bsp_getHwRevision");
BENCHMARK(query<Bsp_getBoardId>)->Name("Bsp_getBoardId");
BENCHMARK(query<Bsp_getBoardIdText>)->Name("Bsp_getBoardIdText");
BENCHMARK(query<Bsp_getLatestBoardIdText>)->Name("Bsp_getLatestBoardIdText");

} // namespace
