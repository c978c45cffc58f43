#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

using namespace test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

std::string area() {
    return unit::readFile(unit::WarmArea);
}

const std::string NoSpace = "1 createObject(): Error: DTCM is out of space.\n";

class Objects : public testing::Test {
protected:
    Objects() {
        unit::restart(unit::Cold, unit::noise(32768));
        CaptureStderr();
    }

    static void expectRecords(const std::string& records) {
        EXPECT_EQ(recordsIn(GetCapturedStderr()), records);
        CaptureStderr();
    }

    static void fill() {
        for (int i = 1; i <= 21; ++i) {
            ASSERT_TRUE(Object("object " + std::to_string(i)).created);
        }
    }
};

TEST_F(Objects, BytesBehindTheZeroOfANameAreIgnored) {
    const Object abc("abc");
    (&abc.as<char>())[-1] = 'd'; // the last byte of its name field
    EXPECT_FALSE(Object("abc").created);
    EXPECT_TRUE(Object("abcd").created && Object("ab").created);
}

TEST_F(Objects, CreatingAnExistingObjectClearsIt) {
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    void* data = &data;
    EXPECT_TRUE(Bsp_retrieveDtcmObject("absent", &data, 1) == -1 && data == nullptr);
    EXPECT_EQ(WarmDatabase_createObject("A", &data, 8), 0);
    void* const first = data;
    std::memset(first, 'x', 1520);
    EXPECT_EQ(WarmDatabase_retrieveObject("A", &data, 9), 0);
    EXPECT_EQ(Bsp_createDtcmObject("A", &data, 10), 0);
    EXPECT_EQ(data, first);
    EXPECT_EQ(area(), "A" + std::string(32767, '\0'));
    EXPECT_TRUE(Object("B", 1520).created);
    expectRecords(R"(5 clearDatabaseIfColdRestart(): COLD restart, clearing database.
5 logNamesOfUsedBlocks(): Max number of blocks available: 21
5 createObject(): Created object A in block 1. Size of object is 8
5 retrieveObject(): Retrieved object A from block 1. Size of object is 9
2 createObject(): Warning: object for block Ahas been requested to be created, )"
                  R"(but it was already present in warm area
5 createObject(): Created object A in block 1. Size of object is 10
5 createObject(): Created object B in block 2. Size of object is 1520
5 getObjectSyncPointer(): Sync object for B found for block 2
)");
}

std::string refusals(unsigned count, const std::string& reason) {
    const std::string refusal = "1 validateObject(): Error: " + reason + "\n";
    return unit::repeat(refusal, count * refusal.size());
}

TEST_F(Objects, LimitsAreRefusedBeforeAnythingIsTouched) {
    const std::tuple<const char*, unsigned, std::string> cases[] = {
        {"fifteen bytes..!", 1,
         refusals(
             4,
             "blockName fifteen bytes..! with length 16 is larger than the allowed maximum of 15")},
        {"A", 1521, refusals(4, "objectSize: 1521 exceeds the maximum size: 1520")},
        {"", 1, refusals(4, "blockName is empty")},
        {nullptr, 1,
         "1 WarmDatabase_getObjectData(): Undefined object name\n"
         "1 WarmDatabase_createObject(): Undefined object name\n"
         "1 WarmDatabase_retrieveObject(): Undefined object name\n"},
    };
    ASSERT_TRUE(Object("fifteen bytes..").created && Object("A").created);
    const std::string before = area();
    for (const auto& [name, size, records] : cases) {
        std::array<void*, 3> data = {&data, &data, &data};
        void* sync = &sync;
        bool created = true;
        EXPECT_EQ(Bsp_getDtcmObjectData(name, data.data(), size, &sync, &created), -1);
        EXPECT_EQ(WarmDatabase_createObject(name, &data[1], size), -1);
        EXPECT_EQ(Bsp_retrieveDtcmObject(name, &data[2], size), -1);
        EXPECT_EQ(data, (std::array<void*, 3>{}));
        EXPECT_TRUE(sync == static_cast<void*>(&sync) && !created); // sync is unchanged
        expectRecords(records);
    }
    void* data = &data;
    auto* sync = reinterpret_cast<std::mutex*>(&data);
    bool created = true;
    EXPECT_FALSE(database().getObjectData({"A\0", 2}, &data, 1, &sync, created));
    EXPECT_TRUE(data == nullptr && sync == nullptr && !created);
    expectRecords(refusals(2, "blockName contains a zero byte"));
    for (const std::string& name : {std::string(), {"A\0", 2}, {"fifteen bytes..!"}}) {
        EXPECT_EQ(database().getObjectSyncPointer(name), nullptr);
    }
    EXPECT_TRUE(area() == before);
}

