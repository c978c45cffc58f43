// Boot-loader image bytes to both values, in buffers of sizes that the input chooses.
#include "InputFile.hpp"
#include "TolvTrace.h"
#include "bsp/Bsp.h"

#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    TolvTrace_setLevel("*", 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    std::vector<char> product(1U + data[0] % 64);
    std::vector<char> rState(1U + data[1] % 64);
    const InputFile image(data + 2, size - 2);
    const int result = Bsp_getUbootProductInfo(
        image.path().c_str(), product.data(), product.size(), rState.data(), rState.size());
    for (const auto& text : {product, rState}) {
        const auto length = strnlen(text.data(), text.size());
        if (result != 0 || length == text.size() ||
            std::memchr(text.data(), '\n', length) != nullptr) {
            __builtin_trap();
        }
    }
    return 0;
}
