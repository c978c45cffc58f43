// Fuzz targets: the functions that read revisions out of images.
#include "bsp/Bsp.h"

#include <algorithm>
#include <cctype>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#define EXPECT(condition) ((condition) ? void() : __builtin_trap())

void kernel_image(const char* file, std::size_t /*size*/) {
    std::string text("kept\0\0\0\0", 8);
    const int result = Bsp_getKernelRState(file, text.data(), text.size());
    text.resize(text.find('\0')); // throws if there is none
    EXPECT(std::all_of(text.begin(), text.end(), isalnum));
    EXPECT(result == 0 || text == "kept");
}

// The size of the image determines the sizes of the buffers.
void boot_loader(const char* file, std::size_t size) {
    std::string texts[] = {std::string(1 + size % 17, '!'), std::string(1 + size % 13, '!')};
    EXPECT(
        Bsp_getUbootProductInfo(
            file, texts[0].data(), texts[0].size(), texts[1].data(), texts[1].size()) == 0);
    for (std::string& text : texts) {
        text.resize(text.find('\0'));
        EXPECT(text.find('\n') == std::string::npos);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const int file = memfd_create("image", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    EXPECT(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    TARGET(path.c_str(), size);
    return 0;
}
