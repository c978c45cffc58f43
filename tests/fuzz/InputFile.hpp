#pragma once

#include "FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

/// The fuzzer's input as a file that can be opened by name.
class InputFile {
public:
    InputFile(const std::uint8_t* data, std::size_t size)
        : m_file(posix::FileDescriptor::own(memfd_create("input", 0))) {
        if (write(m_file.get(), data, size) != static_cast<ssize_t>(size)) {
            __builtin_trap();
        }
    }

    std::string path() const { return "/proc/self/fd/" + std::to_string(m_file.get()); }

private:
    posix::FileDescriptor m_file;
};
