#pragma once

#include "Layout.hpp"

namespace os::bsp::dtcm {

struct SharedSyncArea {
    std::byte* memory; // null, with errno set, when it can be neither opened nor created
    bool created;      // by this process
};

/// Opens the sync area, or creates it with its mutexes initialised. Of all processes that ask at
/// once, one creates it and the others get it finished; what a creator that was killed left behind
/// is finished by the next.
SharedSyncArea openSharedSyncArea();

} // namespace os::bsp::dtcm
