#pragma once

#include "Log.hpp"

namespace os::bsp::dtcm {

/// The trace of the warm database; created like coreLog().
inline LogModule& databaseLog() {
    static LogModule module("Bsp.WarmDatabase", "os_extensions/bsp/src/WarmDatabase");
    return module;
}

} // namespace os::bsp::dtcm
