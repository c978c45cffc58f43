#pragma once

#include "FileDescriptor.hpp"

#include <cstdio>
#include <memory>

namespace posix {

struct StreamCloser {
    void operator()(std::FILE* stream) const noexcept {
        const NoCancellation whileClosing;
        std::fclose(stream);
    }
};

/// Owns a C stream, and closes it.
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

/// Opens a file for reading; null, with errno set, if that fails. A FIFO without a writer reads as
/// an empty file.
inline Stream openForReading(const char* path) {
    FileDescriptor file = FileDescriptor::own(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Stream stream(file ? fdopen(file.get(), "r") : nullptr);
    if (stream != nullptr) {
        file.release();
    }
    return stream;
}

} // namespace posix
