// Kernel image bytes to R-state.
#include "InputFile.hpp"
#include "TolvTrace.h"
#include "bsp/Bsp.h"

#include <cctype>
#include <cstring>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    TolvTrace_setLevel("*", 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const InputFile image(data, size);
    char rState[8] = "before";
    const int result = Bsp_getKernelRState(image.path().c_str(), rState, sizeof rState);
    if (result != 0 && std::strcmp(rState, "before") != 0) {
        __builtin_trap();
    }
    for (std::size_t i = 0; i < strnlen(rState, sizeof rState); ++i) {
        if (std::isalnum(static_cast<unsigned char>(rState[i])) == 0) {
            __builtin_trap();
        }
    }
    return 0;
}
