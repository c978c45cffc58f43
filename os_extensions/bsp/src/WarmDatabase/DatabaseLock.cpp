#include "DatabaseLock.hpp"

#include "DatabaseLog.hpp"
#include "Layout.hpp"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace os::bsp::dtcm {
namespace {

using namespace std::chrono_literals;

// Only a process that knows nothing of the record is waited for in these steps.
constexpr auto WaitingStep = 1ms;

// How often a semaphore that may be held by nobody is found taken, a second long, before it is
// adopted: somebody may hold it after all. Time alone would pass while this process is stopped.
constexpr int OrphanTries = 1000;

// Where the C library keeps the semaphore.
constexpr const char* SemaphoreFile = "/dev/shm/sem.DtcmDbSharedSem";

// Tells the semaphore that has the name now from every other one that anybody still uses; 0 when
// there is none.
std::uint32_t currentNumber() {
    struct stat status {};
    return stat(SemaphoreFile, &status) == 0 ? static_cast<std::uint32_t>(status.st_ino) : 0;
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

enum class Call : std::uint8_t { MutexLock, SemOpen, SemWait };

constexpr const char* CallNames[] = {"pthread_mutex_lock", "sem_open", "sem_wait"};

// What this thread has to give back, and to report after that.
struct Hold {
    bool mutex = false;
    bool semaphore = false;
    bool tookOver = false; // from a holder that has died
    Call failed{};         // with this error, if any
    int error = 0;
};

[[gnu::tls_model("initial-exec")]] constinit thread_local Hold held;

void noteFailure(Call call, int error) {
    held.failed = call;
    held.error = error;
}

void waitAlone(sem_t* semaphore) {
    const int error = waitFor(semaphore);
    held.semaphore = error == 0;
    if (error != 0) {
        noteFailure(Call::SemWait, error);
    }
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
            databaseLog(), 1, __LINE__, "lock", "error in ",
            CallNames[static_cast<std::size_t>(hold.failed)],
            " error: ", std::strerror(hold.error));
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

// The name may be removed, and made anew, at any moment.
DatabaseLock::Result DatabaseLock::openSemaphore() {
    sem_t* semaphore = nullptr;
    int error = 0;
    do {
        if (semaphore = std::exchange(m_semaphore, nullptr); semaphore != nullptr) {
            sem_close(semaphore);
        }
        m_number = currentNumber();
        semaphore = sem_open(DatabaseSemaphoreName, 0);
        error = errno;
        m_semaphore = semaphore != SEM_FAILED ? semaphore : nullptr;
    } while (currentNumber() != m_number);
    errno = error;
    return m_semaphore != nullptr ? Result::Done
           : error == ENOENT      ? Result::TryOther
                                  : Result::Failed;
}

// While it is being made the record has none, which nobody may hold: so it stays when this process
// dies, or fails for want of memory with the semaphore already there.
DatabaseLock::Result DatabaseLock::makeSemaphore() {
    held = {};
    const bool recorded = m_record != nullptr && takeMutex();
    const Progress left = recorded ? load(m_record->progress) : Progress::Away;
    const std::uint32_t leftNumber = recorded ? load(m_record->semaphore) : 0;
    if (recorded) {
        note(0, Progress::Moving);
    }
    sem_t* const semaphore = sem_open(DatabaseSemaphoreName, O_CREAT | O_EXCL, 0666, 0);
    const int error = errno;
    held.semaphore = semaphore != SEM_FAILED;
    if (held.semaphore) {
        m_semaphore = semaphore;
        m_number = currentNumber();
    }
    if (recorded && held.semaphore) {
        note(m_number, Progress::Holding);
    } else if (recorded && (error == EEXIST || currentNumber() == 0)) {
        note(leftNumber, left); // nothing was made
    }
    if (held.semaphore) {
        return Result::Done;
    }
    give();
    errno = error;
    return error == EEXIST ? Result::TryOther : Result::Failed;
}

void DatabaseLock::take() {
    held = {};
    const bool recorded = m_record != nullptr && takeMutex();
    if (recorded && load(m_record->semaphore) != m_number) {
        changeSemaphore();
    }
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

bool DatabaseLock::holdsSemaphore() noexcept {
    return held.semaphore;
}

void DatabaseLock::forgetHold() noexcept {
    held = {};
}

bool DatabaseLock::takeMutex() {
    const int result = pthread_mutex_lock(&m_record->mutex);
    held.tookOver = result == EOWNERDEAD;
    held.mutex = result == 0 || held.tookOver;
    if (held.tookOver) {
        pthread_mutex_consistent(&m_record->mutex);
    } else if (!held.mutex) {
        noteFailure(Call::MutexLock, result);
    }
    return held.mutex;
}

// Whoever dies on the way leaves a semaphore that nobody may hold.
void DatabaseLock::note(std::uint32_t number, Progress progress) {
    store(m_record->progress, Progress::Moving);
    store(m_record->semaphore, number);
    store(m_record->progress, progress);
}

// From one that nobody is to use any more to the one that has the name. None of those who use the
// record has had that one, if it is not the record's, but for a maker that died.
void DatabaseLock::changeSemaphore() {
    if (openSemaphore() == Result::Failed) {
        noteFailure(Call::SemOpen, errno);
    }
    const std::uint32_t number = load(m_record->semaphore);
    if (m_semaphore != nullptr && m_number != number) {
        note(m_number, number == 0 ? load(m_record->progress) : Progress::Away);
    }
    m_number = load(m_record->semaphore);
}

void DatabaseLock::takeSemaphore() {
    const Progress left = load(m_record->progress); // by a holder that has died, if not Away
    held.semaphore = left == Progress::Holding;
    if (!held.semaphore && !tryTake(left)) {
        await(left);
    }
}

// What others have left stands while this process sleeps: it may die in that time, but not be taken
// for a holder.
void DatabaseLock::await(Progress left) {
    for (int tries = 1; held.error == 0; ++tries) {
        if (left == Progress::Moving && tries == OrphanTries) {
            adopt();
            return;
        }
        std::this_thread::sleep_for(WaitingStep);
        if (tryTake(left)) {
            return;
        }
    }
}

bool DatabaseLock::tryTake(Progress otherwise) {
    store(m_record->progress, Progress::Moving);
    if (sem_trywait(m_semaphore) == 0) {
        adopt();
        return true;
    }
    const int error = errno;
    store(m_record->progress, otherwise);
    if (error != EAGAIN && error != EINTR) {
        noteFailure(Call::SemWait, error);
    }
    return false;
}

void DatabaseLock::adopt() {
    store(m_record->progress, Progress::Holding);
    held.semaphore = true;
}

} // namespace os::bsp::dtcm
