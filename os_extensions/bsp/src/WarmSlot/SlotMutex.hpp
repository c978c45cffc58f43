#pragma once

#include <pthread.h>

namespace os::bsp {

/// Whether the kind of the mutex differs from that of a new one, as in noise: locking it may fail,
/// or end the process.
bool isDamaged(const pthread_mutex_t& mutex);

/// The caller holds the database lock.
void reinitialise(pthread_mutex_t& mutex);

/// Logs that the mutex was reinitialised.
void reportRepair();

/// Holds the mutex of the slot's object in the warm area, which all processes share.
///
/// It is an ordinary mutex: if its owner dies, or a restart comes while it is locked, it stays
/// locked. If no byte of it changes for a second while this process waits for it, its owner is
/// considered dead, and the mutex is reinitialised, with a level-2 message. If the owner was only
/// slow, little is lost: two stores of one word change places.
class SlotLock {
public:
    /// Throws std::system_error if the mutex cannot be locked.
    explicit SlotLock(pthread_mutex_t& mutex);
    ~SlotLock() { pthread_mutex_unlock(&m_mutex); }
    SlotLock(const SlotLock&) = delete;
    SlotLock& operator=(const SlotLock&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

} // namespace os::bsp
