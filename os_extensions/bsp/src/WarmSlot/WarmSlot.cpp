#include "bsp/WarmSlot.hpp"

#include "Log.hpp"
#include "SlotLayout.hpp"
#include "SlotMutex.hpp"
#include "WarmDatabase/SharedMemory.hpp"
#include "bsp/WarmDatabase.hpp"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>

namespace os::bsp {

/// Lies in the warm area; all processes share it.
struct WarmSlot::SlotObject : SlotLayout {
    // Returns whether the mutex had to be repaired. The lock, because the object's creator released
    // it before it initialised the object: another process may get here first, or find what a
    // killed creator has left. After a restart of unknown cause the object may hold noise.
    bool initialiseOnce(dtcm::WarmDatabase& database) {
        const std::lock_guard lock(database);
        if (!isInitialised()) {
            slotId = SlotNotSet;
            dtcm::initialiseProcessShared({&mutex, 1});
            return false;
        }
        const bool damaged = isDamaged(mutex);
        if (damaged) {
            reinitialise(mutex);
        }
        return damaged;
    }
};

WarmSlot::WarmSlot() {
    try {
        void* data = nullptr;
        std::mutex* sync = nullptr;
        bool created = false;
        auto& database = dtcm::WarmDatabase::getInstance();
        if (!database.getObjectData(SlotObjectName, &data, sizeof(SlotObject), &sync, created) ||
            data == nullptr || sync == nullptr) {
            BSP_LOG(
                slotLog(), 1, "Error: Could not get the ", SlotObjectName,
                " object from the warm database");
            return;
        }
        m_slotObject = static_cast<SlotObject*>(data);
        if (m_slotObject->initialiseOnce(database)) {
            reportRepair();
        }
        m_valid = true;
        BSP_LOG(
            slotLog(), 5, "The ", SlotObjectName,
            " object was successfully retrieved from the warm database");
        if (created) {
            BSP_LOG(
                slotLog(), 5, "The ", SlotObjectName,
                " object was created, initializing the object contents");
        } else {
            BSP_LOG(slotLog(), 5, "The slotId from WARM reset is: ", m_slotObject->slotId);
        }
    } catch (...) {
        reportCaught(slotLog(), __func__);
    }
}

int WarmSlot::get() const {
    if (!m_valid) {
        return SlotNotSet;
    }
    std::int32_t slotId = SlotNotSet;
    {
        const SlotLock lock(m_slotObject->mutex);
        slotId = m_slotObject->slotId;
    }
    BSP_LOG(slotLog(), 6, "SlotId is: ", slotId);
    return slotId;
}

void WarmSlot::set(int const& slotId) {
    if (!m_valid) {
        return;
    }
    {
        const SlotLock lock(m_slotObject->mutex);
        m_slotObject->slotId = slotId;
    }
    BSP_LOG(slotLog(), 5, "Setting slotId to: ", slotId);
}

// pthread_once(), as in WarmDatabase::getInstance(): it starts again in a child forked while
// another thread is inside.
WarmSlot& slotInstance() {
    static constinit pthread_once_t constructed = PTHREAD_ONCE_INIT;
    alignas(WarmSlot) static constinit std::byte instance[sizeof(WarmSlot)]{};
    pthread_once(&constructed, [] { new (instance) WarmSlot; });
    return *std::launder(reinterpret_cast<WarmSlot*>(instance));
}

} // namespace os::bsp
