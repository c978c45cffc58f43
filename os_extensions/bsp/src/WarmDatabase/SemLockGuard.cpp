#include "DatabaseLog.hpp"
#include "bsp/WarmDatabase.hpp"

#include <cerrno>
#include <cstring>

namespace os::bsp::dtcm {
namespace {

// Whether this thread's last lock() has ended without the lock, which unlock() must not give back.
constinit thread_local bool lockFailed = false;

bool waitFor(sem_t* semaphore, const char* function) {
    while (sem_wait(semaphore) == -1) {
        if (errno != EINTR) {
            BSP_LOG_AT(
                databaseLog(), 1, __LINE__, function,
                "error in sem_wait error: ", std::strerror(errno));
            return false;
        }
        errno = 0;
    }
    return true;
}

} // namespace

WarmDatabase::SemLockGuard::SemLockGuard(sem_t* semaphore)
    : m_semaphore(semaphore != nullptr && waitFor(semaphore, __func__) ? semaphore : nullptr) {}

WarmDatabase::SemLockGuard::~SemLockGuard() {
    if (m_semaphore != nullptr) {
        sem_post(m_semaphore);
    }
}

void WarmDatabase::lock() {
    if (m_databaseSemaphore != nullptr) {
        lockFailed = !waitFor(m_databaseSemaphore, __func__);
    }
}

void WarmDatabase::unlock() {
    if (m_databaseSemaphore != nullptr && !lockFailed) {
        sem_post(m_databaseSemaphore);
    }
}

} // namespace os::bsp::dtcm
