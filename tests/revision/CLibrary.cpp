#include "CLibrary.hpp"

#include "TolvTrace.h"
#include "bsp/export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <regex>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {

test::Fault pending;
constexpr std::size_t LongestRead = 1000; // a file may always deliver less

template <typename Function, typename... Arguments>
auto answer(Function& function, const char* symbol, Arguments... arguments) {
    if (pending.symbol == symbol && --pending.first <= 0 && --pending.count >= 0) {
        errno = pending.error;
        return decltype(function(arguments...))(pending.error == 0 ? 0 : -1);
    }
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol))(arguments...);
}

int nextDescriptor() {
    const int fd = dup(STDERR_FILENO);
    close(fd);
    return fd;
}

} // namespace

extern "C" {
BSP_EXPORT off_t lseek(int fd, off_t offset, int whence) {
    return answer(lseek, "lseek64", fd, offset, whence);
}
BSP_EXPORT ssize_t read(int fd, void* buffer, std::size_t count) {
    return answer(read, "read", fd, buffer, std::min(count, LongestRead));
}
BSP_EXPORT int fstat(int fd, struct stat* status) noexcept {
    return answer(fstat, "fstat64", fd, status);
}
BSP_EXPORT int unlink(const char* path) noexcept {
    return answer(unlink, "unlink", path);
}
BSP_EXPORT int inflateInit2_(z_streamp stream, int bits, const char* version, int size) {
    return answer(inflateInit2_, "inflateInit2_", stream, bits, version, size);
}
}

std::string test::recordsOf(int level, const Fault& fault, const std::function<void()>& body) {
    static const std::regex header(
        R"(\[bsp\.core\] (\d) os_extensions/bsp/src/Bsp:\d+ (\w+): (ENTER \2\(|\2\(\): ))");
    TolvTrace_setLevel("bsp.core", level);
    testing::internal::CaptureStderr();
    const int descriptor = nextDescriptor();
    pending = fault;
    body();
    pending = {};
    EXPECT_EQ(nextDescriptor(), descriptor);
    const auto log = std::regex_replace(testing::internal::GetCapturedStderr(), header, "$1 $3");
    const std::regex first("fd=" + std::to_string(descriptor) + "\\)");
    return std::regex_replace(log, first, "fd=first)");
}
