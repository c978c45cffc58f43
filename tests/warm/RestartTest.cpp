#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"
#include "bsp/Platform.hpp"
#include "bsp/ResetType.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdarg>
#include <functional>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace test;

enum { Succeeds, FailsAtOnce, FailsWithoutMemory } creation = Succeeds; // of the semaphore
std::function<void()> whileDetermined; // once, while the type of the last reset is determined

} // namespace

BSP_EXPORT os::bsp::PlatformType os::bsp::getPlatformType() {
    if (const auto step = std::exchange(whileDetermined, nullptr)) {
        step();
    }
    return original(getPlatformType, "_ZN2os3bsp15getPlatformTypeEv")();
}

extern "C" BSP_EXPORT sem_t* sem_open(const char* name, int oflag, ...) {
    std::va_list arguments;
    va_start(arguments, oflag);
    const auto mode = va_arg(arguments, mode_t);
    const auto value = va_arg(arguments, unsigned);
    va_end(arguments);
    const bool fails = (oflag & O_CREAT) != 0 && creation != Succeeds;
    sem_t* const semaphore = fails && creation == FailsAtOnce
                                 ? SEM_FAILED
                                 : original(sem_open, "sem_open")(name, oflag, mode, value);
    errno = fails ? ENOMEM : errno;
    return fails ? SEM_FAILED : semaphore;
}

extern "C" BSP_EXPORT int sem_trywait(sem_t* sem) {
    return answer(sem_trywait, "sem_trywait", sem);
}

