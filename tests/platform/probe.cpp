#include "HwVariant.hpp"
#include "TolvTrace.hpp"

#include <cstdio>

int main() {
    TolvTrace first("probe.first", TolvTraceLevel{3});
    TolvTrace second("probe.second", TolvTraceLevel{3});
    for (int level = 1; level <= 7; ++level) {
        std::printf(
            "%c%c ", first.isEnabled(TolvTraceLevel{level}) ? '1' : '0',
            second.isEnabled(TolvTraceLevel{level}) ? '1' : '0');
    }
    std::printf("\nrows %zu", os::bsp::hwVariants.size());
    if (!os::bsp::hwVariants.empty()) {
        const auto& last = os::bsp::hwVariants.back();
        std::printf(" last %d %d %d", last.hwRevision, last.productCode, last.hwCode.words[7]);
    }
    std::printf("\n");
    return 0;
}
