// Works until the test kills it, or resets its unit or cuts the unit's power:
// worker write ROUNDS | hold-lock | toggle-mode
#include "bsp/Bsp.h"
#include "bsp/WarmDatabase.hpp"

#include <cstring>
#include <string>

#include <unistd.h>

namespace {

using namespace os::bsp::dtcm;

constexpr unsigned Objects = MaxNumberOfBlocks - 1; // beside the slot's

// Sets slot ids with two equal halves, and fills objects. It spends about the same time on both.
void write(unsigned long rounds) {
    for (unsigned i = 1; i <= rounds; ++i) {
        for (unsigned j = 0; j < 20; ++j) {
            Bsp_setSlotId(static_cast<int>((i & 0x7fff) * 0x10001));
        }
        void* data = nullptr;
        const std::string name = "object " + std::to_string(i % Objects);
        WarmDatabase_createObject(name.c_str(), &data, MaxObjectSize);
        std::memset(data, static_cast<int>(i % Objects), MaxObjectSize);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "write") {
        write(std::stoul(argv[2]));
    } else if (task == "hold-lock") {
        WarmDatabase::getInstance().lock();
        pause();
    } else if (task == "toggle-mode") {
        for (int mode = 0;; mode = 1 - mode) {
            Bsp_setRadiolinkMode(RadiolinkMode{mode});
        }
    }
}
