#include "Settings.hpp"

#include "Number.hpp"
#include "WarmDatabase/DatabaseLock.hpp"
#include "WarmSlot/SlotLayout.hpp"
#include "bsp/Bsp.h"
#include "bsp/RadiolinkMode.hpp"
#include "bsp/ResetType.hpp"
#include "bsp/WarmSlot.hpp"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace bspctl {
namespace {

using namespace os::bsp;

// Looks in the kernel's list of mappings, because nothing else shows it: if the layer cannot map
// the warm area, it uses private memory, which works as well but is lost when the process ends.
bool isShared(const void* memory) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    std::ifstream mappings("/proc/self/maps");
    std::uintptr_t first = 0;
    std::uintptr_t end = 0;
    char dash = '-';
    std::string rights; // "rw-s" or "rw-p"
    while (mappings >> std::hex >> first >> dash >> end >> rights) {
        if (first <= address && address < end) {
            return rights.back() == 's';
        }
        mappings.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return false;
}

// Until a cold restart is noted as handled, the next process may clear the area.
bool isKept() {
    const auto* const record = dtcm::databaseLock().record();
    const bool handled = record != nullptr && record->coldRestart == dtcm::ColdRestart::Handled;
    return handled || getResetType() != ResetType::Cold;
}

// The slot id, if it is the unit's own; slotInstance() alone also answers if it is not.
WarmSlot& sharedSlot() {
    WarmSlot& slot = slotInstance();
    void* object = nullptr;
    if (WarmDatabase_retrieveObject(SlotObjectName, &object, sizeof(SlotLayout)) != 0) {
        throw std::runtime_error("the warm database has no room for it");
    }
    if (!isShared(object)) {
        throw std::runtime_error("the warm area top.dtcm0 cannot be opened or mapped");
    }
    return slot;
}

std::string showSlotId() {
    return std::to_string(sharedSlot().get());
}

bool setSlotId(std::string_view value) {
    const auto number = posix::parseNumber(value);
    if (number) {
        WarmSlot& slot = sharedSlot();
        if (!isKept()) {
            throw std::runtime_error("a cold restart is still pending, which would clear it");
        }
        slot.set(*number);
    }
    return number.has_value();
}

std::string showRadiolinkMode() {
    return lookupName(radiolinkModeNames(), getRadiolinkMode());
}

void requireStored(bool stored) {
    if (!stored) {
        throw std::runtime_error("the configuration store cannot be written");
    }
}

bool setRadiolinkMode(std::string_view value) {
    if (value == "default") {
        requireStored(clearRadiolinkMode());
        return true;
    }
    const NameTable names = radiolinkModeNames();
    const NameTable modes = names.first(names.size() - 1);
    const auto mode = std::find_if(
        modes.begin(), modes.end(), [&](const EnumName& row) { return row.name == value; });
    if (mode != modes.end()) {
        requireStored(os::bsp::setRadiolinkMode(RadiolinkMode{mode->value}));
    }
    return mode != modes.end();
}

constexpr Setting Settings[] = {
    {"slot-id", "NUMBER", "a number from -2147483648 to 2147483647",
     "in the warm database until a cold restart; -1: not set", showSlotId, setSlotId},
    {"radiolink-mode", "Rl4|Rl5|default", "Rl4, Rl5 or default",
     "in the configuration store; default, which is Rl4, removes it from there", showRadiolinkMode,
     setRadiolinkMode},
};

} // namespace

std::span<const Setting> settings() {
    return Settings;
}

} // namespace bspctl
