#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"
#include "bsp/Platform.hpp"
#include "bsp/ResetType.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace test;

void (*asked)() = nullptr; // called before the layer's getResetType()
std::atomic<bool> inStart = false;
bool failingOpens = false;
std::function<void()> whileDetermined;

} // namespace

BSP_EXPORT os::bsp::ResetType os::bsp::getResetType() {
    if (asked != nullptr) {
        asked();
    }
    return original(getResetType, "_ZN2os3bsp12getResetTypeEv")();
}

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
    if (failingOpens) {
        errno = EMFILE;
        return SEM_FAILED;
    }
    return original(sem_open, "sem_open")(name, oflag, mode, value);
}

extern "C" BSP_EXPORT int sem_trywait(sem_t* sem) {
    return answer(sem_trywait, "sem_trywait", sem);
}

namespace {

constexpr std::size_t SyncAreaSize = 21 * sizeof(pthread_mutex_t);
constexpr const char* SemaphoreFile = "/dev/shm/sem.DtcmDbSharedSem";
constexpr const char* SyncFile = "/dev/shm/DtcmSync";

std::string start(const std::function<void()>& body = [] {}) {
    return logOf([&] {
        TolvTrace_setLevel("Bsp.WarmDatabase", 5);
        database();
        body();
    });
}

TEST(Startup, OtherRestartsThanAColdOneKeepTheArea) {
    const std::string area = unit::noise(32768);
    for (const auto cause : {unit::Warm, unit::Watchdog, unit::Unknown}) {
        unit::restart(cause, area);
        EXPECT_EQ(countOf(start(), ": WARM restart, leaving database as is."), 1);
        EXPECT_TRUE(unit::readFile(unit::WarmArea) == area);
    }
}

// That process creates the lock, but has only a private area to clear.
TEST(Startup, AFirstProcessWithoutTheDeviceLeavesTheColdRestartPending) {
    for (const int fate : {0, SIGCONT, SIGKILL}) { // it stays, exits, or is killed
        unit::restart(unit::Cold, unit::noise(32768));
        std::filesystem::rename(unit::WarmArea, "/tmp/area");
        Child first([] { database(), raise(SIGSTOP); });
        waitpid(first.pid(), nullptr, WUNTRACED);
        std::filesystem::rename("/tmp/area", unit::WarmArea);
        kill(first.pid(), fate);
        if (fate != 0) {
            first.wait();
        }
        EXPECT_EQ(countOf(start([] { Object("A"); }), "): COLD restart, clearing database."), 1);
        EXPECT_EQ(unit::readFile(unit::WarmArea), "A" + std::string(32767, '\0'));
        std::filesystem::remove(SemaphoreFile);
        EXPECT_EQ(countOf(start(), "COLD restart already handled, leaving database as is."), 1);
    }
}

TEST(Startup, AProcessWithoutTheSemaphoreLeavesTheColdRestartToItsCreator) {
    const std::string area = unit::noise(32768);
    unit::restart(unit::Cold, area);
    const auto fail = [] {
        EXPECT_EQ(Object("A").result, -1); // no block is free
    };
    asked = [] {
        failingOpens = true; // after the first opening, which finds no semaphore
    };
    EXPECT_EQ(countOf(start(fail), "COLD restart"), 0);
    asked = nullptr;
    EXPECT_TRUE(unit::readFile(unit::WarmArea) == area);
    EXPECT_EQ(countOf(start(), "): COLD restart, clearing database."), 1);
}

#ifndef __SANITIZE_THREAD__ // its pthread_once() does not start again in a forked child
TEST(Startup, AChildForkedDuringTheStartOfAnotherThreadCanStartItself) {
    unit::restart(unit::Warm, "");
    asked = [] {
        inStart = true;
        pause();
    };
    std::thread(database).detach();
    while (!inStart) {
        std::this_thread::yield();
    }
    const Outcome child = inChild([] {
        asked = nullptr;
        alarm(10);
        EXPECT_TRUE(Object("A").created);
    });
    EXPECT_EQ(child.status, 0) << child.err;
}
#endif

TEST(Startup, OnlyTheCreatorUnlinksTheSharedObjects) {
    const auto bothThere = [] {
        return std::filesystem::exists(SemaphoreFile) && std::filesystem::exists(SyncFile);
    };
    unit::restart(unit::Warm, "");
    umask(0);
    start([&] {
        logOf([] { Object("A"); }); // a forked child must not unlink them at its exit
        EXPECT_TRUE(bothThere());
        for (const auto& shared : std::filesystem::directory_iterator("/dev/shm")) {
            EXPECT_EQ(shared.status().permissions(), std::filesystem::perms{0666}) << shared;
        }
    });
    EXPECT_FALSE(std::filesystem::exists(SemaphoreFile) || std::filesystem::exists(SyncFile));
    sem_close(sem_open("/DtcmDbSharedSem", O_CREAT | O_EXCL, 0666, 1));
    unit::writeFile(SyncFile, std::string(SyncAreaSize, '\0'));
    EXPECT_EQ(countOf(start(), "restart"), 0);
    EXPECT_TRUE(bothThere());
    EXPECT_EQ(unit::readFile(SyncFile), std::string(SyncAreaSize, '\0')); // not initialised again
}

void mountShm(unsigned long flags, const char* options) {
    ASSERT_EQ(mount("none", "/dev/shm", "tmpfs", flags, options), 0);
}

const std::string Area = "Error during initialization of warm area";
const std::string NoArea = "1 memoryMapTheDatabase(): " + Area;
const std::string Exception = ": Caught exception [no reset type].\n";
const std::string Number = ": Caught unknown exception\n";

const std::string NoRecord =
    "2 useRunRecord(): Warning: no /DtcmRun, the death of a process is not noticed, error: ";
const std::string NoSemaphore = "1 initDatabaseSemaphore(): error in sem_open error: ";
[[maybe_unused]] const std::string NoMutex =
    "1 lock(): error in pthread_mutex_lock error: Invalid argument\n";
const std::string NoSync = "1 initBlockSynchronization(): error in shm_open error: ";

std::string noneOf(const std::string& error) {
    return NoRecord + error + NoSemaphore + error + NoSync + error;
}

struct Fault {
    std::function<void()> cause;
    std::string records;
};

const Fault Faults[] = {
    {[] { std::filesystem::remove(unit::WarmArea); }, NoArea + "\n"},
    {[] {
         std::filesystem::remove(unit::WarmArea);
         ASSERT_EQ(mkfifo(unit::WarmArea.c_str(), 0600), 0);
     },
     NoArea + ", error: No such device\n"},
    {[] { mountShm(MS_RDONLY, nullptr); }, noneOf("Read-only file system\n")},
    {[] {
         mountShm(0, "size=4k,nr_inodes=100");
         unit::writeFile("/dev/shm/filler", std::string(4096, 'x'));
     },
     noneOf("No space left on device\n")},
    {[] { // a full tmpfs, on which an existing semaphore can be opened but no other be created
         mountShm(0, "size=8k,nr_inodes=100");
         sem_close(sem_open("/DtcmDbSharedSem", O_CREAT | O_EXCL, 0666, 1));
         unit::writeFile("/dev/shm/filler", std::string(4096, 'x'));
     },
     NoRecord + "No space left on device\n" + NoSync + "No space left on device\n"},
    {[] { std::filesystem::create_directory(SyncFile); }, NoSync + "Invalid argument\n"},
    {[] { limit(RLIMIT_NOFILE, 4); }, NoArea + "\n" + noneOf("Too many open files\n")},
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
         asked = [] {
             throw std::runtime_error("no reset type");
         };
     },
     "1 WarmDatabase(): " + Area + Exception},
    {[] {
         asked = [] {
             throw 5;
         };
     },
     "1 WarmDatabase(): " + Area + Number},
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
        mountShm(0, nullptr);
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
