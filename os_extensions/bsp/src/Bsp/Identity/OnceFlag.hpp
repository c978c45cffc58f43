#pragma once

#include <atomic>
#include <mutex>

namespace os::bsp {

/// Runs an action once, however many threads ask; they wait for the one that runs it. Costs one
/// load afterwards. An action that throws leaves the flag unset, and the next caller runs it again;
/// that is why this is no std::once_flag, which not every pthread_once() can unwind through. Throws
/// std::system_error when its mutex cannot be locked.
class OnceFlag {
public:
    template <class Action>
    void run(Action&& action) {
        if (m_done.load(std::memory_order_acquire)) {
            return;
        }
        const std::lock_guard lock(m_mutex);
        if (!m_done.load(std::memory_order_relaxed)) {
            action();
            m_done.store(true, std::memory_order_release);
        }
    }

private:
    std::mutex m_mutex;
    std::atomic<bool> m_done = false;
};

} // namespace os::bsp
