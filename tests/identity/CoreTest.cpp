#include "CoreLog.hpp"
#include "Process.hpp"
#include "Revision/ReadHelper.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace {

using namespace os::bsp;
using namespace std::chrono_literals;
using test::countLines;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

int evaluate() {
    errno = ENOENT;
    BSP_LOG(coreLog(), 3, "inner");
    return 7;
}

int evaluateAndThrow() {
    errno = ENOENT;
    throw std::runtime_error("piece");
}

TEST(Log, EvaluatesPiecesFirstAndKeepsErrno) {
    CaptureStderr();
    errno = EINTR;
    BSP_LOG(coreLog(), 4, "never ", evaluate());
    BSP_LOG_ENTER(coreLog(), "never (", evaluate(), ")");
    const unsigned line = __LINE__ + 1;
    BSP_LOG(coreLog(), 3, INT_MIN, " ", ULLONG_MAX, " ", os::bsp::hex(0x4a30), " ", evaluate());
    EXPECT_EQ(errno, EINTR);
    EXPECT_THROW(BSP_LOG(coreLog(), 3, "never ", evaluateAndThrow()), std::runtime_error);
    EXPECT_EQ(errno, EINTR);
    const std::string log = GetCapturedStderr();
    EXPECT_EQ(countLines(log, "evaluate(): inner"), 1);
    EXPECT_EQ(
        countLines(
            log, "[bsp.core] 3 os_extensions/bsp/src/Bsp:" + std::to_string(line) +
                     " TestBody: TestBody(): -2147483648 18446744073709551615 4a30 7"),
        1);
    EXPECT_EQ(countLines(log, ""), 2) << log;
}

TEST(ReadHelper, CompletesShortAndInterruptedReads) {
    struct sigaction action {};
    action.sa_handler = [](int) {
    };
    sigaction(SIGUSR1, &action, nullptr); // without SA_RESTART
    TolvTrace_setLevel("bsp.core", 4);
    CaptureStderr();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const auto reader = pthread_self();
    const std::jthread writer([&] {
        for (const std::string piece : {"abc", "defg", "hij"}) {
            std::this_thread::sleep_for(10ms);
            pthread_kill(reader, SIGUSR1);
            std::this_thread::sleep_for(5ms);
            EXPECT_EQ(write(ends[1], piece.data(), piece.size()), ssize_t(piece.size()));
        }
        close(ends[1]);
    });
    char buffer[16] = {};
    EXPECT_EQ(Bsp_readHelper(ends[0], buffer, 7), 7);
    EXPECT_EQ(Bsp_readHelper(ends[0], buffer + 7, 9), 3);
    EXPECT_STREQ(buffer, "abcdefghij");
    const std::string log = GetCapturedStderr();
    EXPECT_GE(countLines(log, "Bsp_readHelper(): read was interrupted. Retrying..."), 1);
    TolvTrace_setLevel("bsp.core", 7);
    CaptureStderr();
    EXPECT_EQ(Bsp_readHelper(-1, buffer, 0), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(countLines(GetCapturedStderr(), "Bsp_readHelper(): Read -1 bytes"), 1);
}

} // namespace
