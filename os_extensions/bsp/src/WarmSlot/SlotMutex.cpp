#include "SlotMutex.hpp"

#include "Log.hpp"
#include "WarmDatabase/SharedMemory.hpp"
#include "bsp/WarmDatabase.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace os::bsp {
namespace {

constexpr std::chrono::milliseconds WaitTime{250};
constexpr std::chrono::milliseconds WaitingStep{1};
constexpr int WaitsWithoutChange = 4;

using Bytes = std::array<std::byte, sizeof(pthread_mutex_t)>;

Bytes bytesOf(const pthread_mutex_t& mutex) {
    Bytes bytes{};
    std::memcpy(bytes.data(), &mutex, sizeof mutex);
    return bytes;
}

// The warm area may be a device's memory: no thread can sleep on a futex there, and the C library
// ends a process that tries to. So this polls.
int waitOnce(pthread_mutex_t& mutex) {
    const auto end = std::chrono::steady_clock::now() + WaitTime;
    while (std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(WaitingStep);
        if (const int result = pthread_mutex_trylock(&mutex); result != EBUSY) {
            return result;
        }
    }
    return ETIMEDOUT;
}

// Returns whether this process has reinitialised the mutex: another one may have been faster.
bool repair(pthread_mutex_t& mutex, const Bytes& seen) {
    const std::lock_guard lock(dtcm::WarmDatabase::getInstance());
    if (bytesOf(mutex) != seen) {
        return false;
    }
    reinitialise(mutex);
    return true;
}

int waitAndRepair(pthread_mutex_t& mutex) {
    int unchanged = 0;
    while (true) {
        const Bytes before = bytesOf(mutex);
        if (const int result = waitOnce(mutex); result != ETIMEDOUT) {
            return result;
        }
        unchanged = bytesOf(mutex) == before ? unchanged + 1 : 0;
        if (unchanged >= WaitsWithoutChange && repair(mutex, before)) {
            reportRepair();
        }
    }
}

pthread_mutex_t freshMutex() {
    pthread_mutex_t mutex;
    dtcm::initialiseProcessShared({&mutex, 1});
    return mutex;
}

} // namespace

bool isDamaged(const pthread_mutex_t& mutex) {
    return mutex.__data.__kind != freshMutex().__data.__kind;
}

// The kind comes first: a process that dies on the way must not leave all zeroes, which would mean
// that the object was never initialised. FUTEX_WAKE, because threads that sleep without a time
// limit would not look at the mutex again.
void reinitialise(pthread_mutex_t& mutex) {
    const pthread_mutex_t fresh = freshMutex();
    mutex.__data.__kind = fresh.__data.__kind;
    std::atomic_signal_fence(std::memory_order_release);
    std::memcpy(&mutex, &fresh, sizeof mutex);
    syscall(SYS_futex, &mutex, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void reportRepair() {
    BSP_LOG_AT(
        slotLog(), 2, __LINE__, "WarmSlot",
        "Warning: the mutex of the SLOT object was damaged or had lost its owner, it was "
        "reinitialised");
}

SlotLock::SlotLock(pthread_mutex_t& mutex) : m_mutex(mutex) {
    int result = pthread_mutex_trylock(&mutex);
    if (result == EBUSY) {
        result = waitAndRepair(mutex);
    }
    if (result != 0) {
        throw std::system_error(result, std::generic_category());
    }
}

} // namespace os::bsp
