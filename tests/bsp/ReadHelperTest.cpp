#include "ReadHelper.hpp"

#include "CoreLog.hpp"
#include "Process.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include <unistd.h>

namespace {

using namespace std::chrono_literals;

class ReadHelper : public testing::Test {
protected:
    ReadHelper() { EXPECT_EQ(pipe(m_ends), 0); }
    ~ReadHelper() override { close(m_ends[0]); }

    // Writes the pieces one by one, then closes the pipe where asked to.
    std::jthread feed(std::vector<std::string> pieces, bool closeAfter) {
        return std::jthread([this, pieces = std::move(pieces), closeAfter] {
            for (const std::string& piece : pieces) {
                std::this_thread::sleep_for(5ms);
                EXPECT_EQ(write(m_ends[1], piece.data(), piece.size()), ssize_t(piece.size()));
            }
            if (closeAfter) {
                close(m_ends[1]);
            }
        });
    }

    ssize_t read(std::size_t count) { return Bsp_readHelper(m_ends[0], m_buffer, count); }
    std::string_view buffer(std::size_t size) const { return {m_buffer, size}; }

    int m_ends[2];
    char m_buffer[64] = {};
};

TEST_F(ReadHelper, CompletesShortReadsUntilTheEnd) {
    const auto writer = feed({"abc", "defg", "hij"}, true);
    EXPECT_EQ(read(16), 10);
    EXPECT_EQ(buffer(10), "abcdefghij");
}

TEST_F(ReadHelper, DoesNotWaitBeyondTheCount) {
    const auto writer = feed({"abc", "defg", "hij"}, false);
    EXPECT_EQ(read(10), 10);
    EXPECT_EQ(read(0), 0);
}

TEST_F(ReadHelper, RepeatsInterruptedReads) {
    struct sigaction action {};
    action.sa_handler = [](int) {
    };
    sigaction(SIGUSR1, &action, nullptr); // without SA_RESTART
    TolvTrace_setLevel("bsp.core", 4);
    testing::internal::CaptureStderr();
    {
        const auto reader = pthread_self();
        const std::jthread disturber([&] {
            for (int i = 0; i < 5; ++i) {
                std::this_thread::sleep_for(10ms);
                pthread_kill(reader, SIGUSR1);
            }
            EXPECT_EQ(write(m_ends[1], "abc", 3), 3);
        });
        EXPECT_EQ(read(3), 3);
    }
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_GE(test::countLines(log, "Bsp_readHelper(): read was interrupted. Retrying..."), 1);
    EXPECT_EQ(buffer(3), "abc");
}

TEST_F(ReadHelper, ReportsErrorsWithErrnoAsReadLeftIt) {
    TolvTrace_setLevel("bsp.core", 7);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Bsp_readHelper(-1, m_buffer, 0), -1);
    EXPECT_EQ(errno, EBADF);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(test::countLines(log, "Bsp_readHelper(): Read -1 bytes"), 1) << log;
}

} // namespace
