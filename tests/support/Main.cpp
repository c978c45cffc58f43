#include "Process.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

// Tests write to /etc, /dev and shared memory: never to the machine's own.
[[noreturn]] void restartInPrivateMachine(std::vector<std::string> words) {
    words.front() = std::filesystem::read_symlink("/proc/self/exe");
    words = test::launchable(words);
    words.insert(words.begin(), BSP_PRIVATE_MACHINE);
    std::vector<char*> command;
    for (std::string& word : words) {
        command.push_back(word.data());
    }
    command.push_back(nullptr);
    execv(command.front(), command.data());
    std::perror(command.front());
    std::_Exit(2);
}

} // namespace

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
    const std::vector<std::string> words(argv, argv + argc);
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && std::getenv("BSP_PRIVATE_MACHINE") == nullptr) {
        restartInPrivateMachine(words);
    }
    return RUN_ALL_TESTS();
}
