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
using std::filesystem::perms;

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

// Each fsync(), of a new value and of the folder, must happen under the lock.
TEST_F(Store, WriterLocksOutOtherWritersOnlyAndKeepsTheModeOfAValue) {
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
    for (const perms mode : {perms(0644), perms(0640)}) { // of a new value, then of an existing one
        EXPECT_TRUE(QorConfig().setValue("key", "x"));
        EXPECT_EQ(status(unit::Config / "key").permissions(), mode);
        permissions(unit::Config / "key", perms(0640));
    }
    EXPECT_EQ(children.size(), 4U);
    EXPECT_EQ(status(lock).permissions(), perms(0440));
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
