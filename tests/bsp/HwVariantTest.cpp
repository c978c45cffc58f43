#include "HwVariant.hpp"

#include "HwCode.hpp"
#include "Process.hpp"
#include "Unit.hpp"
#include "bsp/Bsp.h"
#include "bsp/Product.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

namespace {

using namespace test;
using os::bsp::getHwCode;
using os::bsp::hwVariants;
using os::bsp::QorHwVariant;

constexpr unit::Code UnknownCode = {9, 8, 7, 6, 5, 4, 3, 255};

QorHwVariant makeRow(int revision, const unit::Code& code) {
    QorHwVariant row{revision, {}, 1, {}};
    std::copy(code.begin(), code.end(), row.hwCode.words.begin());
    return row;
}

void queryEverywhere() {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int j = 0; j < 100; ++j) {
                Bsp_getHwRevision();
                getHwCode();
            }
        });
    }
}

// Opens of the EEPROM's file while `queries` run.
int countEepromReads(const std::function<void()>& queries) {
    const int watch = inotify_init1(IN_NONBLOCK);
    inotify_add_watch(watch, unit::Eeprom.c_str(), IN_OPEN);
    queries();
    char events[4096];
    const ssize_t length = read(watch, events, sizeof events);
    close(watch);
    return length < 0 ? 0 : static_cast<int>(length / static_cast<ssize_t>(sizeof(inotify_event)));
}

TEST(HwVariant, IsFoundOnceFromOneEepromRead) {
    const auto& row = hwVariants[7];
    unit::Code code;
    std::copy(row.hwCode.words.begin(), row.hwCode.words.end(), code.begin());
    unit::writeEeprom(code);
    EXPECT_EQ(countEepromReads(queryEverywhere), 1);
    EXPECT_EQ(Bsp_getQorHwVariant(), &row);
}

TEST(HwVariant, FirstOfSeveralMatchesIsTaken) {
    unit::writeEeprom(UnknownCode);
    hwVariants = {makeRow(0, {1}), makeRow(3, UnknownCode), makeRow(4, UnknownCode)};
    hwVariants.resize(15, makeRow(5, {2}));
    EXPECT_EQ(Bsp_getHwRevision(), 3);
}

TEST(HwVariant, UnmatchedCodeTakesTheFirstRowAndKeepsTheCode) {
    unit::writeEeprom(UnknownCode);
    const auto outcome = inChild([] {
        queryEverywhere();
        EXPECT_EQ(Bsp_getQorHwVariant(), &hwVariants.front());
        EXPECT_TRUE(std::equal(UnknownCode.begin(), UnknownCode.end(), getHwCode().words.begin()));
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(countLines(outcome.err, "operator(): operator()(): Invalid hardware variant"), 1);
    EXPECT_EQ(countLines(outcome.err, ""), 1);
}

TEST(HwVariant, UnreadableEepromGivesTheFifteenthRow) {
    const std::string prefix = "[bsp.core] 1 os_extensions/bsp/src/Bsp:";
    for (const auto& [content, error] :
         {std::pair{"", "Returned 2"}, std::pair{"1234567", "Returned 5"}}) {
        if (*content != '\0') {
            unit::writeFile(unit::Eeprom, content);
        }
        const auto outcome = inChild([] {
            queryEverywhere();
            EXPECT_EQ(Bsp_getQorHwVariant(), &hwVariants[14]);
            EXPECT_EQ(getHwCode().words, hwVariants[14].hwCode.words);
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_EQ(outcome.err.find(prefix), 0u) << outcome.err;
        EXPECT_EQ(countLines(outcome.err, "operator()(): e2prom_data_read() failed. "), 1);
        EXPECT_EQ(countLines(outcome.err, error), 1) << outcome.err;
    }
}

TEST(HwVariant, DefaultCodeMayMatchAnEarlierRow) {
    hwVariants[2].hwCode = hwVariants[14].hwCode;
    EXPECT_EQ(Bsp_getQorHwVariant(), &hwVariants[2]);
}

TEST(HwVariant, ShortTableHasNoDefaultCode) {
    for (const std::size_t rows : {14, 1, 0}) {
        const auto outcome = inChild([rows] {
            hwVariants.resize(rows);
            queryEverywhere();
            EXPECT_EQ(std::accumulate(getHwCode().words.begin(), getHwCode().words.end(), 0), -8);
            EXPECT_FALSE(*Bsp_getQorHwVariant() == getHwCode());
            EXPECT_EQ(Bsp_getProductId(), rows > 0 ? 5 : 18);
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_EQ(countLines(outcome.err, "only " + std::to_string(rows) + " rows"), 1);
        EXPECT_EQ(countLines(outcome.err, "Invalid hardware variant"), 1);
    }
}

TEST(HwVariant, StaticConstructorMayAskBeforeTheLayersStatics) {
    unit::writeEeprom({50, 1, 2, 8, 0, 4, 0, 0});
    const auto known = runProgram({BSP_EARLY_CLIENT});
    EXPECT_EQ(known.out, "9 LYN3002 9\n");
    EXPECT_EQ(known.err, "");
    unit::writeEeprom({49, 1, 2, 6, 0, 2, 1, 0});
    const auto unknown = runProgram({BSP_EARLY_CLIENT});
    EXPECT_EQ(unknown.out, "18 EndOfList 18\n");
    EXPECT_EQ(countLines(unknown.err, "getProductId(): Unknown product ID: 8"), 2);
}

} // namespace
