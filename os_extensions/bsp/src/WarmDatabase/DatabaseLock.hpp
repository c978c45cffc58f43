#pragma once

#include "RunRecord.hpp"

#include <semaphore.h>

namespace os::bsp::dtcm {

/// The lock that every process takes before it looks for a block: the run record's mutex, then the
/// database semaphore that has the name now. A holder that dies is succeeded by whoever takes the
/// lock next. A process that knows only the semaphore is waited for as long as it lives, until the
/// name is made anew.
///
/// Set up once, before it is used by more than one thread. Without a record it is the semaphore
/// alone, without a semaphore the mutex alone. Nothing is logged or allocated while it is held, but
/// by the opening or making of a semaphore.
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
    /// the lock is free. A second give() does nothing.
    void take();
    void give();

    /// Whether this thread has taken the semaphore, too.
    static bool holdsSemaphore() noexcept;

    /// In a forked child: what its parent's thread has taken is not its own to give back.
    static void forgetHold() noexcept;

private:
    // Inline: the path of every lookup, which finds the lock free.
    inline bool takeMutex();
    inline void takeSemaphore();
    inline bool tryTake(Progress otherwise);
    void await(Progress left);
    void adopt();
    void changeSemaphore();
    void note(std::uint32_t number, Progress progress);

    RunRecord* m_record = nullptr;
    sem_t* m_semaphore = nullptr;
    std::uint32_t m_number = 0; // of the semaphore, or of the one that could not be opened
};

/// Waits through signals. 0, or the number of the error that the wait ended with.
int waitFor(sem_t* semaphore);

/// The process's one.
inline DatabaseLock& databaseLock() {
    static constinit DatabaseLock lock;
    return lock;
}

} // namespace os::bsp::dtcm
