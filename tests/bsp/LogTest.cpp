#include "Log.hpp"

#include "CoreLog.hpp"
#include "Process.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <stdexcept>
#include <thread>

namespace {

using namespace os::bsp;
using test::countLines;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

std::atomic<int> evaluated = 0;

int evaluate() {
    ++evaluated;
    errno = ENOENT;
    return 7;
}

int evaluateAndLog() {
    BSP_LOG(coreLog(), 3, "inner ", evaluate());
    return 8;
}

int evaluateAndThrow() {
    errno = ENOENT;
    throw std::runtime_error("piece");
}

TEST(Log, BelowTheLevelNothingIsEvaluated) {
    CaptureStderr();
    BSP_LOG(coreLog(), 4, "never ", evaluate());
    BSP_LOG_ENTER(coreLog(), "(", evaluate(), ")");
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(evaluated, 0);
}

TEST(Log, RecordCarriesModuleFunctionAndPieces) {
    CaptureStderr();
    const unsigned line = __LINE__ + 1;
    BSP_LOG(
        coreLog(), 3, INT_MIN, " ", ULLONG_MAX, " ", LogPiece(0x4a30, 16), " ", std::string("s"));
    EXPECT_EQ(
        GetCapturedStderr(),
        "[bsp.core] 3 os_extensions/bsp/src/Bsp:" + std::to_string(line) +
            " TestBody: TestBody(): -2147483648 18446744073709551615 4a30 s\n");
    TolvTrace_setLevel("bsp.core", 6);
    CaptureStderr();
    BSP_LOG_ENTER(coreLog(), "(fd=", 4, ")");
    EXPECT_EQ(countLines(GetCapturedStderr(), ": ENTER TestBody(fd=4)"), 1);
}

TEST(Log, ErrnoIsKept) {
    CaptureStderr();
    errno = EINTR;
    BSP_LOG(coreLog(), 3, "text ", evaluate());
    EXPECT_EQ(errno, EINTR);
    EXPECT_THROW(BSP_LOG(coreLog(), 3, "text ", evaluateAndThrow()), std::runtime_error);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(countLines(GetCapturedStderr(), "text"), 1); // a piece that throws leaves no record
}

TEST(Log, RecordsOfThreadsStayWhole) {
    const auto outcome = test::inChild([] {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] {
                for (int j = 0; j < 250; ++j) {
                    BSP_LOG(coreLog(), 3, "outer ", evaluateAndLog(), " end");
                }
            });
        }
    });
    EXPECT_EQ(countLines(outcome.err, "TestBody: "), 0);
    EXPECT_EQ(countLines(outcome.err, "operator()(): outer 8 end"), 1000);
    EXPECT_EQ(countLines(outcome.err, "evaluateAndLog(): inner 7"), 1000);
    EXPECT_EQ(countLines(outcome.err, ""), 2000);
}

} // namespace
