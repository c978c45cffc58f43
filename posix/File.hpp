#pragma once

#include "FileDescriptor.hpp"

#include <cerrno>
#include <optional>
#include <string>

namespace posix {

/// What a file holds; nothing, with errno set, when it cannot be read, or is over a mebibyte long:
/// it may have no end. A FIFO without a writer is an empty file.
inline std::optional<std::string> readFile(const std::string& path) {
    const FileDescriptor file =
        FileDescriptor::own(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    std::string content;
    char chunk[4096];
    while (file && content.size() <= 1U << 20) {
        const ssize_t count = read(file.get(), chunk, sizeof chunk);
        if (count == 0) {
            return content;
        }
        if (count == -1 && errno != EINTR) {
            return std::nullopt;
        }
        content.append(chunk, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    errno = file ? EFBIG : errno;
    return std::nullopt;
}

/// What `open` opens, or creates if it is missing: it is called with the flags that creation takes,
/// or with 0. Nothing, with errno set, when both fail. O_CREAT without O_EXCL is refused on
/// somebody else's file where the system protects those.
template <class Open>
FileDescriptor openOrCreate(Open open) {
    while (true) {
        FileDescriptor file = FileDescriptor::own(open(0));
        if (file || errno != ENOENT) {
            return file;
        }
        FileDescriptor created = FileDescriptor::own(open(O_CREAT | O_EXCL));
        if (created || errno != EEXIST) {
            return created;
        }
    }
}

} // namespace posix
