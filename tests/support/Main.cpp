#include "Process.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

// Tests ask for more memory than there is, to be told so.
extern "C" {
__attribute__((visibility("default"))) const char* __asan_default_options() { // NOLINT
    return "allocator_may_return_null=1:max_allocation_size_mb=1000";
}
__attribute__((weak, visibility("default"))) const char* __tsan_default_options() { // NOLINT
    return "allocator_may_return_null=1:max_allocation_size_mb=1000";
}
}

int main(int argc, char** argv) {
    test::Words words(argv, argv + argc);
    testing::InitGoogleTest(&argc, argv);
    // Tests write to /etc, /dev and shared memory: never to the machine's own.
    if (!GTEST_FLAG_GET(list_tests) && std::getenv("BSP_PRIVATE_MACHINE") == nullptr) {
        words.front() = std::filesystem::read_symlink("/proc/self/exe");
        test::execute(words, {BSP_PRIVATE_MACHINE});
    }
    return RUN_ALL_TESTS();
}
