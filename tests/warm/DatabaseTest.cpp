#include "Database.hpp"
#include "Layout.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace {

using namespace test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

constexpr std::size_t BlockSize = 1536;

class Database : public testing::Test {
protected:
    Database() { unit::restart(unit::Cold, unit::noise(32768)); }

    static std::string area() { return unit::readFile(unit::WarmArea); }
    static std::ptrdiff_t offsetInArea(const void* data, const void* firstData) {
        return static_cast<const char*>(data) - static_cast<const char*>(firstData) + 16;
    }
};

TEST_F(Database, NamesMatchWhole) {
    const Object longer("abcd");
    const Object shorter("abc");
    const Object other("ABC");
    EXPECT_TRUE(longer.created && shorter.created && other.created);
}

TEST_F(Database, CreatingAPresentObjectClearsIt) {
    void* data = nullptr;
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    CaptureStderr();
    EXPECT_EQ(WarmDatabase_createObject("A", &data, 8), 0);
    void* const first = data;
    std::memset(first, 'x', 1520);
    EXPECT_EQ(WarmDatabase_retrieveObject("A", &data, 9), 0);
    EXPECT_EQ(data, first);
    EXPECT_EQ(Bsp_createDtcmObject("A", &data, 10), 0);
    EXPECT_EQ(data, first);
    EXPECT_EQ(area(), "A" + std::string(32767, '\0'));
    const std::string log = GetCapturedStderr();
    const std::string messages[] = {
        "clearDatabaseIfColdRestart(): COLD restart, clearing database.",
        "logNamesOfUsedBlocks(): Max number of blocks available: 21",
        "createObject(): Created object A in block 1. Size of object is 8",
        "retrieveObject(): Retrieved object A from block 1. Size of object is 9",
        "] 2 os_extensions/bsp/src/WarmDatabase:",
        "createObject(): Warning: object for block Ahas been requested to be created, but it was",
        " was already present in warm area",
        "createObject(): Created object A in block 1. Size of object is 10",
    };
    for (const auto& message : messages) {
        EXPECT_EQ(countLines(log, message), 1) << message << "\n" << log;
    }
    EXPECT_EQ(countLines(log, ""), 6) << log;
}

TEST_F(Database, LimitsAreRefusedBeforeAnythingIsTouched) {
    const std::tuple<std::string, unsigned, std::string> cases[] = {
        {"sixteen bytes...", 1,
         "Error: blockName sixteen bytes... with length 16 is larger than the allowed maximum of "
         "15"},
        {std::string(5000, 'n'), 1521,
         " with length 5000 is larger than the allowed maximum of 15"},
        {"A", 1521, "Error: objectSize: 1521 exceeds the maximum size: 1520"},
        {"A", UINT32_MAX, "Error: objectSize: 4294967295 exceeds the maximum size: 1520"},
        {"", 1, "Error: blockName is empty"},
    };
    database();
    const std::string before = area();
    for (const auto& [name, size, message] : cases) {
        CaptureStderr();
        char untouched = 0;
        void* data = &untouched;
        void* sync = &untouched;
        bool created = true;
        EXPECT_EQ(WarmDatabase_getObjectData(name.c_str(), &data, size, &sync, &created), -1);
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(sync, &untouched);
        EXPECT_FALSE(created);
        auto* mutex = reinterpret_cast<std::mutex*>(&untouched);
        EXPECT_FALSE(database().getObjectData(name, &data, size, &mutex, created));
        EXPECT_EQ(mutex, nullptr);
        EXPECT_EQ(WarmDatabase_createObject(name.c_str(), &data, size), -1);
        EXPECT_EQ(WarmDatabase_retrieveObject(name.c_str(), &data, size), -1);
        EXPECT_EQ(countLines(GetCapturedStderr(), "validateObject(): "), 6) << message;
        CaptureStderr();
        EXPECT_FALSE(database().validateObject(name, size));
        EXPECT_EQ(countLines(GetCapturedStderr(), message), 1) << message;
    }
    void* data = nullptr;
    EXPECT_FALSE(database().createObject(std::string("\0x", 2), &data, 1, true));
    EXPECT_TRUE(area() == before);
}

TEST_F(Database, NullNameIsAnError) {
    CaptureStderr();
    void* data = &data;
    void* sync = nullptr;
    bool created = true;
    EXPECT_EQ(WarmDatabase_createObject(nullptr, &data, 1), -1);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(Bsp_retrieveDtcmObject(nullptr, &data, 1), -1);
    EXPECT_EQ(Bsp_getDtcmObjectData(nullptr, &data, 1, &sync, &created), -1);
    EXPECT_FALSE(created);
    EXPECT_EQ(countLines(GetCapturedStderr(), "] 1 os_extensions/bsp/src/WarmDatabase:"), 3);
}

TEST_F(Database, TwentySecondObjectFindsNoSpace) {
    for (int i = 1; i <= 21; ++i) {
        ASSERT_EQ(Object(numbered("object ", i)).result, 0);
    }
    const std::string before = area();
    CaptureStderr();
    const Object tooMany("object 22");
    EXPECT_EQ(tooMany.result, -1);
    EXPECT_EQ(tooMany.data, nullptr);
    EXPECT_EQ(countLines(GetCapturedStderr(), "createObject(): Error: DTCM is out of space."), 1);
    EXPECT_TRUE(area() == before);
    EXPECT_EQ(before.substr(32256), std::string(512, '\0'));
    const Object last("object 21");
    EXPECT_EQ(offsetInArea(last.data, Object("object 1").data), 30736);
    EXPECT_EQ(database().getNumberOfFreeBlocks(), 0U);
}

TEST_F(Database, AbsentObjectIsNoMessage) {
    CaptureStderr();
    void* data = &data;
    EXPECT_EQ(WarmDatabase_retrieveObject("absent", &data, 1), -1);
    EXPECT_EQ(data, nullptr);
    unit::writeFile(unit::WarmArea, "name of 16 bytes"); // as noise may be
    const std::string names[] = {
        "absent", "", std::string("\0x", 2), "name of 16 bytes", "name of 16 bytes+"};
    for (const std::string& name : names) {
        EXPECT_EQ(database().getObjectSyncPointer(name), nullptr) << name;
    }
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(Database, ThreadsCreateEachNameOnce) {
    std::atomic<int> created = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int j = 0; j < 21; ++j) {
                    const Object object(numbered("n", j));
                    created += object.created ? 1 : 0;
                    const std::lock_guard lock(object.mutex());
                    ++object.as<int>();
                    char info[1200];
                    database().getInfo(info, sizeof info);
                }
            });
        }
    }
    EXPECT_EQ(created, 21);
    for (int j = 0; j < 21; ++j) {
        EXPECT_EQ(Object(numbered("n", j)).as<int>(), 4);
    }
}

} // namespace
