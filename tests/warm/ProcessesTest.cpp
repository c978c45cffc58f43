#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace test;
using namespace std::chrono_literals;

std::atomic<int>& sharedCount() {
    static void* const memory =
        mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *static_cast<std::atomic<int>*>(memory);
}

// Waits until `everybody` calls have been made, in all processes together.
void meet(int everybody) {
    ++sharedCount();
    while (sharedCount() < everybody) {
        std::this_thread::yield();
    }
}

TEST(Processes, RaceOfTheirThreadsForFirstCreationHasOneWinner) {
    for (int round = 0; round < 300; ++round) {
        unit::restart(unit::Cold, unit::noise(32768));
        sharedCount() = 0;
        const auto race = [] {
            meet(4);
            database();
            meet(8);
            const Object object("COUNTER");
            for (int i = 0; i < 100; ++i) {
                const std::lock_guard lock(object.mutex());
                ++object.as<int>();
            }
            meet(12); // a creator that exits earlier would unlink its shared objects
            EXPECT_EQ(object.as<int>(), 400);
        };
        const auto raceTwice = [race] {
            TolvTrace_setLevel("Bsp.WarmDatabase", 5);
            const std::jthread thread(race);
            race();
        };
        Child beside(raceTwice);
        const Outcome one = inChild(raceTwice);
        const Outcome other = beside.wait();
        const std::string log = one.err + other.err;
        ASSERT_EQ(one.status | other.status, 0) << one.out << other.out << log;
        ASSERT_EQ(countOf(log, "COLD restart, clearing database."), 1);
        ASSERT_EQ(countOf(log, "Created object COUNTER"), 1);
    }
}

// Returns whether `operation` waits for a lock held here until `giveBack` releases it, and then
// succeeds.
bool waits(const std::function<void()>& operation, const std::function<void()>& giveBack) {
    sharedCount() = 0;
    Child child([&] {
        meet(2);
        operation();
    });
    meet(2);
    std::this_thread::sleep_for(30ms);
    const bool waiting = waitpid(child.pid(), nullptr, WNOHANG) == 0;
    giveBack();
    return waiting && child.wait().status == 0;
}

class Clients : public testing::Test {
protected:
    Clients() {
        unit::restart(unit::Warm, "");
        m_area = static_cast<char*>(Object("first").data) - 16;
        m_semaphore = sem_open("/DtcmDbSharedSem", 0);
    }
    ~Clients() override { sem_close(m_semaphore); }

    pthread_mutex_t* slotMutex() const {
        const std::size_t offset = sizeof(pthread_mutex_t) == 24 ? 4 : 8;
        return reinterpret_cast<pthread_mutex_t*>(m_area + BlockSize + 16 + offset);
    }

    char* m_area;
    sem_t* m_semaphore;
};

TEST_F(Clients, OperationsWaitForAHolderThroughSignals) {
    void* data = nullptr;
    const std::function<void()> operations[] = {
        [&] { EXPECT_EQ(WarmDatabase_createObject("A", &data, 1), 0); },
        [&] { EXPECT_EQ(WarmDatabase_retrieveObject("A", &data, 1), 0); },
        [] { EXPECT_FALSE(Object("A").created); },
        [&] { const os::bsp::dtcm::WarmDatabase::SemLockGuard guard(m_semaphore); },
    };
    for (const auto& operation : operations) {
        const auto disturbed = [&] {
            struct sigaction action {};
            action.sa_handler = [](int) {
            };
            sigaction(SIGALRM, &action, nullptr); // without SA_RESTART
            ualarm(500, 500);
            operation();
        };
        alarm(10); // ends the test if the holder waits for itself
        database().lock();
        EXPECT_TRUE(database().createObject("B", &data, 1, false));
        EXPECT_TRUE(database().retrieveObject("B", &data, 1, false));
        EXPECT_TRUE(waits(disturbed, [] { database().unlock(); })) << &operation - operations;
        // The operation also waits for a process that uses only the semaphore.
        ASSERT_EQ(sem_wait(m_semaphore), 0);
        EXPECT_TRUE(waits(disturbed, [&] { sem_post(m_semaphore); })) << &operation - operations;
    }
}

TEST_F(Clients, UnlockReleasesOnlyALockOfItsOwnThread) {
    const auto value = [this] {
        int posts = 0;
        sem_getvalue(m_semaphore, &posts);
        return posts;
    };
    database().unlock();
    EXPECT_EQ(value(), 1);
    database().lock();
    inChild([] { database().unlock(); });
    std::thread([] { database().unlock(); }).join();
    EXPECT_EQ(value(), 0);
    database().unlock();
    EXPECT_EQ(value(), 1);
}

