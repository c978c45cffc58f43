// Warm memory as an earlier run left it. The tests build it byte by byte from the numbers of the
// layout, without the layer's own declarations.
#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace test;

// Numbers that depend on the size of a mutex: 24 bytes on the unit, 40 on a workstation.
constexpr bool OnUnit = sizeof(void*) == 4;
constexpr std::size_t MutexSize = OnUnit ? 24 : 40;
constexpr std::size_t MutexKind = OnUnit ? 12 : 16; // offset in the mutex
constexpr std::size_t SlotMutex = OnUnit ? 4 : 8;   // offset in the slot's object
const std::string SyncArea = "/dev/shm/DtcmSync";

std::string freshMutex() {
    std::string mutex(MutexSize, '\0');
    mutex[MutexKind] = '\x80'; // shared between processes
    return mutex;
}

const std::string FreshSyncArea = unit::repeat(freshMutex(), OnUnit ? 504 : 840);

std::string block(std::string name, const std::string& data) {
    name.resize(16);
    name += data;
    name.resize(BlockSize);
    return name;
}

std::string slot(const char* idBytes) {
    std::string object(idBytes, 4);
    object.resize(SlotMutex);
    return block("SLOT", object + freshMutex());
}

const std::string Alarms = block("ALARMS", std::string(1520, '\xa5'));
const std::string Longest = block("exactly15bytes!", "x");

const std::string Retrieved =
    "5 WarmSlot(): The SLOT object was successfully retrieved from the warm database\n";

TEST(Golden, AreaOfAnEarlierRunIsFoundAndExtended) {
    unit::restart(unit::Watchdog, unit::areaOf(slot("\x2a\1\0\0") + Alarms + Longest));
    unit::writeFile(SyncArea, FreshSyncArea);
    const std::string log = logOf([] {
        TolvTrace_setLevel("bsp.networking", 6);
        EXPECT_EQ(Bsp_getSlotId(), 0x12a);
        const Object alarms("ALARMS", 1520);
        EXPECT_EQ(std::string(static_cast<char*>(alarms.data), 1520), std::string(1520, '\xa5'));
        EXPECT_FALSE(Object("exactly15bytes!").created);
        Bsp_setSlotId(-2);
        std::memcpy(Object("ADDED", 3).data, "new", 3);
        const std::lock_guard lock(alarms.mutex());
        std::string others = unit::readFile(SyncArea);
        EXPECT_NE(others.substr(MutexSize, MutexSize), freshMutex());
        others.replace(MutexSize, MutexSize, freshMutex());
        EXPECT_TRUE(others == FreshSyncArea);
    });
    EXPECT_EQ(
        recordsIn(log), Retrieved + "5 WarmSlot(): The slotId from WARM reset is: 298\n"
                                    "6 get(): SlotId is: 298\n5 set(): Setting slotId to: -2\n");
    const std::string extended =
        slot("\xfe\xff\xff\xff") + Alarms + Longest + block("ADDED", "new");
    const std::string before = unit::areaOf(slot("\0\0\0") + Alarms + Longest);
    EXPECT_TRUE(unit::readFile(unit::WarmArea) == extended + before.substr(extended.size()));
    EXPECT_TRUE(unit::readFile(SyncArea) == FreshSyncArea);
}

// A killed creator may leave a sync area of any size; the next process finishes it.
TEST(Golden, ColdRestartLeavesZeroesExceptForTheSlot) {
    for (const std::size_t size : {std::size_t{7}, FreshSyncArea.size() + 1, std::size_t{9999}}) {
        unit::restart(unit::Cold, unit::noise(32768));
        unit::writeFile(SyncArea, unit::noise(size));
        const std::string log = logOf([] {
            TolvTrace_setLevel("bsp.networking", 6);
            EXPECT_EQ(Bsp_getSlotId(), -1);
            EXPECT_TRUE(unit::readFile(SyncArea) == FreshSyncArea);
        });
        EXPECT_EQ(
            recordsIn(log),
            Retrieved +
                "5 WarmSlot(): The SLOT object was created, initializing the object contents\n"
                "6 get(): SlotId is: -1\n");
        EXPECT_FALSE(
            std::filesystem::exists(SyncArea)); // that process became its creator, and unlinked it
        std::string wanted = slot("\xff\xff\xff\xff");
        wanted.resize(32768);
        EXPECT_TRUE(unit::readFile(unit::WarmArea) == wanted);
    }
}

} // namespace
