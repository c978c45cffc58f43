#include "bsp/WarmSlot.hpp"

#include "ProcessShared.hpp"
#include "SlotLog.hpp"
#include "SlotMutex.hpp"
#include "WarmDatabase/InitError.hpp"
#include "bsp/WarmDatabase.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>

namespace os::bsp {

namespace {

constexpr const char* ObjectName = "SLOT";
constexpr int NotSet = -1;

[[maybe_unused]] const LogModule& logAtStartup = slotLog();

} // namespace

/// Lies in the warm area, shared by every process.
struct WarmSlot::SlotObject {
    std::int32_t slotId;
    pthread_mutex_t mutex;

    bool isInitialised() const {
        const auto bytes = std::as_bytes(std::span(&mutex, 1));
        return std::any_of(
            bytes.begin(), bytes.end(), [](std::byte byte) { return byte != std::byte{0}; });
    }

    // The object's creator gave the database lock back before it could initialise the object:
    // another process may get here first, or find what a creator that was killed has left. The
    // mutex comes last, and is not all zeroes then: it is marked as shared between processes.
    void initialiseOnce(dtcm::WarmDatabase& database) {
        const std::lock_guard lock(database);
        if (!isInitialised()) {
            slotId = NotSet;
            initialiseProcessShared({&mutex, 1});
        }
    }
};

WarmSlot::WarmSlot() {
    static_assert(
        sizeof(pthread_mutex_t) != 24 ||
        (sizeof(SlotObject) == 28 && offsetof(SlotObject, mutex) == 4));
    try {
        void* data = nullptr;
        std::mutex* sync = nullptr;
        bool created = false;
        auto& database = dtcm::WarmDatabase::getInstance();
        if (!database.getObjectData(ObjectName, &data, sizeof(SlotObject), &sync, created) ||
            data == nullptr || sync == nullptr) {
            BSP_LOG(
                slotLog(), 1, "Error: Could not get the ", ObjectName,
                " object from the warm database");
            return;
        }
        m_slotObject = static_cast<SlotObject*>(data);
        m_slotObject->initialiseOnce(database);
        m_valid = true;
        BSP_LOG(
            slotLog(), 5, "The ", ObjectName,
            " object was successfully retrieved from the warm database");
        if (created) {
            BSP_LOG(
                slotLog(), 5, "The ", ObjectName,
                " object was created, initializing the object contents");
        } else {
            BSP_LOG(slotLog(), 5, "The slotId from WARM reset is: ", m_slotObject->slotId);
        }
    } catch (...) {
        dtcm::reportCaught(slotLog(), __func__);
    }
}

int WarmSlot::get() const {
    if (!m_valid) {
        return NotSet;
    }
    std::int32_t slotId = NotSet;
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

WarmSlot& slotInstance() {
    static WarmSlot instance;
    return instance;
}

} // namespace os::bsp
