#pragma once

#include "RunRecord.hpp"

#include <atomic>
#include <cstdint>

#include <semaphore.h>

namespace os::bsp::dtcm {

/// The lock that every process takes before it looks for a block: the run record's mutex, then the
/// database semaphore that has the name now. If a holder dies, the next process that takes the lock
/// takes it over. A process that uses only the semaphore is waited for as long as both use the same
/// one.
///
/// Set up once, before more than one thread uses it. Without a record the lock is the semaphore
/// alone, without a semaphore the mutex alone. While it is held, nothing is logged or allocated,
/// except that a semaphore is opened or made. tests/model/DatabaseLock.pml is this lock as a model:
/// change both together.
class DatabaseLock {
public:
    enum class Result { Done, TryOther, Failed }; // Failed: with errno set

    void useRecord(RunRecord* record) noexcept { m_record = record; }
    RunRecord* record() const noexcept { return m_record; }

    /// TryOther when there is none.
    Result openSemaphore();

    /// Notes a cold restart as pending, and creates the semaphore. Done when
    /// this process has created it, and this thread holds the lock. TryOther when there is one.
    Result makeSemaphore();

    /// Notes a cold restart as pending if there is no semaphore, for a process that fails to make
    /// one: its first operation then handles the restart.
    void noteRestart();

    /// In the same thread, and not re-entrant. Once the lock is free, give() reports what failed
    /// in the meantime. Without take(), or in a forked child, give() does nothing.
    void take();
    void give();

    /// The file of the semaphore that this process uses, as fileNumber() counts; 0 without one.
    std::uint32_t number() const noexcept { return m_number; }

private:
    // Inline: the path of every lookup, which finds the lock free.
    inline bool takeMutex();
    inline void takeSemaphore();
    inline bool tryTake(Progress left);
    int createRecordedSemaphore();
    int createSemaphore();
    void notePending();
    void waitAlone();
    void changeSemaphore();
    void note(std::uint32_t number, Progress progress);

    RunRecord* m_record = nullptr;
    std::atomic<sem_t*> m_semaphore = nullptr;
    std::uint32_t m_number = 0; // of the semaphore; without one, the record's when opening failed
    int m_openError = 0;        // of the last opening
    std::atomic<bool> m_mutexFailed = false;
};

/// Waits through signals. 0, or the errno value with which the wait failed.
int waitFor(sem_t* semaphore);

/// The process's one.
inline DatabaseLock& databaseLock() {
    static constinit DatabaseLock lock;
    return lock;
}

} // namespace os::bsp::dtcm
