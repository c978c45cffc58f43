#include "DatabaseLock.hpp"

#include "DatabaseLog.hpp"
#include "Layout.hpp"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include <fcntl.h>

namespace os::bsp::dtcm {
namespace {

using namespace std::chrono_literals;

// Only a process that knows nothing of the record is waited for in these steps.
constexpr auto WaitingStep = 1ms;

// How long a semaphore that may be held by nobody is tried for: somebody may hold it after all.
constexpr auto OrphanPatience = 1s;

constexpr std::uint32_t bitOf(std::uint32_t number) {
    return std::uint32_t{1} << number % 32;
}

// Read and written by the owner of the record's mutex, which orders what owners do.
template <class Value>
Value load(const std::atomic<Value>& place) {
    return place.load(std::memory_order_relaxed);
}

// For whoever succeeds this process when it has died: then all of its stores are done that came
// before, and none that would have come after. Only the compiler has to keep that order.
template <class Value>
void store(std::atomic<Value>& place, Value value) {
    std::atomic_signal_fence(std::memory_order_release);
    place.store(value, std::memory_order_relaxed);
}

// What this thread has to give back, and to report after that.
struct Hold {
    bool mutex = false;
    bool semaphore = false;
    bool tookOver = false; // from a holder that has died
    int error = 0;         // of a semaphore that cannot be waited for
};

[[gnu::tls_model("initial-exec")]] constinit thread_local Hold held;

void waitAlone(sem_t* semaphore) {
    held.error = waitFor(semaphore);
    held.semaphore = held.error == 0;
}

// Never above 1: whoever was taken for dead may have posted after all.
void post(sem_t* semaphore) {
    int value = 0;
    if (sem_getvalue(semaphore, &value) == 0 && value == 0) {
        sem_post(semaphore);
    }
}

void report(const Hold& hold) {
    if (hold.tookOver) {
        BSP_LOG_AT(
            databaseLog(), 2, __LINE__, "lock",
            "Warning: a process died with the database lock, it was taken over");
    }
    if (hold.error != 0) {
        BSP_LOG_AT(
            databaseLog(), 1, __LINE__, "lock",
            "error in sem_wait error: ", std::strerror(hold.error));
    }
}

} // namespace

int waitFor(sem_t* semaphore) {
    while (sem_wait(semaphore) == -1) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

DatabaseLock::Result DatabaseLock::openSemaphore() {
    while (true) {
        const std::uint32_t before = m_record != nullptr ? m_record->count.load() : 0;
        sem_t* const semaphore = sem_open(DatabaseSemaphoreName, 0);
        if (semaphore == SEM_FAILED) {
            return errno == ENOENT ? Result::TryOther : Result::Failed;
        }
        // The count goes up before a semaphore is made: it is that one's number, or an older one's.
        if (m_record == nullptr || m_record->count == before) {
            m_semaphore = semaphore;
            m_number = before;
            return Result::Done;
        }
        sem_close(semaphore);
    }
}

// While it is being made it is noted as one that nobody may hold: so it is when this process dies,
// or fails for want of memory with the semaphore already there.
DatabaseLock::Result DatabaseLock::makeSemaphore() {
    const bool recorded = m_record != nullptr && takeMutex();
    // Asked again: the number of one that is there must not change.
    if (recorded && openSemaphore() != Result::TryOther) {
        give();
        return Result::TryOther;
    }
    const std::uint32_t number = recorded ? m_record->count + 1 : 0;
    if (recorded) {
        m_record->orphans |= bitOf(number);
        m_record->count = number;
    }
    sem_t* const semaphore = sem_open(DatabaseSemaphoreName, O_CREAT | O_EXCL, 0666, 0);
    const int error = errno;
    if (semaphore != SEM_FAILED) {
        m_semaphore = semaphore;
        m_number = number;
        held.semaphore = true;
    }
    if (recorded) {
        finishMaking(number, !held.semaphore && error != EEXIST);
    }
    if (held.semaphore) {
        return Result::Done;
    }
    give();
    errno = error;
    return error == EEXIST ? Result::TryOther : Result::Failed;
}

void DatabaseLock::finishMaking(std::uint32_t number, bool leftBehind) {
    if (m_semaphore != nullptr) {
        store(m_record->semaphore, number);
        store(m_record->progress, Progress::Holding);
    }
    if (!leftBehind) {
        m_record->orphans &= ~bitOf(number);
    }
}

void DatabaseLock::take() {
    held = {};
    const bool recorded = m_record != nullptr && takeMutex();
    if (m_semaphore != nullptr && recorded) {
        takeSemaphore();
    } else if (m_semaphore != nullptr) {
        waitAlone(m_semaphore);
    }
}

void DatabaseLock::give() {
    const Hold hold = std::exchange(held, {});
    sem_t* const semaphore = hold.semaphore ? m_semaphore : nullptr;
    RunRecord* const record = hold.mutex ? m_record : nullptr;
    if (semaphore != nullptr && record != nullptr) {
        store(record->progress, Progress::Moving);
        post(semaphore);
        store(record->progress, Progress::Away);
    } else if (semaphore != nullptr) {
        post(semaphore);
    }
    if (record != nullptr) {
        pthread_mutex_unlock(&record->mutex);
    }
    report(hold);
}

bool DatabaseLock::takeMutex() {
    const int result = pthread_mutex_lock(&m_record->mutex);
    held.tookOver = result == EOWNERDEAD;
    held.mutex = result == 0 || held.tookOver;
    if (held.tookOver) {
        succeed();
        pthread_mutex_consistent(&m_record->mutex);
    }
    return held.mutex;
}

// A semaphore that the dead owner held is this process's now, if it is the same one. Otherwise it
// is noted for those who have it, as is one that was just being taken or posted.
void DatabaseLock::succeed() {
    const Progress progress = m_record->progress;
    const std::uint32_t number = m_record->semaphore;
    const bool same = m_semaphore != nullptr && number == m_number;
    if (progress == Progress::Away || (progress == Progress::Holding && same)) {
        return;
    }
    m_record->orphans |= bitOf(number);
    store(m_record->progress, Progress::Away);
}

void DatabaseLock::takeSemaphore() {
    held.semaphore = load(m_record->progress) == Progress::Holding; // left to this process
    if (!held.semaphore && !tryTake()) {
        await();
    }
}

// This process is away from the semaphore while it sleeps: it may die in that time, but not be
// taken for a holder.
void DatabaseLock::await() {
    const auto begin = std::chrono::steady_clock::now();
    const bool orphan = (m_record->orphans & bitOf(m_number)) != 0;
    while (held.error == 0 && !tryTake()) {
        std::this_thread::sleep_for(WaitingStep);
        if (orphan && std::chrono::steady_clock::now() - begin > OrphanPatience) {
            adopt();
            return;
        }
    }
}

bool DatabaseLock::tryTake() {
    store(m_record->semaphore, m_number);
    store(m_record->progress, Progress::Moving);
    if (sem_trywait(m_semaphore) == 0) {
        adopt();
        return true;
    }
    const int error = errno;
    store(m_record->progress, Progress::Away);
    held.error = error == EAGAIN || error == EINTR ? 0 : error;
    return false;
}

void DatabaseLock::adopt() {
    store(m_record->progress, Progress::Holding);
    held.semaphore = true;
    if (const std::uint32_t bit = bitOf(m_number); (load(m_record->orphans) & bit) != 0) {
        m_record->orphans &= ~bit;
    }
}

} // namespace os::bsp::dtcm
