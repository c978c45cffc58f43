#pragma once

#include "RunRecord.hpp"

#include <semaphore.h>

namespace os::bsp::dtcm {

/// The lock that every process takes before it looks for a block: the run record's mutex, then the
/// database semaphore. A holder that dies is succeeded by whoever takes the lock next. A process
/// that knows only the semaphore is waited for as long as it lives.
///
/// Set up once, before it is used by more than one thread. Without a record it is the semaphore
/// alone, without a semaphore the mutex alone. No operation logs or allocates, but for the two
/// that open and make the semaphore.
class DatabaseLock {
public:
    /// What is to be given back, and reported after that.
    struct Hold {
        bool mutex = false;
        bool semaphore = false;
        bool tookOver = false; // from a holder that has died
        int error = 0;         // of a semaphore that cannot be waited for
    };

    enum class Result { Done, TryOther, Failed }; // Failed: with errno set

    void useRecord(RunRecord* record) noexcept { m_record = record; }
    RunRecord* record() const noexcept { return m_record; }
    sem_t* semaphore() const noexcept { return m_semaphore; }

    /// TryOther when there is none.
    Result openSemaphore();

    /// Done when this process has made it, and `hold` is the lock. TryOther when there is one.
    Result makeSemaphore(Hold& hold);

    void take(Hold& hold);
    void give(const Hold& hold);

private:
    // Inline: what takes a lock that is free, as every look for a block does.
    inline bool takeMutex(Hold& hold);
    void succeed();
    inline void takeSemaphore(Hold& hold);
    inline bool tryTake(Hold& hold);
    void await(Hold& hold);
    inline void adopt(Hold& hold);
    void finishMaking(std::uint32_t number, bool leftBehind);

    RunRecord* m_record = nullptr;
    sem_t* m_semaphore = nullptr;
    std::uint32_t m_number = 0; // of the semaphore
};

/// Waits through signals. 0, or the number of the error that the wait ended with.
int waitFor(sem_t* semaphore);

/// What `hold` has met with; for when it has been given back.
void report(const DatabaseLock::Hold& hold);

/// The process's one.
inline DatabaseLock& databaseLock() {
    static constinit DatabaseLock lock;
    return lock;
}

} // namespace os::bsp::dtcm
