#pragma once

#include "FileDescriptor.hpp"

#include <cerrno>
#include <optional>
#include <string>

namespace posix {

/// The content of a file; nothing, with errno set, if the file cannot be read or exceeds one
/// mebibyte (a device may never end). A FIFO without a writer reads as an empty file.
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

/// Calls `open` with 0 to open a file, and with O_CREAT | O_EXCL to create a missing one, until one
/// of them succeeds. Empty, with errno set, if both fail. Two calls, because O_CREAT alone is
/// refused on another user's file if fs.protected_regular is set.
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
