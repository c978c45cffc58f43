#include "SlotId.hpp"

#include "WarmImage.hpp"
#include "WarmLock.hpp"
#include "WarmSlot/SlotLayout.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace bspinfo {

using namespace os::bsp;
using namespace os::bsp::dtcm;

namespace {

// Where the mutex has its kind, on the unit and on 64-bit machines: dumps come from both.
bool hasMutex(const Block& block) {
    constexpr std::size_t Places[] = {16, 24};
    constexpr auto Own = offsetof(SlotLayout, mutex) + offsetof(pthread_mutex_t, __data.__kind);
    static_assert(Own == Places[sizeof(pthread_mutex_t) == 24 ? 0 : 1]);
    return std::any_of(std::begin(Places), std::end(Places), [&](std::size_t place) {
        int kind = 0;
        std::memcpy(&kind, block.data + place, sizeof kind);
        return kind == SharedMutexKind;
    });
}

std::string describeSlot(const Block& block) {
    SlotLayout slot{};
    std::memcpy(&slot, block.data, sizeof slot);
    if (!slot.isInitialised()) {
        return "not initialised";
    }
    if (!hasMutex(block)) {
        return "noise";
    }
    return slot.slotId == SlotNotSet ? "not set" : std::to_string(slot.slotId);
}

} // namespace

std::string slotId(const WarmArea& area) {
    for (const Block& block : area.blocks) {
        if (kindOf(block) == Cell::Free) {
            break; // nobody finds what lies behind
        }
        if (kindOf(block) == Cell::Used && nameOf(block) == SlotObjectName) {
            return describeSlot(block);
        }
    }
    return "no process has asked for it";
}

} // namespace bspinfo
