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

// Both halves of a slot id are the same, as are all bytes of an object. As much time goes into the
// one as into the other.
int write(unsigned rounds) {
    for (unsigned i = 1; i <= rounds; ++i) {
        for (unsigned j = 0; j < 20; ++j) {
            Bsp_setSlotId(static_cast<int>((i & 0x7fff) * 0x10001));
        }
        void* data = nullptr;
        database().createObject(nameOf(i % Objects), &data, Size, true);
        std::memset(data, static_cast<int>(i % Objects), Size);
    }
    return 0;
}

// Says how many objects there are; fails when one is damaged, or there are others.
int count() {
    unsigned found = Bsp_getSlotId() >= -1 ? 1 : 0; // that makes the slot's
    bool sound = true;
    for (unsigned number = 0; number < Objects; ++number) {
        void* data = nullptr;
        if (database().retrieveObject(nameOf(number), &data, Size, true)) {
            const auto* const bytes = static_cast<const unsigned char*>(data);
            sound = sound && std::all_of(bytes, bytes + Size, [&](unsigned char byte) {
                        return byte == 0 || byte == number; // a writer that ended has left zeroes
                    });
            ++found;
        }
    }
    std::printf("%u\n", found);
    const auto free = database().getNumberOfFreeBlocks();
    return sound && found + free == os::bsp::dtcm::MaxNumberOfBlocks ? 0 : 1;
}

[[noreturn]] void toggleMode() {
    for (int mode = 0;; mode = 1 - mode) {
        Bsp_setRadiolinkMode(static_cast<RadiolinkMode>(mode));
    }
}

int holdLock() {
    database().lock();
    return pause();
}

} // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "toggle-mode") {
        toggleMode();
    }
    return task == "write" && argc > 2 ? write(static_cast<unsigned>(std::stoul(argv[2])))
           : task == "hold-lock"       ? holdLock()
                                       : count();
}
