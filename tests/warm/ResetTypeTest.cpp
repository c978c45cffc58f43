#include "bsp/ResetType.hpp"

#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace test;
using os::bsp::getResetType;
using os::bsp::ResetType;

const auto Register = unit::Root / "dev/top.sys_ctrl0";
constexpr const char* Marker = "/tmp/restart_cold";
constexpr unit::Code RegisterUnit = {16, 0, 0, 0, 0, 0, 0, 0};
constexpr unit::Code MarkerUnit = {36, 1, 1, 8, 0, 4, 0, 0};
constexpr unit::Code OtherUnit = {48, 1, 2, 6, 0, 2, 0, 0};

std::string lastReset() {
    return os::bsp::resetTypeToString(getResetType());
}

TEST(ResetType, IsTheRegistersWholeWord) {
    unit::writeEeprom(RegisterUnit);
    unit::writeFile(Marker, ""); // not for this unit
    const std::tuple<std::string, int, const char*> registers[] = {
        {{"\0\0\0\0", 4}, 0, "Cold"},        {{"\1\0\0\0", 4}, 1, "Warm"},
        {{"\2\0\0\0", 4}, 2, "Watchdog"},    {{"\3\0\0\0", 4}, 3, "Unknown"},
        {{"\x09\0\0\0", 4}, 9, "EndOfList"}, {{"\0\0\0\x80", 4}, INT32_MIN, "EndOfList"},
    };
    for (const auto& [word, value, name] : registers) {
        unit::writeFile(Register, word);
        const auto outcome = inChild([&, value = value, name = name] {
            EXPECT_EQ(static_cast<int>(getResetType()), value);
            EXPECT_EQ(lastReset(), name);
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(ResetType, UnknownIsTriedAgainAndAnAnswerKept) {
    unit::writeEeprom(RegisterUnit);
    EXPECT_EQ(lastReset(), "Unknown"); // no device
    unit::writeFile(Register, "\1\0");
    EXPECT_EQ(lastReset(), "Unknown"); // a register that cannot be read
    unit::writeFile(Register, {"\3\0\0\0", 4});
    EXPECT_EQ(lastReset(), "Unknown");
    unit::writeFile(Register, {"\2\0\0\0", 4});
    EXPECT_EQ(lastReset(), "Watchdog");
    unit::writeFile(Register, {"\1\0\0\0", 4});
    EXPECT_EQ(lastReset(), "Watchdog");
}

TEST(ResetType, IsToldByTheMarkerFile) {
    unit::writeEeprom(MarkerUnit);
    unit::writeFile(Register, {"\2\0\0\0", 4}); // not for this unit
    EXPECT_EQ(inChild([] { EXPECT_EQ(lastReset(), "Warm"); }).status, 0);
    unit::writeFile(Marker, "");
    EXPECT_EQ(lastReset(), "Cold");
    EXPECT_TRUE(std::filesystem::remove(Marker));
    EXPECT_EQ(lastReset(), "Cold");
}

TEST(ResetType, AnyOtherUnitIsCold) {
    unit::writeEeprom(OtherUnit);
    unit::writeFile(Register, {"\2\0\0\0", 4});
    EXPECT_EQ(lastReset(), "Cold");
}

TEST(ResetType, ThreadsAgree) {
    unit::writeEeprom(RegisterUnit);
    unit::writeFile(Register, {"\2\0\0\0", 4});
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { EXPECT_EQ(getResetType(), ResetType::Watchdog); });
    }
}

} // namespace
