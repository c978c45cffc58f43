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

// No std::once_flag: not every pthread_once() lets an exception through and is taken again then.
constinit std::mutex loading;
constinit std::atomic<bool> modeLoaded = false;
constinit RadiolinkMode loadedMode = RadiolinkMode::Rl4;

// A child that is forked while another thread of its parent loads has nobody who would end that.
[[maybe_unused]] const int renewal =
    pthread_atfork(nullptr, nullptr, [] { new (&loading) std::mutex; });

} // namespace

RadiolinkMode getRadiolinkMode() {
    if (modeLoaded.load(std::memory_order_acquire)) {
        return loadedMode;
    }
    const std::lock_guard lock(loading);
    if (!modeLoaded.load(std::memory_order_relaxed)) {
        // Rl4 is what any other text, or none, stands for.
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
