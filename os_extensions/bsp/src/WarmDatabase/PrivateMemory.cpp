#include "PrivateMemory.hpp"

#include <sys/mman.h>

namespace os::bsp::dtcm::private_memory {
namespace {

constinit WarmArea staticWarmArea{};
constinit SyncArea staticSyncArea{};

std::byte* makeArea(std::size_t size, void* otherwise) {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return static_cast<std::byte*>(memory != MAP_FAILED ? memory : otherwise);
}

} // namespace

std::byte* makeWarmArea() {
    return makeArea(WarmAreaSize, &staticWarmArea);
}

std::byte* makeSyncArea() {
    return makeArea(SyncAreaSize, &staticSyncArea);
}

void releaseWarmArea(std::byte* memory) {
    if (memory != reinterpret_cast<std::byte*>(&staticWarmArea)) {
        munmap(memory, WarmAreaSize);
    }
}

} // namespace os::bsp::dtcm::private_memory
