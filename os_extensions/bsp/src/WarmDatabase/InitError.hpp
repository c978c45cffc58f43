#pragma once

#include "Log.hpp"

#include <exception>

#include <cxxabi.h>

namespace os::bsp::dtcm {

/// What start-up reports of anything that it goes on without.
inline constexpr const char* InitError = "Error during initialization of warm area";

/// For a handler that catches everything: reports what was caught in the name of `function`.
inline void reportCaught(LogModule& module, const char* function) {
    try {
        throw;
    } catch (const abi::__forced_unwind&) {
        throw; // a thread that is being cancelled must get to its end
    } catch (const std::exception& exception) {
        BSP_LOG_AT(
            module, 1, __LINE__, function, InitError, ": Caught exception [", exception.what(),
            "].");
    } catch (...) {
        BSP_LOG_AT(module, 1, __LINE__, function, InitError, ": Caught unknown exception");
    }
}

} // namespace os::bsp::dtcm
