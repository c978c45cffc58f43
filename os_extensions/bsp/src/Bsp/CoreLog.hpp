#pragma once

#include "Immortal.hpp"
#include "Log.hpp"

namespace os::bsp {

/// The trace of board identity and software revision. Created before main, or by a static
/// constructor that calls the layer earlier.
inline LogModule& coreLog() {
    static Immortal<LogModule> module("bsp.core", "os_extensions/bsp/src/Bsp");
    return module.get();
}

} // namespace os::bsp
