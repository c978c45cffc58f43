#include "Process.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

int main(int argc, char** argv) {
    test::Words words(argv, argv + argc);
    testing::InitGoogleTest(&argc, argv);
    // Tests write to /etc, /dev and shared memory, so they run in namespaces with their own.
    if (!GTEST_FLAG_GET(list_tests) && std::getenv("BSP_PRIVATE_MACHINE") == nullptr) {
        words.front() = std::filesystem::read_symlink("/proc/self/exe");
        test::execute(words, {BSP_PRIVATE_MACHINE});
    }
    return RUN_ALL_TESTS();
}
