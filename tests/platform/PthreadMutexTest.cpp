#include "PthreadMutex.hpp"

#include "Process.hpp"

#include <gtest/gtest.h>

#include <cerrno>

// The lock is misused on purpose.
extern "C" __attribute__((visibility("default"))) const char*
__tsan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "report_mutex_bugs=0";
}

namespace {

using namespace test;
using namespace DDevIo;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

TEST(PthreadMutex, TellsFailuresAndEntries) {
    CaptureStderr();
    {
        PthreadMutex mutex(PthreadMutexType::ErrorChecking);
        errno = ENOENT;
        EXPECT_FALSE(mutex.unlock());
        EXPECT_EQ(errno, ENOENT);
        EXPECT_TRUE(mutex.lock());
        EXPECT_FALSE(mutex.lock());
        TolvTrace_setLevel("DDevIo.PthreadMutex", 7);
        EXPECT_TRUE(mutex.unlock());
    }
    PthreadMutex recursive(PthreadMutexType::Recursive);
    TolvTrace_setLevel("DDevIo.PthreadMutex", 0);
    EXPECT_TRUE(recursive.lock() && recursive.lock() && recursive.unlock() && recursive.unlock());
    const std::string log = GetCapturedStderr();
    for (const char* record :
         {"1 include/PthreadMutex:",
          "unlock: unlock(): pthread_mutex_unlock() failed with error 1.",
          "lock: lock(): pthread_mutex_lock() failed with error 35.", "unlock: ENTER unlock().",
          "6 include/PthreadMutex:", "~PthreadMutex: ENTER ~PthreadMutex()."}) {
        EXPECT_GE(countLines(log, record), 1) << record << "\n" << log;
    }
    EXPECT_EQ(countLines(log, ""), 4) << log;
}

} // namespace
