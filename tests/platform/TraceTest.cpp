#include "TolvTrace.hpp"

#include "Process.hpp"

#include <gtest/gtest.h>

namespace {

using namespace test;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

constexpr TolvTraceHeader Header = {"dir/file", 12, "function"};

struct Start {
    const char* levels;
    const char* enabled; // the first and the second trace at levels 1 to 7
    const char* complaint;
};

constexpr Start Starts[] = {
    {"", "11 11 11 00 00 00 00 ", ""},
    {"probe.first=5", "11 11 11 10 10 00 00 ", ""},
    {"*=1,probe.second=7", "11 01 01 01 01 01 01 ", ""},
    {"probe.first=0,probe.second=x", "01 01 01 00 00 00 00 ", "\"probe.second=x\""},
    {"=4,*", "11 11 11 00 00 00 00 ", "\"=4\""},
};

TEST(Trace, EnvironmentSetsStartLevels) {
    for (const Start& start : Starts) {
        const auto outcome =
            runProgram({PLATFORM_PROBE}, {std::string("TOLVTRACE_LEVELS=") + start.levels});
        EXPECT_EQ(countLines(outcome.out, start.enabled), 1) << start.levels << outcome.out;
        EXPECT_NE(outcome.err.find(start.complaint), std::string::npos) << outcome.err;
    }
}

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

} // namespace
