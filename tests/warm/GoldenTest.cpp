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

/// The numbers that depend on the size of a mutex: 24 bytes on the unit, 40 on a workstation.
struct Numbers {
    std::size_t mutexSize;
    std::size_t mutexKind; // offset in the mutex
    std::size_t syncAreaSize;
    std::size_t slotMutex; // offset in the slot's object
};

constexpr Numbers Unit{24, 12, 504, 4};
constexpr Numbers Workstation{40, 16, 840, 8};
constexpr Numbers Abi = sizeof(void*) == 4 ? Unit : Workstation;
const std::string SyncArea = "/dev/shm/DtcmSync";

std::string freshMutex() {
    std::string mutex(Abi.mutexSize, '\0');
    mutex[Abi.mutexKind] = '\x80'; // shared between processes
    return mutex;
}

std::string freshSyncArea() {
    return unit::repeat(freshMutex(), Abi.syncAreaSize);
}

std::string block(std::string name, const std::string& data) {
    name.resize(16);
    name += data;
    name.resize(BlockSize);
    return name;
}

std::string slot(const char* idBytes) {
    std::string object(idBytes, 4);
    object.resize(Abi.slotMutex);
    return block("SLOT", object + freshMutex());
}

/// Returns an area that starts with `blocks`; the rest is noise, in which each block is marked
/// free.
std::string area(const std::string& blocks) {
    std::string bytes = blocks + unit::noise(32768 - blocks.size());
    for (std::size_t i = blocks.size(); i < 21 * BlockSize; i += BlockSize) {
        bytes[i] = '\0';
    }
    return bytes;
}

const std::string Alarms = block("ALARMS", std::string(1520, '\xa5'));
const std::string Longest = block("exactly15bytes!", "x");

TEST(Golden, AreaOfAnEarlierRunIsFoundAndExtended) {
    unit::restart(unit::Warm, area(slot("\x2a\1\0\0") + Alarms + Longest));
    unit::writeFile(SyncArea, freshSyncArea());
    logOf([] {
        EXPECT_EQ(Bsp_getSlotId(), 0x12a);
        const Object alarms("ALARMS", 1520);
        EXPECT_EQ(std::string(static_cast<char*>(alarms.data), 1520), std::string(1520, '\xa5'));
        EXPECT_FALSE(Object("exactly15bytes!").created);
        Bsp_setSlotId(-2);
        std::memcpy(Object("ADDED", 3).data, "new", 3);
        const std::lock_guard lock(alarms.mutex());
        std::string others = unit::readFile(SyncArea);
        EXPECT_NE(others.substr(Abi.mutexSize, Abi.mutexSize), freshMutex());
        others.replace(Abi.mutexSize, Abi.mutexSize, freshMutex());
        EXPECT_TRUE(others == freshSyncArea());
    });
    const std::string extended =
        slot("\xfe\xff\xff\xff") + Alarms + Longest + block("ADDED", "new");
    const std::string before = area(slot("\0\0\0") + Alarms + Longest);
    EXPECT_TRUE(unit::readFile(unit::WarmArea) == extended + before.substr(extended.size()));
    EXPECT_TRUE(unit::readFile(SyncArea) == freshSyncArea());
}

// A killed creator may leave a sync area of any size; the next process finishes it.
TEST(Golden, ColdRestartLeavesZeroesExceptForTheSlot) {
    for (const std::size_t size : {std::size_t{7}, Abi.syncAreaSize + 1, std::size_t{9999}}) {
        unit::restart(unit::Cold, unit::noise(32768));
        unit::writeFile(SyncArea, unit::noise(size));
        logOf([] {
            EXPECT_EQ(Bsp_getSlotId(), -1);
            EXPECT_TRUE(unit::readFile(SyncArea) == freshSyncArea());
        });
        EXPECT_FALSE(
            std::filesystem::exists(SyncArea)); // that process became its creator, and unlinked it
        std::string wanted = slot("\xff\xff\xff\xff");
        wanted.resize(32768);
        EXPECT_TRUE(unit::readFile(unit::WarmArea) == wanted);
    }
}

const std::string Retrieved =
    "5 WarmSlot(): The SLOT object was successfully retrieved from the warm database\n";

// The area starts with an uninitialised SLOT object: its creator may be killed, or overtaken by
// another process, before it initialises the object.
TEST(Slot, IsSharedAndSurvivesAWarmRestartOnly) {
    TolvTrace_setLevel("bsp.networking", 6);
    unit::restart(unit::Warm, "SLOT");
    const auto use = [] {
        EXPECT_EQ(Bsp_getSlotId(), -1);
        Bsp_setSlotId(7);
        logOf([] { EXPECT_EQ(Bsp_getSlotId(), 7); });
    };
    EXPECT_EQ(
        recordsIn(logOf(use)), Retrieved + "5 WarmSlot(): The slotId from WARM reset is: -1\n"
                                           "6 get(): SlotId is: -1\n"
                                           "5 set(): Setting slotId to: 7\n");
    unit::restart(unit::Warm, unit::readFile(unit::WarmArea));
    EXPECT_EQ(
        recordsIn(logOf([] { EXPECT_EQ(Bsp_getSlotId(), 7); })),
        Retrieved + "5 WarmSlot(): The slotId from WARM reset is: 7\n6 get(): SlotId is: 7\n");
    unit::restart(unit::Cold, unit::readFile(unit::WarmArea));
    EXPECT_EQ(
        recordsIn(logOf([] { EXPECT_EQ(Bsp_getSlotId(), -1); })),
        Retrieved + "5 WarmSlot(): The SLOT object was created, initializing the object contents\n"
                    "6 get(): SlotId is: -1\n");
}

} // namespace
