#include "bsp/FpgaPath.hpp"

#include <cstring>

namespace os::bsp {
namespace {

struct FpgaPathRow {
    const char* key;
    const char* path;
};

// clang-format off
constexpr FpgaPathRow fpgaPathMap[] = {
    {"corvel",  "fwi204411_12/R11T/fwi204411_12.bin"},
    {"prisk",   "fwi204411_13/R11T/fwi204411_13.bin"},
    {"pirlan",  "fwi204411_2/R11T/fwi204411_2.bin"},
    {"dunvar",  "fwi204411_6/R11T/fwi204411_6.bin"},
    {"ulvar",   "fwi204411_9/R7G05/fwi204411_9.bin"},
    {"tormel",  "fwi204477_1/R13B/fwi204477_1.bin"},
    {"fennic",  "fwi204477_2/R13G/fwi204477_2.bin"},
    {"fennic2", "fwi204477_3/R13G/fwi204477_3.bin"},
    {"wendrel", "fwi204477_11/R13G/fwi204477_11.bin"},
    {"gorm",    "fwi204477_16/R12G/fwi204477_16.bin"},
    {"pell",    "fwi204477_17/R12G/fwi204477_17.bin"},
    {"pci",     "hwd300155_3/R1B01/hwd300155_3.bin"},
};
// clang-format on

} // namespace

char const* getFpgaPath(char const* key) {
    for (const FpgaPathRow& row : fpgaPathMap) {
        if (std::strcmp(key, row.key) == 0) {
            return row.path;
        }
    }
    return nullptr;
}

} // namespace os::bsp
