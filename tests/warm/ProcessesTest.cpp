#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <random>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr std::size_t BlockSize = 1536;

struct Race {
    std::atomic<int> ready;
    std::atomic<int> done;
    std::atomic<int> created;

    static void meet(std::atomic<int>& place) {
        ++place;
        while (place < 2) {
            std::this_thread::yield();
        }
    }
};

void runRacer(Race& race) {
    TolvTrace_setLevel("Bsp.WarmDatabase", 5);
    Race::meet(race.ready);
    const Object object("COUNTER");
    race.created += object.created ? 1 : 0;
    for (int i = 0; i < 100; ++i) {
        const std::lock_guard lock(object.mutex());
        ++object.as<int>();
    }
    Race::meet(race.done); // whoever created a name keeps it until both are through
    EXPECT_EQ(object.as<int>(), 200);
}

TEST(Processes, RaceForFirstCreationHasOneWinner) {
    void* const shared =
        mmap(nullptr, sizeof(Race), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    for (int round = 0; round < 300; ++round) {
        unit::restart(unit::Cold, unit::noise(32768));
        auto* const race = new (shared) Race{};
        Child first([&] { runRacer(*race); });
        Child second([&] { runRacer(*race); });
        int clearings = 0;
        for (const auto& outcome : {first.wait(), second.wait()}) {
            ASSERT_EQ(outcome.status, 0) << outcome.out << outcome.err;
            clearings += countLines(outcome.err, "COLD restart, clearing database.");
        }
        ASSERT_EQ(clearings, 1);
        ASSERT_EQ(race->created, 1);
    }
}

[[noreturn]] void useObjects(unsigned seed) {
    std::minstd_rand random(seed);
    while (true) {
        const std::string name = numbered("object ", random() % 30);
        void* data = nullptr;
        switch (random() % 3) {
        case 0:
            WarmDatabase_createObject(name.c_str(), &data, 1520);
            break;
        case 1:
            WarmDatabase_retrieveObject(name.c_str(), &data, 8);
            break;
        default:
            const Object object(name);
        }
    }
}

// Names are distinct, whole and without a hole between them; the objects are zeroes.
void expectWholeObjects(const char* area) {
    std::set<std::string> names;
    bool freeSeen = false;
    for (const char* block = area; block < area + 21 * BlockSize; block += BlockSize) {
        freeSeen = freeSeen || *block == '\0';
        if (*block != '\0') {
            const std::string name(block, strnlen(block, 16));
            EXPECT_FALSE(freeSeen) << "a hole before " << name;
            EXPECT_TRUE(names.insert(name).second) << name << " twice";
            EXPECT_TRUE(name.starts_with("object ")) << "half a name: " << name;
            EXPECT_EQ(std::string(block + 16, 1520), std::string(1520, '\0')) << name;
        }
    }
}

class Clients : public testing::Test {
protected:
    Clients() {
        unit::restart(unit::Warm, "");
        m_area = static_cast<char*>(Object("first").data) - 16;
        m_semaphore = sem_open("/DtcmDbSharedSem", 0);
    }
    ~Clients() override { sem_close(m_semaphore); }

    // Whether `operation` waits for a lock held here until it is given back, and then ends well.
    static bool waits(
        const std::function<void()>& operation, const std::function<void()>& giveBack) {
        Child child(operation);
        std::this_thread::sleep_for(30ms);
        const bool waiting = waitpid(child.pid(), nullptr, WNOHANG) == 0;
        giveBack();
        return waiting && child.wait().status == 0;
    }

    char* m_area;
    sem_t* m_semaphore;
};

// A client that is killed while it holds the database lock leaves it taken: the one thing that may
// go wrong. The test counts that, and goes on after giving the lock back.
TEST_F(Clients, KilledAtAnyMomentLeaveWholeObjects) {
    constexpr unsigned Rounds = 300;
    unsigned lost = 0;
    TolvTrace_setLevel("Bsp.WarmDatabase", 0);
    for (unsigned round = 0; round < Rounds && !HasFailure(); ++round) {
        std::memcpy(m_area, unit::noise(32768).data(), 32768);
        for (std::size_t block = 0; block < 21; ++block) {
            m_area[block * BlockSize] = '\0';
        }
        Child client([round] { useObjects(2 * round); });
        Child victim([round] { useObjects(2 * round + 1); });
        std::this_thread::sleep_for(std::chrono::microseconds(300 + round * 13));
        for (Child* const child : {&victim, &client}) {
            kill(child->pid(), SIGKILL);
            child->wait();
        }
        expectWholeObjects(m_area);
        lost += sem_trywait(m_semaphore) == -1 ? 1 : 0;
        ASSERT_EQ(sem_trywait(m_semaphore), -1) << "the lock was free twice";
        sem_post(m_semaphore);
    }
    EXPECT_LT(lost, Rounds);
}

TEST_F(Clients, OperationsWaitForTheLockThroughSignals) {
    void* data = nullptr;
    const std::function<void()> operations[] = {
        [&] { EXPECT_EQ(WarmDatabase_createObject("A", &data, 1), 0); },
        [&] { EXPECT_EQ(WarmDatabase_retrieveObject("A", &data, 1), 0); },
        [] { EXPECT_FALSE(Object("A").created); },
    };
    for (const auto& operation : operations) {
        database().lock();
        const auto disturbed = [&] {
            struct sigaction action {};
            action.sa_handler = [](int) {
            };
            sigaction(SIGALRM, &action, nullptr); // without SA_RESTART
            const itimerval every = {{0, 500}, {0, 500}};
            setitimer(ITIMER_REAL, &every, nullptr);
            operation();
        };
        EXPECT_TRUE(waits(disturbed, [] { database().unlock(); })) << &operation - operations;
    }
}

TEST_F(Clients, SlotIsGuardedByItsOwnMutex) {
    Bsp_setSlotId(1);
    auto* const mutex = reinterpret_cast<pthread_mutex_t*>(
        m_area + BlockSize + 16 + (sizeof(pthread_mutex_t) == 24 ? 4 : 8));
    for (const std::function<void()> operation :
         {+[] { Bsp_setSlotId(2); },
          +[] {
              EXPECT_EQ(Bsp_getSlotId(), 2);
          }}) {
        ASSERT_EQ(pthread_mutex_trylock(mutex), 0);
        EXPECT_TRUE(waits(operation, [mutex] { pthread_mutex_unlock(mutex); }));
    }
}

TEST_F(Clients, ReportsAndRefusalsDoNotWait) {
    database().lock();
    Child other([] {
        char info[1200];
        void* data = nullptr;
        EXPECT_EQ(WarmDatabase_getInfo(info, sizeof info), 0);
        EXPECT_EQ(database().getNumberOfFreeBlocks(), 20U);
        EXPECT_EQ(WarmDatabase_createObject("sixteen bytes...", &data, 1), -1);
        EXPECT_EQ(WarmDatabase_retrieveObject("A", &data, 1521), -1);
    });
    EXPECT_EQ(other.wait().status, 0); // or the test's time runs out
    database().unlock();
    EXPECT_EQ(sem_trywait(m_semaphore), 0);
    EXPECT_EQ(sem_trywait(m_semaphore), -1);
}

TEST(Processes, StartWaitsForWhoeverMakesTheSyncArea) {
    unit::restart(unit::Warm, "");
    const int unfinished = open("/dev/shm/DtcmSync", O_CREAT | O_RDWR, 0666);
    flock(unfinished, LOCK_EX);
    Child other([] { EXPECT_TRUE(Object("A").created); });
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(waitpid(other.pid(), nullptr, WNOHANG), 0);
    EXPECT_EQ(unit::readFile("/dev/shm/DtcmSync"), "");
    flock(unfinished, LOCK_UN);
    EXPECT_EQ(other.wait().status, 0);
}

} // namespace