// The thread unwinds normally, and its last destructor can use the database.
TEST_F(Clients, ACancelledThreadThatWaitsReleasesItsLock) {
    struct Late {
        ~Late() { EXPECT_EQ(Object("late").result, 0); }
    };
    ASSERT_EQ(sem_wait(m_semaphore), 0);
    std::thread thread([] {
        thread_local const Late late;
        Object("A");
        pthread_testcancel();
    });
    std::this_thread::sleep_for(30ms);
    pthread_cancel(thread.native_handle());
    std::this_thread::sleep_for(30ms);
    sem_post(m_semaphore);
    thread.join();
    EXPECT_EQ(countOf(logOf([] { Object("B"); }), "taken over"), 0);
}

// A process that reports to a full pipe blocks.
class FullPipe {
public:
    FullPipe() {
        EXPECT_EQ(pipe2(m_ends, O_NONBLOCK), 0);
        while (write(m_ends[1], "", 1) == 1) {
        }
        fcntl(m_ends[1], F_SETFL, 0);
    }
    void reportTo() const {
        TolvTrace_setLevel("Bsp.WarmDatabase", 5);
        dup2(m_ends[1], STDERR_FILENO);
    }
    void drain() const {
        std::string drained(70000, '\0');
        EXPECT_GT(read(m_ends[0], drained.data(), drained.size()), 0);
    }

private:
    int m_ends[2]{};
};

TEST(Processes, AStartReportsWithoutTheLock) {
    unit::restart(unit::Cold, unit::noise(32768));
    const FullPipe pipe;
    const auto start = [&] {
        pipe.reportTo();
        database();
    };
    alarm(20);
    EXPECT_TRUE(waits(start, [&] {
        EXPECT_EQ(Object("A").result, 0);
        pipe.drain();
    }));
}

// Since the report that it creates the slot's object comes after the lock was released, the process
// must take the lock again before it initialises the slot.
TEST_F(Clients, ReportsAreWrittenWithoutTheLock) {
    const FullPipe pipe;
    const auto report = [&] {
        pipe.reportTo();
        Bsp_getSlotId();
    };
    EXPECT_TRUE(waits(report, [&] {
        EXPECT_EQ(Object("A").result, 0);
        database().lock();
        pipe.drain();
        std::this_thread::sleep_for(30ms);
        EXPECT_EQ(std::string(m_area + BlockSize + 16, 64), std::string(64, '\0'));
        database().unlock();
    }));
}

TEST_F(Clients, SlotIsGuardedByItsOwnMutex) {
    Bsp_setSlotId(1);
    const auto unlock = [this] {
        pthread_mutex_unlock(slotMutex());
    };
    ASSERT_EQ(pthread_mutex_lock(slotMutex()), 0);
    EXPECT_TRUE(waits([] { Bsp_setSlotId(2); }, unlock));
    ASSERT_EQ(pthread_mutex_lock(slotMutex()), 0);
    EXPECT_TRUE(waits([] { EXPECT_EQ(Bsp_getSlotId(), 2); }, unlock));
}

// A restart or a dead owner leaves the mutex locked, and a restart of unknown type may leave noise.
// Repairing it must also wake programs that sleep in pthread_mutex_lock().
TEST_F(Clients, SlotMutexWithoutAnOwnerOrOfNoiseIsReinitialised) {
    inChild([] { Bsp_setSlotId(1); });
    const auto expectRepair = [] {
        const std::string log = logOf([] { EXPECT_EQ(Bsp_getSlotId(), 1); });
        EXPECT_EQ(countOf(log, "[bsp.networking] 2 "), 1) << log;
    };
    ASSERT_EQ(pthread_mutex_lock(slotMutex()), 0);
    Child sleeper([&] {
        EXPECT_EQ(pthread_mutex_lock(slotMutex()), 0);
        EXPECT_EQ(pthread_mutex_unlock(slotMutex()), 0);
    });
    expectRepair();
    EXPECT_EQ(sleeper.wait().status, 0);
    const std::string noise = unit::noise(21 * sizeof(pthread_mutex_t));
    for (std::size_t at = 0; at < noise.size(); at += sizeof(pthread_mutex_t)) {
        std::memcpy(slotMutex(), &noise[at], sizeof(pthread_mutex_t));
        expectRepair();
    }
}

TEST(Processes, StartWaitsForTheCreatorOfTheSyncArea) {
    unit::restart(unit::Warm, "");
    const int unfinished = open("/dev/shm/DtcmSync", O_CREAT | O_RDWR, 0666);
    flock(unfinished, LOCK_SH);
    EXPECT_TRUE(waits([] { database(); }, [&] { flock(unfinished, LOCK_UN); }));
}

} // namespace
