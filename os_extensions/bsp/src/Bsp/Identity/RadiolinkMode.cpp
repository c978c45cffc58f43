#include "bsp/RadiolinkMode.hpp"

#include "Log.hpp"
#include "QorConfig.hpp"

#include <atomic>
#include <mutex>
#include <new>

#include <pthread.h>

namespace os::bsp {
namespace {

namespace text = value::radiolinkMode;

// A mutex, not std::call_once: some implementations of pthread_once() do not let an exception
// through and run the step again at the next call.
constinit std::mutex loading;
constinit std::atomic<bool> modeLoaded = false;
constinit RadiolinkMode loadedMode = RadiolinkMode::Rl4;

// Reset the mutex in a forked child: the thread that held it does not exist there.
[[maybe_unused]] const int renewal =
    pthread_atfork(nullptr, nullptr, [] { new (&loading) std::mutex; });

} // namespace

RadiolinkMode getRadiolinkMode() {
    if (modeLoaded.load(std::memory_order_acquire)) {
        return loadedMode;
    }
    const std::lock_guard lock(loading);
    if (!modeLoaded.load(std::memory_order_relaxed)) {
        // Any other text, or none, means Rl4.
        if (QorConfig().getValue(key::RadiolinkMode) == text::Rl5) {
            loadedMode = RadiolinkMode::Rl5;
        }
        modeLoaded.store(true, std::memory_order_release);
    }
    return loadedMode;
}

bool setRadiolinkMode(RadiolinkMode mode) {
    QorConfig config;
    switch (mode) {
    case RadiolinkMode::Rl4:
        return config.setValue(key::RadiolinkMode, text::Rl4);
    case RadiolinkMode::Rl5:
        return config.setValue(key::RadiolinkMode, text::Rl5);
    default:
        BSP_LOG(
            coreLog(), 1, "Unsupported radio-link mode: ", lookupName(radiolinkModeNames(), mode));
        return false;
    }
}

bool clearRadiolinkMode() {
    return QorConfig().clearValue(key::RadiolinkMode);
}

} // namespace os::bsp
