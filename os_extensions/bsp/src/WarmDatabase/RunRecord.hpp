/// What the processes of one system run share, so that nobody's death stops the others: the shared
/// object "/DtcmRun". Nobody unlinks it; it goes with the system run.
#pragma once

#include <atomic>
#include <cstdint>

#include <pthread.h>

namespace os::bsp::dtcm {

inline constexpr const char* RunRecordName = "/DtcmRun";

/// How far the owner of the record's mutex has got with the database semaphore. If it dies, its
/// successor acts on this value, which is true from the instruction that stores it to the next
/// one that stores another.
enum class Progress : std::uint32_t {
    Away,   ///< does not hold the semaphore
    Moving, ///< is about to take, post or make it: nobody may hold it now
    Holding ///< holds it: its successor takes it over
};

/// What has become of the cold restart that may have begun this run.
enum class ColdRestart : std::uint32_t {
    Unasked, ///< nobody has asked for the cause of the last restart
    Pending, ///< whoever gets the lock and has the unit's area clears that if the cause is cold
    Handled  ///< the area was cleared, or there was no cold restart
};

/// All zeroes but for the mutex when it is made. The owner of the mutex writes the rest.
struct RunRecord {
    /// Robust. Everyone takes it first, so processes exclude each other also without a semaphore.
    pthread_mutex_t mutex;
    std::atomic<Progress> progress;
    /// The number of the semaphore that everyone uses. 0 while one is being made, and while the
    /// one that has the name was made by a process without the record.
    std::atomic<std::uint32_t> semaphore;
    std::atomic<ColdRestart> coldRestart;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

} // namespace os::bsp::dtcm
