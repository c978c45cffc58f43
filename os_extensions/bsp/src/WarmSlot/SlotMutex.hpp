#pragma once

#include <pthread.h>

namespace os::bsp {

/// Whether its kind is another one than a new mutex has, as noise does: locking it may end the
/// process, or fail.
bool isDamaged(const pthread_mutex_t& mutex);

/// The caller holds the database lock.
void reinitialise(pthread_mutex_t& mutex);

/// Logs that it was done.
void reportRepair();

/// Holds the mutex of the slot's object, which lies in the warm area and is shared by all
/// processes.
///
/// It is an ordinary mutex: an owner that dies, or a restart at the wrong moment, leaves it taken.
/// One that is waited for, and of which no byte has changed for a second, has lost its owner. It is
/// reinitialised then, with a level-2 message. The mistake, with an owner that was only slow, is a
/// small one: two stores of one word change places.
class SlotLock {
public:
    /// Throws std::system_error when the mutex cannot be locked.
    explicit SlotLock(pthread_mutex_t& mutex);
    ~SlotLock() { pthread_mutex_unlock(&m_mutex); }
    SlotLock(const SlotLock&) = delete;
    SlotLock& operator=(const SlotLock&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

} // namespace os::bsp
