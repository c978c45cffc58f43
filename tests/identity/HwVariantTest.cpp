#include "HwVariant.hpp"

#include "Identity/HwCode.hpp"
#include "Process.hpp"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

namespace {

using namespace test;
using os::bsp::getHwCode;
using os::bsp::hwVariants;

constexpr unit::Code UnknownCode = {9, 8, 7, 6, 5, 4, 3, 255};

// Runs `body` in a process that has not asked yet; `messages` and no others are logged, once each.
void expectOnce(const std::function<void()>& body, const std::vector<std::string>& messages) {
    const auto outcome = inChild([&] {
        {
            std::vector<std::jthread> threads(8);
            for (std::jthread& thread : threads) {
                thread = std::jthread([] {
                    Bsp_getQorHwVariant();
                    getHwCode();
                });
            }
        }
        body();
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    for (const auto& message : messages) {
        EXPECT_EQ(
            countLines(outcome.err, "[bsp.core] 1 os_extensions/bsp/src/Bsp:"),
            int(messages.size()));
        EXPECT_EQ(countLines(outcome.err, " operator(): operator()(): " + message), 1)
            << outcome.err;
    }
    EXPECT_EQ(countLines(outcome.err, ""), int(messages.size())) << outcome.err;
}

TEST(HwVariant, FirstMatchingRowIsTaken) {
    unit::writeEeprom(UnknownCode);
    std::copy(UnknownCode.begin(), UnknownCode.end(), hwVariants[3].hwCode.words.begin());
    hwVariants[7].hwCode = hwVariants[3].hwCode;
    expectOnce([] { EXPECT_EQ(Bsp_getQorHwVariant(), &hwVariants[3]); }, {});
}

TEST(HwVariant, UnmatchedCodeTakesTheFirstRowAndKeepsTheCode) {
    unit::writeEeprom(UnknownCode);
    expectOnce(
        [] {
            EXPECT_EQ(Bsp_getQorHwVariant(), &hwVariants.front());
            EXPECT_TRUE(
                std::equal(UnknownCode.begin(), UnknownCode.end(), getHwCode().words.begin()));
        },
        {"Invalid hardware variant"});
}

TEST(HwVariant, UnreadableEepromGivesTheFifteenthRow) {
    const auto fifteenth = [] {
        EXPECT_EQ(Bsp_getQorHwVariant(), &hwVariants[14]);
        EXPECT_EQ(getHwCode().words, hwVariants[14].hwCode.words);
    };
    expectOnce(fifteenth, {"e2prom_data_read() failed. Returned 2"});
    unit::writeFile(unit::Eeprom, "1234567");
    expectOnce(fifteenth, {"e2prom_data_read() failed. Returned 5"});
}

TEST(HwVariant, ShortTableHasNoDefaultCode) {
    for (const std::size_t rows : {14, 1, 0}) {
        hwVariants.resize(rows);
        expectOnce(
            [rows] {
                EXPECT_EQ(
                    std::accumulate(getHwCode().words.begin(), getHwCode().words.end(), 0), -8);
                EXPECT_FALSE(*Bsp_getQorHwVariant() == getHwCode());
                EXPECT_EQ(Bsp_getHwRevision(), rows > 0 ? hwVariants[0].hwRevision : 0);
            },
            {"e2prom_data_read() failed. Returned 2",
             "No default hardware code, the hardware variant table has only " +
                 std::to_string(rows) + " rows",
             "Invalid hardware variant"});
    }
}

TEST(HwVariant, StaticConstructorMayAskBeforeTheLayersStatics) {
    unit::writeEeprom({50, 1, 2, 8, 0, 4, 0, 0});
    const auto known = runProgram({BSP_EARLY_CLIENT});
    EXPECT_EQ(known.out + known.err, "9 LYN3002 9\n");
}

} // namespace
