#pragma once

#include "RunRecord.hpp"

#include <atomic>
#include <cstdint>

#include <semaphore.h>

namespace os::bsp::dtcm {

/// The lock that every process takes before it looks for a block: first the run record's mutex,
/// then the database semaphore that has the name now. If a holder dies, the next process that waits
/// takes the lock over. A holder that uses only the semaphore is waited for as long as both use the
/// same semaphore.
///
/// Set up once, before more than one thread uses it. Without a record, the semaphore alone is the
/// lock; without a semaphore, the mutex alone. While the lock is held, nothing is logged, and
/// nothing allocated except to open or create a semaphore. tests/model/DatabaseLock.pml is this
/// lock as a model: change both together.
class DatabaseLock {
public:
    enum class Result { Done, TryOther, Failed }; // Failed: with errno set

    void useRecord(RunRecord* record) noexcept { m_record = record; }
    RunRecord* record() const noexcept { return m_record; }

    /// TryOther if there is none.
    Result openSemaphore();

    /// Notes a cold restart as pending, and creates the semaphore. Done if this process has created
    /// it; this thread then holds the lock. TryOther if it exists already.
    Result makeSemaphore();

    /// Both in the same thread, and not re-entrant. give() reports what has failed since take(),
    /// once the lock is free. It does nothing without take(), or in a forked child.
    void take();
    void give();

    /// The number of the semaphore that this process uses, from fileNumber(); 0 without one.
    std::uint32_t number() const noexcept { return m_number; }

private:
    // inline: every lookup runs through them, and usually finds the lock free.
    inline bool takeMutex();
    inline void takeSemaphore();
    inline bool tryTake(Progress left);
    int createRecordedSemaphore();
    int createSemaphore();
    void waitAlone();
    void changeSemaphore();
    void note(std::uint32_t number, Progress progress);

    RunRecord* m_record = nullptr;
    std::atomic<sem_t*> m_semaphore = nullptr;
    std::uint32_t m_number = 0; // of the semaphore; if opening failed, the record's at that time
    int m_openError = 0;        // of the last opening
    std::atomic<bool> m_mutexFailed = false;
};

/// Repeats the wait if a signal interrupts it. Returns 0, or the errno value of the wait.
int waitFor(sem_t* semaphore);

/// The process's one instance.
inline DatabaseLock& databaseLock() {
    static constinit DatabaseLock lock;
    return lock;
}

} // namespace os::bsp::dtcm
