#pragma once

#include <span>

#include <pthread.h>

namespace os::bsp {

/// Initialises mutexes in shared memory for use between processes; what the memory held before does
/// not matter. A robust mutex tells its next owner when the last one has died, an ordinary one
/// stays locked. 0, or the error number.
inline int initialiseProcessShared(
    std::span<pthread_mutex_t> mutexes, int robustness = PTHREAD_MUTEX_STALLED) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, robustness);
    int error = 0;
    for (pthread_mutex_t& mutex : mutexes) {
        error = error != 0 ? error : pthread_mutex_init(&mutex, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
    return error;
}

} // namespace os::bsp
