#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

int main(int argc, char** argv) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    std::vector<const char*> words{BSP_LAUNCHER, program.c_str()};
    words.insert(words.end(), argv + 1, argv + argc + 1);
    testing::InitGoogleTest(&argc, argv);
    // Tests write to /etc, /dev and shared memory, so they run in namespaces with their own.
    if (!GTEST_FLAG_GET(list_tests) && std::getenv("BSP_PRIVATE_MACHINE") == nullptr) {
        execvp(words[0], const_cast<char**>(words.data()));
        std::perror(words[0]);
        return 127;
    }
    return RUN_ALL_TESTS();
}
