#include "QorConfig.hpp"

#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <system_error>

#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

static std::function<void()> onFsync = [] {
};

extern "C" __attribute__((visibility("default"))) int fsync(int /*fd*/) {
    onFsync();
    return 0;
}

namespace {

using namespace test;
using os::bsp::QorConfig;

class Store : public testing::Test {
protected:
    Store() { std::filesystem::create_directories(unit::Config); }
};

TEST_F(Store, RefusesAKeyThatIsNoFileName) {
    for (const char* key : {"", ".", "..", ".lock", ".new", "a/b"}) {
        EXPECT_FALSE(QorConfig().setValue(key, "x") || QorConfig().clearValue(key)) << key;
        EXPECT_THROW(QorConfig().getValue(key), std::system_error) << key;
    }
}

TEST_F(Store, NewValueIsReadableForAllAndOldOneKeepsItsMode) {
    const auto value = unit::Config / "key";
    umask(077);
    for (const unsigned mode : {0644U, 0640U}) { // of a new value, then of an existing one
        EXPECT_TRUE(QorConfig().setValue("key", "x"));
        EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(value).permissions()), mode);
        chmod(value.c_str(), 0640);
    }
}

// Each fsync(), of a new value and of the folder, must happen under the lock.
TEST_F(Store, LockIsNeitherKeptByForkedChildrenNorOpenToReaders) {
    std::vector<std::unique_ptr<Child>> children;
    const auto lock = unit::Config / ".lock";
    onFsync = [&] {
        EXPECT_EQ(flock(open(lock.c_str(), O_RDONLY), LOCK_SH | LOCK_NB), -1);
        children.push_back(std::make_unique<Child>(pause));
    };
    alarm(10); // ends the test if a writer waits for the children, or for the reader of the folder
    const int folder = open(unit::Config.c_str(), O_RDONLY);
    ASSERT_EQ(flock(folder, LOCK_EX) | fchmod(folder, 0775), 0);
    umask(077);
    EXPECT_TRUE(QorConfig().setValue("key", "x"));
    EXPECT_TRUE(QorConfig().setValue("key", "y"));
    EXPECT_EQ(children.size(), 4U);
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(lock).permissions()), 0440U);
}

TEST_F(Store, KilledWriterLeavesOldOrNewValue) {
    const std::string old(5000, 'o');
    const std::string fresh(6000, 'n');
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
    EXPECT_LE(countFiles(unit::Config), 3); // the value, the lock, and at most one unfinished
}

} // namespace
