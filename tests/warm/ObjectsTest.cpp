#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

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

class Objects : public testing::Test {
protected:
    Objects() {
        unit::restart(unit::Cold, unit::noise(32768));
        TolvTrace_setLevel("Bsp.WarmDatabase", 5);
        CaptureStderr();
    }

    static void expectMessages(std::initializer_list<const char*> messages) {
        const std::string log = GetCapturedStderr();
        for (const char* message : messages) {
            EXPECT_EQ(countLines(log, message), 1) << message << "\n" << log;
        }
    }

    static void fill() {
        for (int i = 1; i <= 21; ++i) {
            ASSERT_TRUE(Object(numbered("object ", i)).created);
        }
    }
};

TEST_F(Objects, CreatingAPresentOneClearsIt) {
    void* data = nullptr;
    EXPECT_EQ(WarmDatabase_createObject("A", &data, 8), 0);
    void* const first = data;
    std::memset(first, 'x', 1520);
    EXPECT_EQ(WarmDatabase_retrieveObject("A", &data, 9), 0);
    EXPECT_EQ(Bsp_createDtcmObject("A", &data, 10), 0);
    EXPECT_EQ(data, first);
    EXPECT_EQ(area(), "A" + std::string(32767, '\0'));
    constexpr const char* Present =
        "createObject(): Warning: object for block Ahas been requested to be created, but it was "
        "already present in warm area";
    expectMessages(
        {"clearDatabaseIfColdRestart(): COLD restart, clearing database.",
         "logNamesOfUsedBlocks(): Max number of blocks available: 21",
         "createObject(): Created object A in block 1. Size of object is 8",
         "retrieveObject(): Retrieved object A from block 1. Size of object is 9", Present,
         "createObject(): Created object A in block 1. Size of object is 10"});
}

TEST_F(Objects, LimitsAreRefusedBeforeAnythingIsTouched) {
    const std::tuple<std::string, unsigned, const char*> cases[] = {
        {"sixteen bytes...", 1, "with length 16 is larger than the allowed maximum of 15"},
        {std::string(5000, 'n'), 1521, "with length 5000 is larger than the allowed maximum of 15"},
        {"A", 1521, "Error: objectSize: 1521 exceeds the maximum size: 1520"},
        {"", 1, "Error: blockName is empty"},
        {std::string("\0x", 2), 1, "Error: blockName contains a zero byte"},
    };
    database();
    const std::string before = area();
    for (const auto& [name, size, message] : cases) {
        void* data = &data;
        auto* sync = reinterpret_cast<std::mutex*>(&data);
        bool created = true;
        EXPECT_FALSE(database().getObjectData(name, &data, size, &sync, created));
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(sync, nullptr);
        EXPECT_FALSE(created);
        EXPECT_EQ(database().getObjectSyncPointer(name), nullptr);
        EXPECT_EQ(countLines(GetCapturedStderr(), message), 2) << message;
        CaptureStderr();
    }
    EXPECT_TRUE(area() == before);
    expectMessages({});
}

TEST_F(Objects, FailuresOfTheFlatInterface) {
    void* data = &data;
    void* sync = &data;
    bool created = true;
    EXPECT_EQ(Bsp_getDtcmObjectData("sixteen bytes...", &data, 1, &sync, &created), -1);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(sync, static_cast<void*>(&data)); // left alone
    EXPECT_FALSE(created);
    created = true;
    EXPECT_EQ(Bsp_getDtcmObjectData(nullptr, &data, 1, &sync, &created), -1);
    EXPECT_FALSE(created);
    data = &data;
    EXPECT_EQ(WarmDatabase_createObject(nullptr, &data, 1), -1);
    EXPECT_EQ(data, nullptr);
    data = &data;
    EXPECT_EQ(Bsp_retrieveDtcmObject("absent", &data, 1), -1); // no message
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(countLines(GetCapturedStderr(), "] 1 os_extensions/bsp/src/WarmDatabase:"), 4);
    CaptureStderr();
}

TEST_F(Objects, TwentySecondFindsNoSpace) {
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
    expectMessages({"WarmSlot: WarmSlot(): Error: Could not get the SLOT object from the warm"});
}

TEST_F(Objects, ThreadsCreateEachNameOnce) {
    std::atomic<int> created = 0;
    {
        std::vector<std::jthread> threads(4);
        for (std::jthread& thread : threads) {
            thread = std::jthread([&] {
                for (int i = 0; i < 21; ++i) {
                    const Object object(numbered("n", i));
                    created += object.created ? 1 : 0;
                    const std::lock_guard lock(object.mutex());
                    ++object.as<int>();
                }
            });
        }
    }
    EXPECT_EQ(created, 21);
    EXPECT_EQ(Object("n20").as<int>(), 4);
    expectMessages({});
}

// Lines are begun while 46 bytes are left; the last one may be cut.
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
    expectMessages({});
}

// After a restart of unknown kind the area may hold anything.
TEST_F(Objects, NoiseIsReportedWithinItsFields) {
    std::string noise = unit::noise(32768);
    for (std::size_t block = 0; block < 21; ++block) {
        noise.replace(block * BlockSize, 16, "sixteen bytes..!");
    }
    noise[20 * BlockSize] = '\0';
    unit::restart(unit::Unknown, noise);
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 1U);
    char info[1200] = {};
    EXPECT_EQ(WarmDatabase_getInfo(info, sizeof info), 0);
    EXPECT_EQ(std::strlen(info), 27U + 20 * 48 + 31);
    EXPECT_EQ(database().getObjectSyncPointer("sixteen bytes.."), nullptr);
    EXPECT_TRUE(Object("sixteen bytes..").created); // in the last block
    EXPECT_EQ(Object("another").result, -1);
    expectMessages(
        {"logNamesOfUsedBlocks(): Block[20] Name: sixteen bytes..!",
         "getNumberOfFreeBlocks(): Max number of blocks available: 21, Number of free blocks: 1"});
}

TEST_F(Objects, EveryBlockIsReported) {
    std::string hole(32768, '\0');
    hole[2 * BlockSize] = 'b'; // a hole before it: not by this system's doing
    unit::restart(unit::Warm, hole);
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 20U);
    expectMessages({"Block[3] Name: b"});
}

} // namespace
