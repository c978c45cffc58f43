// Tests the layer in a program that loads it with dlopen(), as Python does.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <dlfcn.h>

static std::atomic<bool> memoryIsLeft = true;

extern "C" {
void* __libc_malloc(std::size_t size); // NOLINT

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
    return memoryIsLeft ? __libc_malloc(size) : nullptr;
}
}

namespace {

TEST(LoadedLater, LogsWithoutMemoryAndStaysLoadedAfterDlclose) {
    void* const layer = dlopen(LAYER, RTLD_NOW);
    ASSERT_NE(layer, nullptr) << dlerror();
    auto* const query = reinterpret_cast<int (*)(const char*, char*, std::size_t)>(
        dlsym(layer, "Bsp_getKernelRState"));
    auto* const setLevel =
        reinterpret_cast<void (*)(const char*, int)>(dlsym(layer, "TolvTrace_setLevel"));
    std::thread([&] {
        memoryIsLeft = false;
        EXPECT_EQ(query(nullptr, nullptr, 0), -1); // the record is dropped
        memoryIsLeft = true;
    }).join();
    dlclose(layer);
    setLevel("*", 0);
    EXPECT_EQ(query(nullptr, nullptr, 0), -1);
}

} // namespace
