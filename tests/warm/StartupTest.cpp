#include "Database.hpp"
#include "Layout.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using namespace test;
using os::bsp::dtcm::SyncAreaSize;

constexpr const char* SemaphoreFile = "/dev/shm/sem.DtcmDbSharedSem";
constexpr const char* SyncFile = "/dev/shm/DtcmSync";
constexpr const char* MarkerFile = "/dev/shm/DtcmColdRestartDone";

Outcome startInChild(const std::function<void()>& body = [] {}) {
    return inChild([&] {
        TolvTrace_setLevel("Bsp.WarmDatabase", 5);
        database();
        body();
    });
}

TEST(Startup, EveryRestartButAColdOneKeepsTheArea) {
    const std::string area = unit::noise(32768);
    for (const auto cause : {unit::Warm, unit::Watchdog, unit::Unknown}) {
        unit::restart(cause, area);
        const auto outcome = startInChild();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_TRUE(unit::readFile(unit::WarmArea) == area);
        EXPECT_EQ(
            countLines(
                outcome.err, "clearDatabaseIfColdRestart(): WARM restart, leaving database as is."),
            1)
            << outcome.err;
    }
    unit::restart(unit::Cold, area);
    const auto outcome = startInChild();
    EXPECT_EQ(unit::readFile(unit::WarmArea), std::string(32768, '\0'));
    EXPECT_EQ(countLines(outcome.err, "COLD restart, clearing database."), 1);
}

TEST(Startup, ColdRestartIsHandledOnceInASystemRun) {
    unit::restart(unit::Cold, unit::noise(32768));
    EXPECT_EQ(startInChild([] { EXPECT_TRUE(Object("A").created); }).status, 0);
    EXPECT_FALSE(std::filesystem::exists(SemaphoreFile)); // so the next process creates it again
    const auto again = startInChild([] { EXPECT_FALSE(Object("A").created); });
    EXPECT_EQ(again.status, 0) << again.out;
    EXPECT_EQ(countLines(again.err, "COLD restart already handled, leaving database as is."), 1);
    for (const char* marker : {"another boot's id, of the same length", "", "short"}) {
        unit::writeFile(MarkerFile, marker);
        EXPECT_EQ(countLines(startInChild().err, "COLD restart, clearing database."), 1);
    }
}

TEST(Startup, ColdRestartOfAPrivateAreaSaysNothingOfTheUnits) {
    unit::restart(unit::Cold, unit::noise(32768));
    std::filesystem::rename(unit::WarmArea, "/tmp/area");
    startInChild();
    std::filesystem::rename("/tmp/area", unit::WarmArea);
    EXPECT_EQ(countLines(startInChild().err, "COLD restart, clearing database."), 1);
}

TEST(Startup, NamesGoWithTheProcessThatMadeThem) {
    unit::restart(unit::Warm, "");
    const auto maker = startInChild([] {
        EXPECT_EQ(
            inChild([] { EXPECT_TRUE(Object("A").created); }).status, 0); // forked, then exits
        EXPECT_TRUE(std::filesystem::exists(SemaphoreFile));
        EXPECT_TRUE(std::filesystem::exists(SyncFile));
        EXPECT_FALSE(Object("A").created);
    });
    EXPECT_EQ(maker.status, 0) << maker.out;
    EXPECT_FALSE(std::filesystem::exists(SemaphoreFile));
    EXPECT_FALSE(std::filesystem::exists(SyncFile));

    sem_close(sem_open("/DtcmDbSharedSem", O_CREAT | O_EXCL, 0666, 1));
    unit::writeFile(SyncFile, std::string(SyncAreaSize, '\0'));
    const auto opener = startInChild();
    EXPECT_EQ(countLines(opener.err, "restart"), 0) << opener.err;
    EXPECT_TRUE(std::filesystem::exists(SemaphoreFile));
    EXPECT_EQ(unit::readFile(SyncFile), std::string(SyncAreaSize, '\0')); // left as it was
}

// Whatever size a creator that was killed has left, the next process finishes the area.
TEST(Startup, UnfinishedSyncAreaIsFinished) {
    const auto finished = [] {
        const Object object("A");
        const std::lock_guard lock(object.mutex());
        EXPECT_EQ(std::filesystem::file_size(SyncFile), SyncAreaSize);
    };
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{10}, SyncAreaSize + 1, std::size_t{9999}}) {
        unit::restart(unit::Warm, "");
        unit::writeFile(SyncFile, unit::noise(size));
        const auto outcome = startInChild(finished);
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_FALSE(std::filesystem::exists(SyncFile)); // it became the creator
    }
}

