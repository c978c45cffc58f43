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
    Moving, ///< is just taking, posting or making it: nobody may hold it now, or somebody else
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
    /// Robust. Everyone takes it first, so processes exclude each other also without a semaphore.
    pthread_mutex_t mutex;

    // Written by the owner of the mutex only.
    std::atomic<Progress> progress;
    /// The number of the one semaphore that everyone uses, and progress is about; 0 while one is
    /// being made. Whoever has another one takes the one that the name has now.
    std::atomic<std::uint32_t> semaphore;

    /// Written by the owner of the mutex, but for Due: that comes before a semaphore is made.
    std::atomic<ColdRestart> coldRestart;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

/// Null, with errno set, when it can be neither opened nor made. Mapped for the rest of the
/// process.
RunRecord* openRunRecord();

} // namespace os::bsp::dtcm
