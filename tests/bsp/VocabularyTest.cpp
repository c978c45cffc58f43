#include "bsp/Vocabulary.hpp"

#include <gtest/gtest.h>

namespace {

using namespace os::bsp;

struct Table {
    NameTable rows;
    int lastValue;
    const char* first;
    const char* last;
};

TEST(Vocabulary, TablesAreGaplessAndEndInEndOfList) {
    const Table tables[] = {
        {productIdNames(), 17, "TK5454", "LYN3003"},
        {hwRevisionNames(), 6, "R1_P2", "XPIC"},
        {switchTypeNames(), 3, "None", "Cetus"},
        {dspTypeNames(), 6, "None", "BCM85651"},
        {trafFpgaTypeNames(), 22, "None", "Kelvo"},
        {trafficBackplaneTypeNames(), 2, "None", "Ethernet"},
        {controlBackplaneTypeNames(), 3, "None", "Ethernet"},
        {radiolinkModeNames(), 1, "Rl4", "Rl5"},
        {platformTypeNames(), 2, "Pt", "Qor5"},
        {resetTypeNames(), 3, "Cold", "Unknown"},
    };
    for (const Table& table : tables) {
        SCOPED_TRACE(table.last);
        EXPECT_EQ(table.rows.size(), static_cast<std::size_t>(table.lastValue) + 2);
        EXPECT_EQ(lookupName(table.rows, 0), table.first);
        EXPECT_EQ(lookupName(table.rows, table.lastValue), table.last);
        for (const int outside : {-1, table.lastValue + 1, table.lastValue + 2, INT32_MIN}) {
            EXPECT_EQ(lookupName(table.rows, outside), "EndOfList");
        }
        for (std::size_t i = 0; i < table.rows.size(); ++i) {
            EXPECT_EQ(table.rows[i].value, static_cast<int>(i));
        }
    }
}

} // namespace
