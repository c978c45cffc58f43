#include "PthreadMutex.hpp"
#include "Stream.hpp"

#include <gtest/gtest.h>

#include <regex>
#include <system_error>
#include <thread>

#include <unistd.h>

// The thread sanitizer would report the misuse that this test needs.
extern "C" __attribute__((visibility("default"))) const char*
__tsan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "report_mutex_bugs=0";
}

namespace {

using namespace DDevIo;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

constexpr TolvTraceHeader Header = {"dir/file", 12, "function"};

TEST(Trace, RecordIsOneLine) {
    TolvTrace trace("name", TolvTraceLevel{3});
    CaptureStderr();
    trace.logMsgData("lost", 4);
    trace.beginLogMsg(TolvTraceLevel{2}, Header);
    trace.logMsgData("two\nlines\x7f", 10);
    trace.beginLogMsg(TolvTraceLevel{1}, Header);
    trace.logStream() << "inner\n" << 5 << std::endl;
    trace.logMsgData('!');
    trace.nullStream() << "discarded" << std::endl;
    trace.endLogMsg();
    trace.endLogMsg();
    EXPECT_EQ(
        GetCapturedStderr(), "[name] 1 dir/file:12 function: inner\\x0a5\n"
                             "[name] 2 dir/file:12 function: two\\x0alines\\x7f!\n");
}

TEST(Trace, WritingARecordAndClosingAreNoCancellationPoints) {
    TolvTrace trace("name", TolvTraceLevel{3});
    bool written = false;
    std::thread([&] {
        const posix::Stream stream(std::fopen("/dev/null", "w"));
        std::fputs("not written yet", stream.get());
        const auto file = posix::FileDescriptor::own(open("/dev/null", O_RDONLY | O_CLOEXEC));
        pthread_cancel(pthread_self());
        trace.beginLogMsg(TolvTraceLevel{1}, Header);
        trace.endLogMsg();
        written = true;
    }).join();
    EXPECT_TRUE(written);
}

void misuse() {
    PthreadMutex mutex(PthreadMutexType::ErrorChecking);
    EXPECT_TRUE(!mutex.unlock() && mutex.lock() && !mutex.lock() && mutex.unlock());
    PthreadMutex recursive(PthreadMutexType::Recursive);
    EXPECT_TRUE(recursive.lock() && recursive.lock() && recursive.unlock() && recursive.unlock());
}

TEST(PthreadMutex, ReportsFailuresAndKeepsErrno) {
    CaptureStderr();
    for (const auto& [name, level] :
         {std::pair{"*", 0}, {"DDevIo.PthreadMutex", 5}, {"DDevIo", 0}}) {
        TolvTrace_setLevel(name, level);
        misuse();
    }
    const std::string records = "[DDevIo.PthreadMutex] 1 include/PthreadMutex:unlock: unlock(): "
                                "pthread_mutex_unlock() failed with error 1.\n"
                                "[DDevIo.PthreadMutex] 1 include/PthreadMutex:lock: lock(): "
                                "pthread_mutex_lock() failed with error 35.\n";
    EXPECT_EQ(
        std::regex_replace(GetCapturedStderr(), std::regex(":\\d+ "), ":"), records + records);
    EXPECT_THROW(PthreadMutex(PthreadMutexType{3}), std::system_error);
    close(STDERR_FILENO); // so that no message can be written
    errno = ENOENT;
    misuse();
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
