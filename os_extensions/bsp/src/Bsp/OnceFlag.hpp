#pragma once

#include <atomic>
#include <mutex>

namespace os::bsp {

/// A once-flag that costs one load when its action has run. An action that throws leaves the flag
/// unset, and the next caller runs it again.
class OnceFlag {
public:
    template <class Action>
    void run(Action&& action) {
        if (m_done.load(std::memory_order_acquire)) {
            return;
        }
        std::call_once(m_flag, [&] {
            action();
            m_done.store(true, std::memory_order_release);
        });
    }

private:
    std::once_flag m_flag;
    std::atomic<bool> m_done = false;
};

} // namespace os::bsp
