#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>

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
    void* data = nullptr;
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

TEST_F(Objects, LimitsAreRefusedBeforeAnythingIsTouched) {
    const std::tuple<std::string, unsigned, std::string> cases[] = {
        {"fifteen bytes..!", 1,
         "blockName fifteen bytes..! with length 16 is larger than the allowed maximum of 15"},
        {"A", 1521, "objectSize: 1521 exceeds the maximum size: 1520"},
        {"", 1, "blockName is empty"},
        {std::string("A\0", 2), 1, "blockName contains a zero byte"},
    };
    ASSERT_TRUE(Object("fifteen bytes..").created && Object("A").created);
    const std::string before = area();
    for (const auto& [name, size, message] : cases) {
        void* data = &data;
        auto* sync = reinterpret_cast<std::mutex*>(&data);
        bool created = true;
        EXPECT_FALSE(database().getObjectData(name, &data, size, &sync, created));
        EXPECT_TRUE(data == nullptr && sync == nullptr && !created);
        EXPECT_EQ(database().getObjectSyncPointer(name) == nullptr, name != "A");
        const std::string refusal = "1 validateObject(): Error: " + message + "\n";
        expectRecords(refusal + refusal);
    }
    EXPECT_TRUE(area() == before);
}

TEST_F(Objects, FlatInterfaceReportsFailures) {
    for (const char* name : {"sixteen bytes...", static_cast<const char*>(nullptr)}) {
        std::array<void*, 3> data = {&data, &data, &data};
        void* sync = &sync;
        bool created = true;
        EXPECT_EQ(Bsp_getDtcmObjectData(name, data.data(), 1, &sync, &created), -1);
        EXPECT_EQ(WarmDatabase_createObject(name, &data[1], 1), -1);
        EXPECT_EQ(Bsp_retrieveDtcmObject(name == nullptr ? "absent" : name, &data[2], 1), -1);
        EXPECT_EQ(data, (std::array<void*, 3>{}));
        EXPECT_EQ(sync, static_cast<void*>(&sync)); // unchanged
        EXPECT_FALSE(created);
    }
    const std::string refusal = "1 validateObject(): Error: blockName sixteen bytes... with "
                                "length 16 is larger than the allowed maximum of 15\n";
    expectRecords(
        refusal + refusal + refusal + refusal +
        "1 WarmDatabase_getObjectData(): Undefined object name\n"
        "1 WarmDatabase_createObject(): Undefined object name\n");
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

TEST_F(Objects, ThreadsCreateEachNameOnce) {
    std::atomic<int> created = 0;
    std::vector<std::jthread> threads(4);
    for (std::jthread& thread : threads) {
        thread = std::jthread([&] {
            for (int i = 0; i < 21; ++i) {
                created += Object("n" + std::to_string(i)).created ? 1 : 0;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(created, 21);
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
        const std::size_t blocks = size < 27 ? 0 : (size - 27 + 2) / 48;
        const std::size_t begun = std::min<std::size_t>(27 + blocks * 48, 27 + 21 * 48);
        const std::size_t length = blocks > 21 ? text.size() : begun;
        ASSERT_EQ(buffer.c_str(), text.substr(0, std::min(length, size - 1))) << size;
        ASSERT_EQ(buffer.substr(size), std::string(64, 'U')) << size;
    }
    EXPECT_EQ(WarmDatabase_getInfo(nullptr, 0), 0);
    EXPECT_EQ(WarmDatabase_getInfo(nullptr, 1), -1);
}

// After a restart of unknown type the area may hold anything, even a free block before used ones.
TEST_F(Objects, NoiseIsReportedWithinItsFields) {
    std::string noise = unit::noise(32768);
    for (std::size_t block = 0; block < 21; ++block) {
        noise.replace(block * BlockSize, 16, "sixteen bytes..!");
    }
    noise[5 * BlockSize] = '\0';
    unit::restart(unit::Unknown, noise);
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    std::string records = "5 clearDatabaseIfColdRestart(): WARM restart, leaving database as is.\n"
                          "5 logNamesOfUsedBlocks(): Max number of blocks available: 21\n";
    for (int number = 1; number <= 21; ++number) {
        records += number == 6 ? ""
                               : "5 logNamesOfUsedBlocks(): Block[" + std::to_string(number) +
                                     "] Name: sixteen bytes..!\n";
    }
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 1U);
    expectRecords(
        records + "5 getNumberOfFreeBlocks(): Max number of blocks available: 21, Number of free "
                  "blocks: 1\n");
    char info[1200] = {};
    EXPECT_EQ(WarmDatabase_getInfo(info, sizeof info), 0);
    EXPECT_EQ(std::strlen(info), 27U + 20 * 48 + 31);
    EXPECT_EQ(database().getObjectSyncPointer("sixteen bytes.."), nullptr);
    EXPECT_TRUE(Object("sixteen bytes..").created);
    EXPECT_EQ(Object("another").result, -1);
}

} // namespace
