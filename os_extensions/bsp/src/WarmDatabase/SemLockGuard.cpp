#include "DatabaseLock.hpp"
#include "DatabaseLog.hpp"
#include "bsp/WarmDatabase.hpp"

#include <cstring>

namespace os::bsp::dtcm {

WarmDatabase::SemLockGuard::SemLockGuard(sem_t* semaphore) : m_semaphore(semaphore) {
    if (const int error = semaphore != nullptr ? waitFor(semaphore) : 0; error != 0) {
        BSP_LOG(databaseLog(), 1, "error in sem_wait error: ", std::strerror(error));
        m_semaphore = nullptr;
    }
}

WarmDatabase::SemLockGuard::~SemLockGuard() {
    if (m_semaphore != nullptr) {
        sem_post(m_semaphore);
    }
}

} // namespace os::bsp::dtcm