// Whoever writes to a stream that was closed must not write to what was opened since.
TEST(Startup, ClosedErrorOutputIsNotTheSyncArea) {
    unit::restart(unit::Warm, "");
    const auto outcome = inChild([] {
        close(STDERR_FILENO);
        EXPECT_TRUE(Object("A").created);
        const std::string before = unit::readFile(SyncFile);
        EXPECT_EQ(Object("a name that is refused, with a message").result, -1);
        std::fputs("text", stderr);
        EXPECT_TRUE(unit::readFile(SyncFile) == before);
    });
    EXPECT_EQ(outcome.status, 0);
}

struct Fault {
    const char* name;
    std::function<void()> cause;
    std::vector<std::string> messages;
};

void limit(__rlimit_resource resource, rlim_t value) {
    rlimit limits = {};
    getrlimit(resource, &limits);
    limits.rlim_cur = value;
    ASSERT_EQ(setrlimit(resource, &limits), 0);
}

void mountShm(unsigned long flags, const char* options) {
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", flags, options), 0);
}

void fillShm() {
    mountShm(0, "size=4k,nr_inodes=100");
    unit::writeFile("/dev/shm/filler", std::string(4096, 'x'));
}

const std::string NoArea = "memoryMapTheDatabase(): Error during initialization of warm area";
const std::string NoSemaphore = "initDatabaseSemaphore(): error in sem_open error: ";
const std::string NoSync = "initBlockSynchronization(): error in shm_open error: ";

const Fault Faults[] = {
    {"no device", [] { std::filesystem::remove(unit::WarmArea); }, {NoArea}},
    {"device that cannot be mapped",
     [] {
         std::filesystem::remove(unit::WarmArea);
         ASSERT_EQ(mkfifo(unit::WarmArea.c_str(), 0600), 0);
     },
     {NoArea + ", error: No such device"}},
    {"read-only shared memory",
     [] { mountShm(MS_RDONLY, nullptr); },
     {NoSemaphore + "Read-only file system", NoSync + "Read-only file system"}},
    {"full shared memory",
     fillShm,
     {NoSemaphore + "No space left on device", NoSync + "No space left on device"}},
    {"directory in place of the sync area",
     [] { std::filesystem::create_directory(SyncFile); },
     {NoSync + "Invalid argument"}},
};

// Objects still work inside the process, and it ends in order.
void expectMessages(const Fault& fault) {
    SCOPED_TRACE(fault.name);
    unit::restart(unit::Warm, "");
    const auto outcome = inChild([&] {
        fault.cause();
        const Object object("A", 1520);
        EXPECT_TRUE(object.created);
        const std::lock_guard lock(object.mutex());
        object.as<int>() = 5;
        EXPECT_EQ(Object("A").as<int>(), 5);
        limit(RLIMIT_NOFILE, 100); // sanitizers need some to end in order
    });
    if (std::filesystem::exists("/dev/shm/filler") || fault.messages.size() == 2) {
        umount2("/dev/shm", MNT_DETACH);
    }
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    for (const auto& message : fault.messages) {
        EXPECT_EQ(countLines(outcome.err, message), 1) << message << "\n" << outcome.err;
    }
    EXPECT_EQ(countLines(outcome.err, ""), static_cast<int>(fault.messages.size())) << outcome.err;
}

TEST(Startup, FaultsAreReportedAndBypassed) {
    for (const Fault& fault : Faults) {
        expectMessages(fault);
    }
}

TEST(Startup, FullSharedMemoryDoesNotHideTheLock) {
    fillShm();
    std::filesystem::remove("/dev/shm/filler");
    unit::restart(unit::Warm, "");
    sem_close(sem_open("/DtcmDbSharedSem", O_CREAT | O_EXCL, 0666, 1));
    unit::writeFile("/dev/shm/filler", std::string(4096, 'x'));
    const auto outcome = startInChild([] { EXPECT_TRUE(Object("A").created); });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(countLines(outcome.err, NoSemaphore), 0) << outcome.err;
}

TEST(Startup, MissingSharedMemoryIsReportedAndBypassed) {
    unit::restart(unit::Warm, "");
    umount2("/dev/shm", MNT_DETACH);
    std::filesystem::remove_all("/dev/shm");
    const auto outcome = startInChild([] { EXPECT_TRUE(Object("A").created); });
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(countLines(outcome.err, NoSemaphore + "No such file or directory"), 1) << outcome.err;
}

TEST(Startup, ExhaustedDescriptorsAreReportedAndBypassed) {
    expectMessages(
        {"no descriptors", [] { limit(RLIMIT_NOFILE, 4); }, {NoArea, NoSemaphore, NoSync}});
}

TEST(Startup, UnlockableMemoryIsReportedAndBypassed) {
    expectMessages(
        {"no memory can be locked",
         [] { limit(RLIMIT_MEMLOCK, 0); },
         {NoArea + ", error: Operation not permitted", NoSync + "Operation not permitted"}});
}

} // namespace
