#pragma once

#include "Immortal.hpp"
#include "Log.hpp"

namespace os::bsp {

/// The trace of the slot id; created like coreLog().
inline LogModule& slotLog() {
    static Immortal<LogModule> module("bsp.networking", "os_extensions/bsp/src/WarmSlot");
    return module.get();
}

} // namespace os::bsp
