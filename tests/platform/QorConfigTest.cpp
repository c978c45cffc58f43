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

TEST(Store, RefusesWhatIsNoFileName) {
    std::filesystem::create_directories(unit::Config);
    for (const char* key : {"", ".", "..", ".new", "a/b"}) {
        EXPECT_FALSE(QorConfig().setValue(key, "x") || QorConfig().clearValue(key)) << key;
        EXPECT_THROW(QorConfig().getValue(key), std::system_error) << key;
    }
}

TEST(Store, KilledWriterLeavesOldOrNewValue) {
    std::filesystem::create_directories(unit::Config);
    const std::string old(3000, 'o');
    const std::string fresh(4000, 'n');
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(QorConfig().setValue("key", old));
        Child writer([&] {
            while (QorConfig().setValue("key", fresh) && QorConfig().setValue("key", old)) {
            }
        });
        usleep(static_cast<useconds_t>(1000 + 37 * round));
        kill(writer.pid(), SIGKILL);
        EXPECT_EQ(writer.wait().status, -SIGKILL);
        const auto now = QorConfig().getValue("key");
        ASSERT_TRUE(now == old || now == fresh) << now.size();
    }
    const auto files = std::distance(
        std::filesystem::directory_iterator(unit::Config), std::filesystem::directory_iterator());
    EXPECT_LE(files, 2); // the value, and at most one that was not finished
}

} // namespace
