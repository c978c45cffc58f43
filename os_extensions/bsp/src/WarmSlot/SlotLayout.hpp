/// The layout of the slot id's object in the warm area: a contract between processes and across
/// restarts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include <pthread.h>

namespace os::bsp {

inline constexpr const char* SlotObjectName = "SLOT";
inline constexpr int SlotNotSet = -1;

struct SlotLayout {
    std::int32_t slotId;
    pthread_mutex_t mutex; ///< guards the id

    /// The mutex is initialised last. It is then not all zeroes, because its kind says that
    /// processes share it.
    bool isInitialised() const {
        const auto bytes = std::as_bytes(std::span(&mutex, 1));
        return std::any_of(
            bytes.begin(), bytes.end(), [](std::byte byte) { return byte != std::byte{0}; });
    }
};

static_assert(
    sizeof(pthread_mutex_t) != 24 ||
    (sizeof(SlotLayout) == 28 && offsetof(SlotLayout, mutex) == 4));

} // namespace os::bsp
