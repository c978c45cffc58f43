/// What the processes of one system run tell each other, so that nobody's death stops the others:
/// the shared object "/DtcmRun". It is never removed, but goes with the system run.
#pragma once

#include <atomic>
#include <cstdint>

#include <pthread.h>

namespace os::bsp::dtcm {

inline constexpr const char* RunRecordName = "/DtcmRun";

/// How far the owner of the record's mutex has got with the database semaphore. Whoever succeeds it
/// when it dies goes by that: each value is true from the instruction that stores it to the next
/// one that stores another.
enum class Progress : std::uint32_t {
    Away,   ///< does not hold it: there is nothing to take over
    Moving, ///< is just taking or posting it: nobody may hold it now, or somebody else
    Holding ///< holds it: its successor does
};

/// What has become of the cold restart that may have begun this run.
enum class ColdRestart : std::uint32_t {
    Unasked, ///< nobody has asked for the cause of the last restart
    Due,     ///< somebody was about to: whoever gets the lock and can, sees to it
    Handled  ///< the area was cleared, or there was no cold restart
};

/// All zeroes but for the mutex when it is made.
struct RunRecord {
    /// Robust. Everyone takes it first, so processes exclude each other also when they have
    /// different semaphores: one opened it, its maker removed the name, another made it anew.
    pthread_mutex_t mutex;

    // Written by the owner of the mutex only.
    std::atomic<Progress> progress;
    std::atomic<std::uint32_t> semaphore; ///< the number of the semaphore that progress is about
    std::atomic<std::uint32_t> count;     ///< of semaphores made in this run: the last one's number
    std::atomic<std::uint32_t> orphans;   ///< bit n mod 32: semaphore n may be held by nobody

    /// Written by the owner of the mutex, but for Due: that comes before a semaphore is made.
    std::atomic<ColdRestart> coldRestart;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

/// Null, with errno set, when it can be neither opened nor made. Mapped for the rest of the
/// process.
RunRecord* openRunRecord();

} // namespace os::bsp::dtcm
