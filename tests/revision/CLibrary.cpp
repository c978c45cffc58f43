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
BSP_EXPORT ssize_t read(int fd, void* buf, std::size_t nbytes) {
    return answer(read, "read", fd, buf, std::min(nbytes, LongestRead));
}
BSP_EXPORT int fstat(int fd, struct stat* buf) noexcept {
    return answer(fstat, "fstat64", fd, buf);
}
BSP_EXPORT int unlink(const char* name) noexcept {
    return answer(unlink, "unlink", name);
}
BSP_EXPORT int inflateInit2_(z_streamp strm, int windowBits, const char* version, int stream_size) {
    return answer(inflateInit2_, "inflateInit2_", strm, windowBits, version, stream_size);
}
}

std::string test::recordsOf(int level, const Fault& fault, const std::function<void()>& body) {
    // Nothing else is a record, such as what a sanitizer tells.
    static const std::regex record(
        R"(\[bsp\.core\] (\d) os_extensions/bsp/src/Bsp:\d+ (\w+): ((ENTER \2\(|\2\(\): ).*\n))");
    TolvTrace_setLevel("bsp.core", level);
    testing::internal::CaptureStderr();
    const int descriptor = nextDescriptor();
    pending = fault;
    body();
    pending = {};
    EXPECT_EQ(nextDescriptor(), descriptor);
    const auto log = std::regex_replace(
        testing::internal::GetCapturedStderr(), record, "$1 $3",
        std::regex_constants::format_no_copy);
    const std::regex first("fd=" + std::to_string(descriptor) + "\\)");
    return std::regex_replace(log, first, "fd=first)");
}
