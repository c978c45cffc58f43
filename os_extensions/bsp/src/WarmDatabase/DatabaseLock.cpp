#include "DatabaseLock.hpp"

#include "FileDescriptor.hpp"
#include "Layout.hpp"
#include "Log.hpp"
#include "SharedMemory.hpp"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include <fcntl.h>

namespace os::bsp::dtcm {
namespace {

using namespace std::chrono_literals;

// Poll interval while a process that uses only the semaphore holds it.
constexpr auto WaitingStep = 1ms;

// A semaphore that possibly nobody holds is adopted after so many failed tries, one step apart.
// Tries and not time, because time also passes while this process is stopped.
constexpr int OrphanTries = 1000;

// Only the owner of the record's mutex reads and writes it, and the mutex orders the owners.
template <class Value>
Value load(const std::atomic<Value>& place) {
    return place.load(std::memory_order_relaxed);
}

// Read by others only after this process has died, when all its earlier stores are visible; so only
// the compiler must not reorder them.
template <class Value>
void store(std::atomic<Value>& place, Value value) {
    std::atomic_signal_fence(std::memory_order_release);
    place.store(value, std::memory_order_relaxed);
}

enum Call : std::uint8_t { MutexLock, SemOpen, SemWait };

constexpr const char* CallNames[] = {"pthread_mutex_lock", "sem_open", "sem_wait"};

// Which locks this thread holds, and what to report once they are released.
struct Hold {
    bool mutex = false;
    bool tookOver = false;
    sem_t* semaphore = nullptr;
    int errors[std::size(CallNames)] = {};
};

constinit thread_local Hold held;

// Held while a semaphore is opened, created or closed, and by a thread that forks. Otherwise a
// child could inherit the C library's lock of its semaphore list in the locked state, and nobody
// would unlock it there.
constinit std::mutex handles;

[[maybe_unused]] const int forks = pthread_atfork(
    [] { handles.lock(); }, [] { handles.unlock(); },
    [] {
        handles.unlock();
        held = {}; // the thread in the parent holds these locks
    });

bool isTaken(sem_t* semaphore) {
    int value = 0;
    return sem_getvalue(semaphore, &value) == 0 && value == 0;
}

// Never raises the value above 1: a holder that was believed dead may have posted after all.
void post(sem_t* semaphore) {
    if (isTaken(semaphore)) {
        sem_post(semaphore);
    }
}

[[gnu::noinline]] void waitAStep() {
    // If the thread were cancelled here, its destructors would wait for the mutex that it holds.
    const posix::NoCancellation whileHoldingTheMutex;
    std::this_thread::sleep_for(WaitingStep);
}

void report(const Hold& hold) {
    if (hold.tookOver) {
        BSP_LOG_AT(
            databaseLog(), 2, __LINE__, "lock",
            "Warning: a process died with the database lock, it was taken over");
    }
    for (std::size_t call = 0; call < std::size(CallNames); ++call) {
        if (const int error = hold.errors[call]; error != 0) {
            BSP_LOG_AT(
                databaseLog(), 1, __LINE__, "lock", "error in ", CallNames[call],
                " error: ", std::strerror(error));
        }
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

// Another process may unlink the semaphore and create a new one of this name at any moment, so open
// it until the number before and after is the same.
DatabaseLock::Result DatabaseLock::openSemaphore() {
    const std::lock_guard guard(handles);
    sem_t* semaphore = nullptr;
    int error = 0;
    do {
        if (semaphore != nullptr) {
            sem_close(semaphore);
        }
        m_number = fileNumber(DatabaseSemaphoreFile);
        semaphore = sem_open(DatabaseSemaphoreName, 0);
        error = semaphore != SEM_FAILED ? 0 : errno;
    } while (fileNumber(DatabaseSemaphoreFile) != m_number || (m_number == 0 && error == 0));
    sem_t* const old = m_semaphore.exchange(semaphore);
    if (old != nullptr && !m_mutexFailed) { // else a thread without the mutex may use old
        sem_close(old);
    }
    m_openError = error;
    errno = error;
    return error == 0 ? Result::Done : error == ENOENT ? Result::TryOther : Result::Failed;
}

DatabaseLock::Result DatabaseLock::makeSemaphore() {
    held = {};
    const bool recorded = m_record != nullptr && takeMutex();
    const int error = recorded ? createRecordedSemaphore() : createSemaphore();
    if (error == 0) {
        return Result::Done;
    }
    give();
    errno = error;
    return error == EEXIST ? Result::TryOther : Result::Failed;
}

// While this process owns the mutex, only a process without the record can create a semaphore, too.
// If this process creates none, it restores the record. If it creates one but gets no memory for
// the handle, the record stays as a death at this point would leave it.
int DatabaseLock::createRecordedSemaphore() {
    if (fileNumber(DatabaseSemaphoreFile) != 0) {
        return EEXIST;
    }
    const Progress progress = load(m_record->progress);
    const std::uint32_t number = load(m_record->semaphore);
    const ColdRestart coldRestart = load(m_record->coldRestart);
    note(0, Progress::Moving);
    if (coldRestart == ColdRestart::Unasked) {
        store(m_record->coldRestart, ColdRestart::Pending);
    }
    const int error = createSemaphore();
    if (error == 0) {
        note(m_number, Progress::Holding);
    } else if (error == EEXIST || m_number == 0) {
        store(m_record->coldRestart, coldRestart);
        note(number, progress);
    }
    return error;
}

int DatabaseLock::createSemaphore() {
    const std::lock_guard guard(handles);
    sem_t* const semaphore = sem_open(DatabaseSemaphoreName, O_CREAT | O_EXCL, 0666, 0);
    const int error = semaphore != SEM_FAILED ? 0 : errno;
    held.semaphore = semaphore;
    m_semaphore = semaphore;
    m_number = fileNumber(DatabaseSemaphoreFile);
    return error;
}

void DatabaseLock::take() {
    held = {};
    if (m_record == nullptr || !takeMutex()) {
        waitAlone();
        return;
    }
    if (load(m_record->semaphore) != m_number) {
        changeSemaphore();
    }
    if (load(m_semaphore) != nullptr) {
        takeSemaphore();
    }
}

void DatabaseLock::give() {
    const Hold hold = std::exchange(held, {});
    if (hold.semaphore != nullptr && hold.mutex) {
        store(m_record->progress, Progress::Moving);
        post(hold.semaphore);
        store(m_record->progress, Progress::Away);
    } else if (hold.semaphore != nullptr) {
        post(hold.semaphore);
    }
    if (hold.mutex) {
        pthread_mutex_unlock(&m_record->mutex);
    }
    report(hold);
}

bool DatabaseLock::takeMutex() {
    const int result = pthread_mutex_lock(&m_record->mutex);
    held.tookOver = result == EOWNERDEAD;
    held.mutex = result == 0 || held.tookOver;
    if (held.tookOver) {
        pthread_mutex_consistent(&m_record->mutex);
    } else if (!held.mutex) {
        held.errors[MutexLock] = result;
        m_mutexFailed = true;
    }
    return held.mutex;
}

void DatabaseLock::waitAlone() {
    sem_t* const semaphore = m_semaphore;
    if (semaphore != nullptr) {
        held.errors[SemWait] = waitFor(semaphore);
        held.semaphore = held.errors[SemWait] == 0 ? semaphore : nullptr;
    }
}

// A death between these stores leaves Moving: possibly nobody holds the semaphore.
void DatabaseLock::note(std::uint32_t number, Progress progress) {
    store(m_record->progress, Progress::Moving);
    store(m_record->semaphore, number);
    store(m_record->progress, progress);
}

// Changes to the semaphore that has the name now. If the record names an older one, a process
// without the record has created this one.
void DatabaseLock::changeSemaphore() {
    const int lastError = m_openError;
    if (openSemaphore() == Result::Failed && errno != lastError) {
        held.errors[SemOpen] = errno;
    }
    const std::uint32_t number = load(m_record->semaphore);
    if (load(m_semaphore) == nullptr) {
        m_number = number; // the mutex alone is the lock until the record changes
    } else if (number != 0 && number != m_number) {
        note(0, Progress::Away);
    }
}

// Until this process has the semaphore, the record keeps what a dead process left there, because
// this process may die, too, while it waits.
void DatabaseLock::takeSemaphore() {
    const Progress left = load(m_record->progress);
    for (int tries = 1; left != Progress::Holding && !tryTake(left); ++tries) {
        if (held.errors[SemWait] != 0) {
            return;
        }
        if (left == Progress::Moving && tries == OrphanTries) {
            break;
        }
        waitAStep();
    }
    store(m_record->semaphore, m_number);
    store(m_record->progress, Progress::Holding);
    held.semaphore = load(m_semaphore);
}

// If the record does not name the semaphore, its creator has no record, or has died. If such a
// semaphore is free, its creator has no record, and cleared the area before it posted.
bool DatabaseLock::tryTake(Progress left) {
    if (load(m_record->semaphore) != m_number) {
        if (isTaken(load(m_semaphore))) {
            return false;
        }
        store(m_record->coldRestart, ColdRestart::Handled);
    }
    store(m_record->progress, Progress::Moving);
    if (sem_trywait(load(m_semaphore)) == 0) {
        return true;
    }
    const int error = errno;
    store(m_record->progress, left);
    held.errors[SemWait] = error == EAGAIN || error == EINTR ? 0 : error;
    return false;
}

} // namespace os::bsp::dtcm
