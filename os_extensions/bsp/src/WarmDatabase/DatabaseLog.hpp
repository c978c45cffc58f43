#pragma once

#include "Immortal.hpp"
#include "Log.hpp"

namespace os::bsp::dtcm {

/// The trace of the warm database; created like coreLog().
inline LogModule& databaseLog() {
    static Immortal<LogModule> module("Bsp.WarmDatabase", "os_extensions/bsp/src/WarmDatabase");
    return module.get();
}

} // namespace os::bsp::dtcm
