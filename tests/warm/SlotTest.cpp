#include "bsp/WarmSlot.hpp"

#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace {

using namespace test;

std::string keptArea() {
    return unit::readFile(unit::WarmArea);
}

TEST(Slot, SurvivesAWarmRestartOnly) {
    unit::restart(unit::Cold, unit::noise(32768));
    TolvTrace_setLevel("bsp.networking", 6);
    const auto first = inChild([] {
        EXPECT_EQ(Bsp_getSlotId(), -1);
        Bsp_setSlotId(7);
        EXPECT_EQ(os::bsp::slotInstance().get(), 7);
    });
    EXPECT_EQ(first.status, 0) << first.out;
    for (const char* message :
         {"] 5 os_extensions/bsp/src/WarmSlot:",
          "The SLOT object was successfully retrieved from the warm database",
          "The SLOT object was created, initializing the object contents",
          "get: get(): SlotId is: -1", "set: set(): Setting slotId to: 7",
          "get: get(): SlotId is: 7"}) {
        EXPECT_GE(countLines(first.err, message), 1) << message << first.err;
    }
    unit::restart(unit::Warm, keptArea());
    const auto second = inChild([] { EXPECT_EQ(Bsp_getSlotId(), 7); });
    EXPECT_EQ(second.status, 0) << second.out;
    EXPECT_EQ(countLines(second.err, "The slotId from WARM reset is: 7"), 1) << second.err;
    EXPECT_EQ(countLines(second.err, "was created"), 0);
    unit::restart(unit::Cold, keptArea());
    EXPECT_EQ(inChild([] { EXPECT_EQ(Bsp_getSlotId(), -1); }).status, 0);
}

TEST(Slot, IsSharedBetweenProcessesAndThreads) {
    unit::restart(unit::Cold, "");
    Bsp_setSlotId(1);
    EXPECT_EQ(
        inChild([] {
            EXPECT_EQ(Bsp_getSlotId(), 1);
            Bsp_setSlotId(2);
        }).status,
        0);
    EXPECT_EQ(Bsp_getSlotId(), 2);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int j = 0; j < 1000; ++j) {
                Bsp_setSlotId(j);
                Bsp_getSlotId();
            }
        });
    }
}

// The object's creator may be killed, or overtaken, before it has initialised the object.
TEST(Slot, ObjectWithoutContentsIsInitialised) {
    unit::restart(unit::Warm, "SLOT");
    EXPECT_EQ(Bsp_getSlotId(), -1);
    Bsp_setSlotId(3);
    EXPECT_EQ(inChild([] { EXPECT_EQ(Bsp_getSlotId(), 3); }).status, 0);
}

TEST(Slot, WithoutAnObjectItIsInvalidForGood) {
    unit::restart(unit::Cold, "");
    for (int i = 0; i < 21; ++i) {
        ASSERT_TRUE(Object(numbered("n", i)).created);
    }
    testing::internal::CaptureStderr();
    Bsp_setSlotId(5);
    EXPECT_EQ(Bsp_getSlotId(), -1);
    EXPECT_EQ(
        countLines(
            testing::internal::GetCapturedStderr(),
            "WarmSlot: WarmSlot(): Error: Could not get the SLOT object from the warm database"),
        1);
}

} // namespace
