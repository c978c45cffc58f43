// Warm memory as an earlier run left it, laid down byte by byte from the numbers of the layout:
// none of the layer's own declarations of it are used here.
#include "Database.hpp"
#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace test;

/// What depends on the size of a mutex: 24 bytes on the unit, 40 on a workstation.
struct Numbers {
    std::size_t mutexSize;
    std::size_t mutexKind; // offset in the mutex
    std::size_t syncAreaSize;
    std::size_t slotMutex; // offset in the slot's object
};

constexpr Numbers Unit{24, 12, 504, 4};
constexpr Numbers Workstation{40, 16, 840, 8};
constexpr Numbers Abi = sizeof(void*) == 4 ? Unit : Workstation;

constexpr std::size_t BlockSize = 1536;
constexpr std::size_t NameSize = 16;
constexpr char ProcessShared = '\x80';
const std::string SyncArea = "/dev/shm/DtcmSync";

std::string freshMutex() {
    std::string mutex(Abi.mutexSize, '\0');
    mutex[Abi.mutexKind] = ProcessShared;
    return mutex;
}

std::string freshSyncArea() {
    std::string area;
    while (area.size() < Abi.syncAreaSize) {
        area += freshMutex();
    }
    return area;
}

std::string slotObject(const char* idBytes) {
    return (std::string(idBytes, 4) + std::string(Abi.slotMutex - 4, '\0')) + freshMutex();
}

std::string block(const std::string& name, const std::string& data) {
    std::string bytes = name + std::string(NameSize - name.size(), '\0') + data;
    bytes.resize(BlockSize);
    return bytes;
}

/// `blocks` at the start of an area of noise, in which all other blocks are marked as free.
std::string area(const std::string& blocks) {
    std::string bytes = blocks + unit::noise(32768 - blocks.size());
    for (std::size_t i = blocks.size(); i < 21 * BlockSize; i += BlockSize) {
        bytes[i] = '\0';
    }
    return bytes;
}

::testing::AssertionResult sameBytes(const std::string& seen, const std::string& wanted) {
    for (std::size_t i = 0; i < std::max(seen.size(), wanted.size()); ++i) {
        if (seen.substr(i, 1) != wanted.substr(i, 1)) {
            return ::testing::AssertionFailure() << "sizes " << seen.size() << " and "
                                                 << wanted.size() << ", different from byte " << i;
        }
    }
    return ::testing::AssertionSuccess();
}

class GoldenArea : public testing::Test {
protected:
    GoldenArea() {
        unit::restart(unit::Warm, area(m_kept));
        unit::writeFile(SyncArea, freshSyncArea());
    }

    static std::string answerOf(const std::function<void()>& client) {
        const Outcome outcome = inChild(client);
        EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        return outcome.out;
    }

    const std::string m_slot = block("SLOT", slotObject("\x2a\1\0\0"));
    const std::string m_alarms = block("ALARMS", std::string(1520, '\xa5'));
    const std::string m_longest = block("exactly15bytes!", "x");
    const std::string m_kept = m_slot + m_alarms + m_longest;
};

TEST_F(GoldenArea, IsFoundAndReported) {
    const std::string info = answerOf([] {
        EXPECT_EQ(Bsp_getSlotId(), 0x12a);
        EXPECT_FALSE(Object("exactly15bytes!").created);
        const Object alarms("ALARMS", 1520);
        EXPECT_FALSE(alarms.created);
        EXPECT_EQ(std::string(static_cast<char*>(alarms.data), 1520), std::string(1520, '\xa5'));
        EXPECT_EQ(database().getNumberOfFreeBlocks(), 18U);
        char text[300];
        EXPECT_EQ(WarmDatabase_getInfo(text, sizeof text), 0);
        std::fputs(text, stdout);
    });
    EXPECT_EQ(
        info, "Warm database information:\n"
              "Block[01] Name: SLOT                 Size: 1536\n"
              "Block[02] Name: ALARMS               Size: 1536\n"
              "Block[03] Name: exactly15bytes!      Size: 1536\n"
              "Used bytes: 4608 out of 32768\n");
    EXPECT_TRUE(sameBytes(unit::readFile(unit::WarmArea), area(m_kept)));
    EXPECT_TRUE(sameBytes(unit::readFile(SyncArea), freshSyncArea()));
}

TEST_F(GoldenArea, IsExtendedWhereItEnds) {
    answerOf([] {
        Bsp_setSlotId(-2);
        const Object added("ADDED", 3);
        EXPECT_TRUE(added.created);
        std::memcpy(added.data, "new", 3);
    });
    std::string wanted = area(m_kept);
    wanted.replace(0, BlockSize, block("SLOT", slotObject("\xfe\xff\xff\xff")));
    wanted.replace(m_kept.size(), BlockSize, block("ADDED", "new"));
    EXPECT_TRUE(sameBytes(unit::readFile(unit::WarmArea), wanted));
}

TEST_F(GoldenArea, SyncObjectsAreMutexesInOrderOfBlocks) {
    answerOf([] {
        const Object alarms("ALARMS");
        const std::lock_guard lock(alarms.mutex());
        std::string others = unit::readFile(SyncArea);
        EXPECT_NE(others.substr(Abi.mutexSize, Abi.mutexSize), freshMutex());
        others.replace(Abi.mutexSize, Abi.mutexSize, freshMutex());
        EXPECT_TRUE(sameBytes(others, freshSyncArea()));
    });
    EXPECT_TRUE(sameBytes(unit::readFile(SyncArea), freshSyncArea()));
}

TEST(GoldenColdRestart, LeavesTheSlotAloneInAnAreaOfZeroes) {
    unit::restart(unit::Cold, unit::noise(32768));
    unit::writeFile(SyncArea, unit::noise(7)); // unfinished
    const Outcome outcome = inChild([] {
        EXPECT_EQ(Bsp_getSlotId(), -1);
        EXPECT_TRUE(sameBytes(unit::readFile(SyncArea), freshSyncArea()));
    });
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    const std::string slot = block("SLOT", slotObject("\xff\xff\xff\xff"));
    EXPECT_TRUE(
        sameBytes(unit::readFile(unit::WarmArea), slot + std::string(32768 - slot.size(), '\0')));
}

} // namespace
