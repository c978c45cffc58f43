// A program whose unit is reset or loses power in the middle of its work, or that is killed itself;
// and one that looks at what is left: worker write ROUNDS | hold-lock | toggle-mode | count
#include "bsp/Bsp.h"
#include "bsp/WarmDatabase.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include <unistd.h>

namespace {

using namespace os::bsp::dtcm;

constexpr unsigned Objects = MaxNumberOfBlocks - 1; // beside the slot's

std::string nameOf(unsigned number) {
    return "object " + std::to_string(number);
}

// Both halves of a slot id are the same, as are all bytes of an object. As much time goes into the
// one as into the other.
void write(unsigned long rounds) {
    for (unsigned i = 1; i <= rounds; ++i) {
        for (unsigned j = 0; j < 20; ++j) {
            Bsp_setSlotId(static_cast<int>((i & 0x7fff) * 0x10001));
        }
        void* data = nullptr;
        WarmDatabase_createObject(nameOf(i % Objects).c_str(), &data, MaxObjectSize);
        std::memset(data, static_cast<int>(i % Objects), MaxObjectSize);
    }
}

// A writer that ended before its time has left zeroes.
bool isWhole(unsigned number) {
    void* data = nullptr;
    WarmDatabase_retrieveObject(nameOf(number).c_str(), &data, MaxObjectSize);
    const auto* const bytes = static_cast<const unsigned char*>(data);
    return data != nullptr && std::all_of(bytes, bytes + MaxObjectSize, [&](unsigned char byte) {
               return byte == 0 || byte == number;
           });
}

void count() {
    int whole = 0;
    for (unsigned number = 0; number < Objects; ++number) {
        whole += isWhole(number) ? 1 : 0;
    }
    std::printf("%d whole, %u free\n", whole, WarmDatabase::getInstance().getNumberOfFreeBlocks());
}

} // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "write") {
        write(std::stoul(argv[2]));
    } else if (task == "hold-lock") {
        WarmDatabase::getInstance().lock();
        pause();
    }
    for (int mode = 0; task == "toggle-mode"; mode = 1 - mode) {
        Bsp_setRadiolinkMode(RadiolinkMode{mode});
    }
    if (task == "count") {
        count();
    }
}
