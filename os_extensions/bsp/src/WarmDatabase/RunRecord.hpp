/// What the processes of one system run share, so that no process's death stops the others: the
/// shared object "/DtcmRun". Nobody unlinks it; it exists until the system run ends.
#pragma once

#include <atomic>
#include <cstdint>

#include <pthread.h>

namespace os::bsp::dtcm {

inline constexpr const char* RunRecordName = "/DtcmRun";

/// How far the owner of the record's mutex has got with the database semaphore. If the owner dies,
/// its successor acts on this value, so the value is true at every instruction.
enum class Progress : std::uint32_t {
    Away,   ///< does not hold the semaphore
    Moving, ///< is about to take, post or create it: possibly nobody holds it
    Holding ///< holds it: its successor takes it over
};

/// What has become of the cold restart that may have begun this run.
enum class ColdRestart : std::uint32_t {
    Unasked, ///< nobody has asked for the cause of the last restart
    Pending, ///< the next owner of the lock that has the unit's area must handle it
    Handled  ///< the area was cleared, or there was no cold restart
};

/// A new record is all zeroes except for the mutex. The owner of the mutex writes the rest.
struct RunRecord {
    /// Robust. Every process takes it first, so processes exclude each other also without a
    /// semaphore.
    pthread_mutex_t mutex;
    std::atomic<Progress> progress;
    /// The number of the semaphore that every process uses. 0 while a process creates one, and
    /// while the one that has the name was created by a process without the record.
    std::atomic<std::uint32_t> semaphore;
    std::atomic<ColdRestart> coldRestart;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

} // namespace os::bsp::dtcm
