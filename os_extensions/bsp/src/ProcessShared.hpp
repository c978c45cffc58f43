#pragma once

#include <span>

#include <pthread.h>

namespace os::bsp {

/// Initialises mutexes in shared memory for use between processes, with otherwise default
/// attributes. What the memory held before does not matter.
inline void initialiseProcessShared(std::span<pthread_mutex_t> mutexes) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    for (pthread_mutex_t& mutex : mutexes) {
        pthread_mutex_init(&mutex, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
}

} // namespace os::bsp
