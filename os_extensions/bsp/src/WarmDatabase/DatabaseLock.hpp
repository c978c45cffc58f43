#pragma once

#include "RunRecord.hpp"

#include <semaphore.h>

namespace os::bsp::dtcm {

/// The lock that every process takes before it looks for a block: the run record's mutex, then the
/// database semaphore. A holder that dies is succeeded by whoever takes the lock next. A process
/// that knows only the semaphore is waited for as long as it lives.
///
/// Set up once, before it is used by more than one thread. Without a record it is the semaphore
/// alone, without a semaphore the mutex alone. Nothing is logged or allocated while it is held, but
/// by the making of the semaphore.
class DatabaseLock {
public:
    enum class Result { Done, TryOther, Failed }; // Failed: with errno set

    void useRecord(RunRecord* record) noexcept { m_record = record; }
    RunRecord* record() const noexcept { return m_record; }

    /// TryOther when there is none.
    Result openSemaphore();

    /// Done when this process has made it, and this thread has taken the lock. TryOther when there
    /// is one.
    Result makeSemaphore();

    /// In the same thread, and not re-entrant. What went wrong meanwhile is logged by give(), once
    /// the lock is free.
    void take();
    void give();

private:
    // Inline: the path of every lookup, which finds the lock free.
    inline bool takeMutex();
    void succeed();
    inline void takeSemaphore();
    inline bool tryTake();
    void await();
    inline void adopt();
    void finishMaking(std::uint32_t number, bool leftBehind);

    RunRecord* m_record = nullptr;
    sem_t* m_semaphore = nullptr;
    std::uint32_t m_number = 0; // of the semaphore
};

/// Waits through signals. 0, or the number of the error that the wait ended with.
int waitFor(sem_t* semaphore);

/// The process's one.
inline DatabaseLock& databaseLock() {
    static constinit DatabaseLock lock;
    return lock;
}

} // namespace os::bsp::dtcm
