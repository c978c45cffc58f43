#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace test;

constexpr std::size_t BlockSize = 1536;

std::string blockLine(std::size_t number, std::string name) {
    name.resize(20, ' ');
    return numbered(number < 10 ? "Block[0" : "Block[", number) + "] Name: " + name +
           " Size: 1536\n";
}

std::string wholeInfo(const std::vector<std::string>& names) {
    std::string text = "Warm database information:\n";
    std::size_t number = 0;
    for (const auto& name : names) {
        text += blockLine(++number, name);
    }
    return text + numbered("Used bytes: ", BlockSize * number) + " out of 32768\n";
}

// What a buffer of `size` bytes is to hold: lines are started while 46 bytes are left, after every
// block, and the last line started may be cut.
std::string expectedInfo(const std::vector<std::string>& names, std::size_t size) {
    std::string text = "Warm database information:\n";
    for (const auto& name : names) {
        if (size < text.size() + 46) {
            break;
        }
        text += blockLine(static_cast<std::size_t>(&name - names.data()) + 1, name);
    }
    if (size >= text.size() + 46) {
        text = wholeInfo(names);
    }
    return text.substr(0, size > 0 ? size - 1 : 0);
}

void expectInfoForEverySize(const std::vector<std::string>& names) {
    constexpr std::size_t Canaries = 64;
    for (std::size_t size = 0; size <= 1200; ++size) {
        std::vector<char> buffer(size + Canaries, '\x55');
        EXPECT_EQ(WarmDatabase_getInfo(buffer.data(), static_cast<unsigned>(size)), 0);
        const auto canaries = static_cast<std::size_t>(
            std::count(buffer.begin() + static_cast<std::ptrdiff_t>(size), buffer.end(), '\x55'));
        ASSERT_EQ(canaries, Canaries) << size;
        if (size > 0) {
            ASSERT_EQ(std::string(buffer.data()), expectedInfo(names, size)) << size;
        }
    }
}

TEST(Diagnostics, InfoFillsABufferOfAnySize) {
    unit::restart(unit::Cold, "");
    std::vector<std::string> names;
    expectInfoForEverySize(names);
    for (int i = 1; i <= 21; ++i) {
        names.push_back(i == 3 ? "fifteen bytes.." : numbered("object ", i));
        ASSERT_EQ(Object(names.back()).result, 0);
        if (i == 1 || i == 3 || i == 20 || i == 21) {
            expectInfoForEverySize(names);
        }
    }
    EXPECT_EQ(WarmDatabase_getInfo(nullptr, 0), 0);
    EXPECT_EQ(WarmDatabase_getInfo(nullptr, 1), -1);
}

TEST(Diagnostics, EveryBlockIsLookedAt) {
    std::string area(32768, '\0');
    area.replace(BlockSize * 2, 1, "b"); // a hole before it: not by this system's doing
    unit::restart(unit::Warm, area);
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    testing::internal::CaptureStderr();
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 20U);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLines(log, "logNamesOfUsedBlocks(): Block[3] Name: b"), 1) << log;
    EXPECT_EQ(
        countLines(
            log, "getNumberOfFreeBlocks(): Max number of blocks available: 21, Number of free "
                 "blocks: 20"),
        1)
        << log;
}

// After a restart of unknown kind the area may hold anything.
TEST(Diagnostics, NoiseIsReportedWithinItsFields) {
    std::string area = unit::noise(32768);
    for (std::size_t block = 0; block < 21; ++block) {
        area.replace(block * BlockSize, 16, "sixteen bytes..!");
    }
    area.replace(20 * BlockSize, 1, 1, '\0');
    unit::restart(unit::Unknown, area);
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    testing::internal::CaptureStderr();
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 1U);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLines(log, "Name: sixteen bytes..!"), 20) << log;
    EXPECT_EQ(log.find("bytes..!") + 8, log.find('\n', log.find("bytes..!")));
    char info[1200] = {};
    EXPECT_EQ(WarmDatabase_getInfo(info, sizeof info), 0);
    EXPECT_EQ(std::strlen(info), 27U + 20 * 48 + 31);
    EXPECT_EQ(Object("sixteen bytes..").created, true); // in the last block
    EXPECT_EQ(Object("another").result, -1);
    EXPECT_EQ(unit::readFile(unit::WarmArea).substr(20 * BlockSize, 15), "sixteen bytes..");
}

TEST(Diagnostics, NoiseOfAnyKindIsSurvived) {
    unit::restart(unit::Unknown, unit::noise(32768));
    std::vector<char> info(1200);
    EXPECT_EQ(WarmDatabase_getInfo(info.data(), 1200), 0);
    database().getNumberOfFreeBlocks();
    const Object object("object");
    EXPECT_EQ(object.result, object.data != nullptr ? 0 : -1);
}

} // namespace
