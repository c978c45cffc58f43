#include "Process.hpp"
#include "Unit.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<bool> reads;
thread_local bool staysThere = false;

} // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" BSP_EXPORT ssize_t read(int file, void* buffer, std::size_t size) {
    while (staysThere) {
        reads = true;
        pause();
    }
    return syscall(SYS_read, file, buffer, size);
}

// A child has a copy of what another thread of its parent was in the middle of, but not the thread.
TEST(Fork, ChildAsksAnewWhatAnotherThreadOfItsParentIsAsking) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer's pthread_once() knows nothing of forks";
#endif
    test::unit::writeEeprom({7, 1, 0, 7, 0, 0, 1, 1});
    test::unit::writeFile(test::unit::Config / "RadiolinkMode", "Rl5");
    for (int (*query)() : {Bsp_getPlatformType, Bsp_getProductId, Bsp_getRadiolinkMode}) {
        const int answer = std::stoi(test::inChild([&] { std::printf("%d", query()); }).out);
        const auto parent = test::inChild([&] {
            std::thread([&] {
                staysThere = true;
                query();
            }).detach();
            while (!reads) {
                std::this_thread::yield();
            }
            const auto child = test::inChild([&] {
                alarm(10);
                EXPECT_EQ(query(), answer);
            });
            EXPECT_EQ(child.status, 0);
        });
        EXPECT_EQ(parent.status, 0) << parent.out;
    }
}
