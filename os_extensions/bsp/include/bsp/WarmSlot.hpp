/// The unit's slot id, kept in the warm database.
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// One integer that survives a warm restart and is -1, not set, after a cold one. Any thread of any
/// process may get and set it. If an instance cannot obtain its object from the warm database, it
/// logs a level-1 message on the trace "bsp.networking" and stays invalid.
class BSP_EXPORT WarmSlot {
public:
    WarmSlot();
    WarmSlot(const WarmSlot&) = delete;
    WarmSlot& operator=(const WarmSlot&) = delete;

    /// -1 if invalid. Throws std::system_error if the object's mutex cannot be locked.
    int get() const;

    /// Does nothing if invalid. Throws as get().
    void set(int const& slotId);

private:
    struct SlotObject;

    SlotObject* m_slotObject = nullptr;
    bool m_valid = false;
};

/// The process's instance, constructed by the first call.
BSP_EXPORT WarmSlot& slotInstance();

} // namespace os::bsp
