#include "bsp/ResetType.hpp"

#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

namespace {

using namespace test;

const auto Register = unit::Root / "dev/top.sys_ctrl0";
constexpr const char* Marker = "/tmp/restart_cold";
constexpr unit::Code RegisterUnit = {16, 0, 0, 0, 0, 0, 0, 0};
constexpr unit::Code MarkerUnit = {36, 1, 1, 8, 0, 4, 0, 0};
constexpr unit::Code OtherUnit = {48, 1, 2, 6, 0, 2, 0, 0};

std::string lastReset() {
    return os::bsp::resetTypeToString(os::bsp::getResetType());
}

TEST(ResetType, IsToldByTheRegisterOrByTheMarkerFile) {
    const std::tuple<unit::Code, std::string, bool, const char*> restarts[] = {
        {RegisterUnit, {"\0\0\0\0\2", 5}, false, "Cold"},
        {RegisterUnit, {"\1\0\0\0", 4}, true, "Warm"},
        {RegisterUnit, {"\2\0\0\0", 4}, true, "Watchdog"},
        {RegisterUnit, {"\3\0\0\0", 4}, true, "Unknown"},
        {RegisterUnit, {"\x09\0\0\0", 4}, true, "EndOfList"},
        {RegisterUnit, {"\0\0\0\x80", 4}, true, "EndOfList"},
        {MarkerUnit, {"\2\0\0\0", 4}, true, "Cold"},
        {MarkerUnit, {"\2\0\0\0", 4}, false, "Warm"},
        {OtherUnit, {"\2\0\0\0", 4}, false, "Cold"},
    };
    for (const auto& [code, word, marked, type] : restarts) {
        std::filesystem::remove(Marker);
        if (marked) {
            unit::writeFile(Marker, "");
        }
        unit::writeEeprom(code);
        unit::writeFile(Register, word);
        EXPECT_EQ(inChild([] { std::fputs(lastReset().c_str(), stdout); }).out, type);
    }
}

TEST(ResetType, UnknownIsTriedAgainAndAnAnswerKept) {
    unit::writeEeprom(RegisterUnit);
    EXPECT_EQ(lastReset(), "Unknown"); // no device
    const std::pair<std::string, const char*> words[] = {
        {"\1\0", "Unknown"}, // cannot be read
        {{"\3\0\0\0", 4}, "Unknown"},
        {{"\2\0\0\0", 4}, "Watchdog"},
        {{"\1\0\0\0", 4}, "Watchdog"},
    };
    for (const auto& [word, type] : words) {
        unit::writeFile(Register, word);
        EXPECT_EQ(lastReset(), type);
    }
}

} // namespace