TEST_F(Objects, ThereIsNoRoomForATwentySecond) {
    fill();
    const std::string before = area();
    EXPECT_EQ(Object("object 22").data, nullptr);
    EXPECT_TRUE(area() == before);
    EXPECT_EQ(before.substr(20 * BlockSize, 10), std::string("object 21\0", 10));
    EXPECT_EQ(before.substr(32256), std::string(512, '\0'));
    EXPECT_FALSE(Object("object 2").created);
    EXPECT_EQ(Object("object").result, -1);
    Bsp_setSlotId(5);
    EXPECT_EQ(Bsp_getSlotId(), -1);
    expectRecords(
        NoSpace + NoSpace + NoSpace +
        "1 WarmSlot(): Error: Could not get the SLOT object from the warm database\n");
}

// A line is written if at least 46 bytes are left; the last line may be cut short.
TEST_F(Objects, InfoFillsABufferOfAnySize) {
    fill();
    char whole[1200];
    EXPECT_EQ(WarmDatabase_getInfo(whole, sizeof whole), 0);
    const std::string text = whole;
    EXPECT_EQ(
        text.substr(0, 75),
        "Warm database information:\nBlock[01] Name: object 1             Size: 1536\n");
    EXPECT_EQ(text.substr(27 + 21 * 48), "Used bytes: 32256 out of 32768\n");
    for (std::size_t size = 1; size <= text.size() + 60; ++size) {
        std::string buffer(size + 64, 'U');
        EXPECT_EQ(WarmDatabase_getInfo(buffer.data(), static_cast<unsigned>(size)), 0);
        const std::size_t blocks = (std::max<std::size_t>(size, 27) - 25) / 48;
        const std::size_t length = blocks > 21 ? text.size() : 27 + blocks * 48;
        ASSERT_EQ(buffer.c_str(), text.substr(0, std::min(length, size - 1))) << size;
        ASSERT_EQ(buffer.substr(size), std::string(64, 'U')) << size;
    }
    EXPECT_EQ(WarmDatabase_getInfo(nullptr, 0), 0);
    EXPECT_EQ(WarmDatabase_getInfo(nullptr, 1), -1);
}

// After a restart of unknown type the area may hold anything, even a free block before used ones.
TEST_F(Objects, NoiseIsReportedWithinItsFields) {
    std::string noise = unit::repeat("sixteen bytes..!", 32768);
    noise[5 * BlockSize] = '\0';
    unit::restart(unit::Unknown, noise);
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 1U);
    const std::string log = recordsIn(GetCapturedStderr());
    CaptureStderr();
    EXPECT_EQ(
        countOf(log, "5 clearDatabaseIfColdRestart(): WARM restart, leaving database as is.\n"), 1);
    EXPECT_EQ(countOf(log, "] Name: sixteen bytes..!\n"), 20);
    EXPECT_EQ(countOf(log, "5 logNamesOfUsedBlocks(): Block[7] Name: s"), 1);
    EXPECT_EQ(countOf(log, "blocks available: 21, Number of free blocks: 1\n"), 1);
    char info[1200] = {};
    EXPECT_EQ(WarmDatabase_getInfo(info, sizeof info), 0);
    EXPECT_EQ(std::strlen(info), 27U + 20 * 48 + 31);
    EXPECT_EQ(database().getObjectSyncPointer("sixteen bytes.."), nullptr);
    EXPECT_TRUE(Object("sixteen bytes..").created);
    EXPECT_EQ(Object("another").result, -1);
}

} // namespace
