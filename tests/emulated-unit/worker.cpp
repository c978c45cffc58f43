// A program whose unit is reset or loses power in the middle of its work, or that is killed itself;
// and one that looks at what is left.
#include "bsp/Bsp.h"
#include "bsp/WarmDatabase.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include <unistd.h>

namespace {

constexpr unsigned Objects = 20; // beside the slot's
constexpr unsigned Size = os::bsp::dtcm::MaxObjectSize;

auto& database() {
    return os::bsp::dtcm::WarmDatabase::getInstance();
}

std::string nameOf(unsigned number) {
    return "object " + std::to_string(number);
}

// All bytes of an object are its number.
void create(unsigned number) {
    void* data = nullptr;
    if (database().createObject(nameOf(number), &data, Size, true)) {
        std::memset(data, static_cast<int>(number), Size);
    }
}

// Who ends on the way leaves zeroes behind.
bool isSound(const void* data, unsigned number) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    return std::all_of(
        bytes, bytes + Size, [&](unsigned char byte) { return byte == 0 || byte == number; });
}

int fill() {
    for (unsigned number = 1; number <= Objects; ++number) {
        create(number);
    }
    return 0;
}

// Says how many objects there are; fails when one is damaged, or there are others.
int count() {
    unsigned found = Bsp_getSlotId() >= -1 ? 1 : 0; // that makes the slot's
    bool sound = true;
    for (unsigned number = 1; number <= Objects; ++number) {
        void* data = nullptr;
        if (database().retrieveObject(nameOf(number), &data, Size, true)) {
            ++found;
            sound = sound && isSound(data, number);
        }
    }
    std::printf("%u\n", found);
    const auto free = database().getNumberOfFreeBlocks();
    return sound && found + free == os::bsp::dtcm::MaxNumberOfBlocks ? 0 : 1;
}

// Both halves of a slot id are the same.
[[noreturn]] void churn() {
    for (unsigned i = 0;; ++i) {
        Bsp_setSlotId(static_cast<int>((i & 0x7fff) * 0x10001));
        create(i % Objects + 1);
    }
}

[[noreturn]] void toggle() {
    for (int mode = 0;; mode = 1 - mode) {
        Bsp_setRadiolinkMode(static_cast<RadiolinkMode>(mode));
    }
}

[[noreturn]] void hold() {
    database().lock();
    while (true) {
        pause();
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    return task == "fill"     ? fill()
           : task == "count"  ? count()
           : task == "churn"  ? (churn(), 0)
           : task == "toggle" ? (toggle(), 0)
           : task == "hold"   ? (hold(), 0)
                              : 2;
}
