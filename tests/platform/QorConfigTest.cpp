#include "QorConfig.hpp"

#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <system_error>

#include <csignal>
#include <unistd.h>

namespace {

using namespace test;
using os::bsp::QorConfig;

class Store : public testing::Test {
protected:
    Store() { std::filesystem::create_directories(unit::Config); }
    QorConfig m_config;
};

TEST_F(Store, RefusesWhatIsNoFileName) {
    for (const char* key : {"", ".", "..", ".new", "a/b"}) {
        EXPECT_FALSE(m_config.setValue(key, "x")) << key;
        EXPECT_FALSE(m_config.clearValue(key)) << key;
        EXPECT_THROW(m_config.getValue(key), std::system_error) << key;
    }
}

TEST_F(Store, KilledWriterLeavesOldOrNewValue) {
    const std::string old(3000, 'o');
    const std::string fresh(4000, 'n');
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(m_config.setValue("key", old));
        Child writer([&] {
            while (QorConfig().setValue("key", fresh) && QorConfig().setValue("key", old)) {
            }
        });
        usleep(static_cast<useconds_t>(1000 + 37 * round));
        kill(writer.pid(), SIGKILL);
        EXPECT_EQ(writer.wait().status, -SIGKILL);
        const auto now = m_config.getValue("key");
        ASSERT_TRUE(now == old || now == fresh) << now.size();
    }
    const auto files = std::distance(
        std::filesystem::directory_iterator(unit::Config), std::filesystem::directory_iterator());
    EXPECT_LE(files, 2); // the value, and at most one that was not finished
}

} // namespace