namespace {

constexpr std::size_t SyncAreaSize = 21 * sizeof(pthread_mutex_t);
constexpr const char* SemaphoreFile = "/dev/shm/sem.DtcmDbSharedSem";
constexpr const char* SyncFile = "/dev/shm/DtcmSync";

// That process creates the lock, but has only a private area to clear.
TEST(Startup, AFirstProcessWithoutTheDeviceLeavesTheColdRestartPending) {
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    for (const int fate : {0, SIGCONT, SIGKILL}) { // it stays, exits, or is killed
        unit::restart(unit::Cold, unit::noise(32768));
        Child first([] { limit(RLIMIT_MEMLOCK, 0), database(), raise(SIGSTOP); });
        first.waitForStop();
        kill(first.pid(), fate);
        if (fate != 0) {
            first.wait();
        }
        EXPECT_EQ(countOf(logOf([] { Object("A"); }), "): COLD restart, clearing database."), 1);
        EXPECT_EQ(unit::readFile(unit::WarmArea), "A" + std::string(32767, '\0'));
        std::filesystem::remove(SemaphoreFile);
        EXPECT_EQ(
            countOf(logOf(database), "COLD restart already handled, leaving database as is."), 1);
    }
}

TEST(Startup, AProcessWithoutTheSemaphoreLeavesTheColdRestartToItsCreator) {
    const std::string area = unit::noise(32768);
    unit::restart(unit::Cold, area);
    logOf([] {
        creation = FailsAtOnce;
        EXPECT_EQ(Object("A").result, -1); // noise occupies all blocks
    });
    EXPECT_TRUE(unit::readFile(unit::WarmArea) == area);
    logOf([] {
        creation = FailsWithoutMemory; // so the semaphore exists
        EXPECT_TRUE(Object("A").created);
    });
    EXPECT_EQ(unit::readFile(unit::WarmArea), "A" + std::string(32767, '\0'));
}

#ifndef __SANITIZE_THREAD__ // its pthread_once() does not start again in a forked child
TEST(Startup, AChildForkedMeanwhileCanStartItself) {
    unit::restart(unit::Warm, "");
    whileDetermined = [] {
        logOf([] {
            alarm(10);
            EXPECT_TRUE(Object("A").created);
        });
    };
    database();
}
#endif

TEST(Startup, OnlyTheCreatorUnlinksTheSharedObjects) {
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    unit::restart(unit::Warm, "");
    umask(0);
    logOf([] {
        database();
        logOf([] { Object("A"); }); // a forked child must not unlink them at its exit
        EXPECT_EQ(countFiles("/dev/shm"), 3);
        for (const auto& shared : std::filesystem::directory_iterator("/dev/shm")) {
            EXPECT_EQ(shared.status().permissions(), std::filesystem::perms{0666}) << shared;
        }
    });
    EXPECT_EQ(countFiles("/dev/shm"), 1);
    sem_close(sem_open("/DtcmDbSharedSem", O_CREAT | O_EXCL, 0666, 1));
    unit::writeFile(SyncFile, std::string(SyncAreaSize, '\0'));
    EXPECT_EQ(countOf(logOf(database), "restart"), 0);
    EXPECT_EQ(countFiles("/dev/shm"), 3);
    EXPECT_EQ(unit::readFile(SyncFile), std::string(SyncAreaSize, '\0')); // not initialised again
}

const std::string Area = "Error during initialization of warm area";
const std::string NoArea = "1 memoryMapTheDatabase(): " + Area;
const std::string NoCause =
    "1 clearDatabaseIfColdRestart(): " + Area + ": Caught exception [no reset type].\n";
const std::string NoRecord =
    "2 useRunRecord(): Warning: no /DtcmRun, the death of a process is not noticed, error: ";
const std::string NoSemaphore = "1 initDatabaseSemaphore(): error in sem_open error: ";
[[maybe_unused]] const std::string NoMutex =
    "1 lock(): error in pthread_mutex_lock error: Invalid argument\n";
const std::string NoSync = "1 initBlockSynchronization(): error in shm_open error: ";
const std::string TooMany = "Too many open files\n";

void failToDetermine() {
    whileDetermined = failToDetermine;
    throw std::runtime_error("no reset type");
}

struct Fault {
    std::function<void()> cause;
    std::string records;
};

const Fault Faults[] = {
    {[] { std::filesystem::remove(unit::WarmArea); }, NoArea + "\n"},
    {[] { // a full tmpfs, on which an existing semaphore can be opened but no other be created
         mount("none", "/dev/shm", "tmpfs", 0, "size=8k,nr_inodes=100");
         sem_close(sem_open("/DtcmDbSharedSem", O_CREAT | O_EXCL, 0666, 1));
         unit::writeFile("/dev/shm/filler", std::string(4096, 'x'));
     },
     NoRecord + "No space left on device\n" + NoSync + "No space left on device\n"},
    {[] { limit(RLIMIT_NOFILE, 4); },
     NoArea + "\n" + NoRecord + TooMany + NoSemaphore + TooMany + NoSync + TooMany},
    {[] { limit(RLIMIT_MEMLOCK, 0); },
     NoArea + ", error: Operation not permitted\n" + NoSync + "Operation not permitted\n"},
#ifndef __SANITIZE_THREAD__ // it reports the damaged mutex itself
    {[] {                   // a damaged record
         logOf([] { database(); });
         const std::size_t size = unit::readFile("/dev/shm/DtcmRun").size();
         unit::writeFile("/dev/shm/DtcmRun", std::string(size, '\xff'));
     },
     NoMutex + NoMutex + NoMutex},
#endif
    {[] {
         unit::restart(unit::Cold, "");
         inChild([] { limit(RLIMIT_MEMLOCK, 0), database(); }); // leaves the restart pending
         whileDetermined = [] {
             whileDetermined = failToDetermine;
             throw 5;
         };
     },
     "1 WarmDatabase(): " + Area + ": Caught unknown exception\n" + NoCause + NoCause},
    {[] { pending.symbol = "sem_trywait", pending.error = EINVAL; },
     "1 lock(): error in sem_wait error: Invalid argument\n"},
};

// Objects still work inside the process, no lock stays held, and the process exits normally.
TEST(Startup, FaultsAreReportedAndBypassed) {
    for (const Fault& fault : Faults) {
        SCOPED_TRACE(&fault - Faults);
        unit::restart(unit::Warm, "");
        const std::string log = logOf([&] {
            fault.cause();
            const Object object("A", 1520);
            EXPECT_TRUE(object.created);
            const std::lock_guard lock(object.mutex());
            object.as<int>() = 5;
            EXPECT_EQ(Object("A").as<int>(), 5);
            limit(RLIMIT_NOFILE, 100); // sanitizers need descriptors at exit
        });
        umount2("/dev/shm", MNT_DETACH);
        mount("none", "/dev/shm", "tmpfs", 0, nullptr);
        EXPECT_EQ(recordsIn(log), fault.records);
    }
}

const auto Register = unit::Root / "dev/top.sys_ctrl0";
constexpr const char* Marker = "/tmp/restart_cold";
constexpr unit::Code RegisterUnit = {16, 0, 0, 0, 0, 0, 0, 0};
constexpr unit::Code MarkerUnit = {36, 1, 1, 8, 0, 4, 0, 0};

std::string lastReset() {
    return os::bsp::resetTypeToString(os::bsp::getResetType());
}

TEST(ResetType, ComesFromTheRegisterOrTheMarkerFile) {
    const std::tuple<unit::Code, std::string, bool, const char*> restarts[] = {
        {RegisterUnit, {"\0\0\0\0\2", 5}, false, "Cold 0"},
        {RegisterUnit, {"\1\0\0\0", 4}, true, "Warm 1"},
        {RegisterUnit, {"\2\0\0\0", 4}, true, "Watchdog 2"},
        {RegisterUnit, {"\3\0\0\0", 4}, true, "Unknown 3"},
        {RegisterUnit, {"\x09\0\0\0", 4}, true, "EndOfList 9"},
        {RegisterUnit, {"\0\0\0\x80", 4}, true, "EndOfList -2147483648"},
        {MarkerUnit, {"\2\0\0\0", 4}, true, "Cold 0"},
        {MarkerUnit, {"\2\0\0\0", 4}, false, "Warm 1"},
        {{48, 1, 2, 6, 0, 2, 0, 0}, {"\2\0\0\0", 4}, false, "Cold 0"},
    };
    for (const auto& [code, word, marked, type] : restarts) {
        std::filesystem::remove(Marker);
        unit::writeFile(marked ? Marker : "/tmp/another", "");
        unit::writeEeprom(code);
        unit::writeFile(Register, word);
        EXPECT_EQ(
            inChild([] { std::printf("%s %d", lastReset().c_str(), Bsp_getResetType()); }).out,
            type);
    }
}

TEST(ResetType, UnknownIsReadAgainAndAnyOtherAnswerIsKept) {
    unit::writeEeprom(RegisterUnit);
    EXPECT_EQ(lastReset(), "Unknown");        // no device
    for (const std::size_t size : {1U, 4U}) { // a word of one byte cannot be read
        unit::writeFile(Register, {"\3\0\0\0", size});
        EXPECT_EQ(lastReset(), "Unknown");
    }
    whileDetermined = [] { // another thread is faster
        unit::writeFile(Register, {"\2\0\0\0", 4});
        EXPECT_EQ(lastReset(), "Watchdog");
        unit::writeFile(Register, {"\1\0\0\0", 4});
    };
    EXPECT_EQ(lastReset(), "Watchdog");
    EXPECT_EQ(lastReset(), "Watchdog");
}

} // namespace
