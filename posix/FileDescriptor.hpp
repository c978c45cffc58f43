#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace posix {

/// Owns one descriptor; negative when there is none.
class FileDescriptor {
public:
    /// In the place of a closed standard stream a descriptor would get what others write there:
    /// there it is moved away, and where that fails, closed, with errno set.
    explicit FileDescriptor(int fd) noexcept : m_fd(clearOfStandardStreams(fd)) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor() {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }

    explicit operator bool() const noexcept { return m_fd >= 0; }
    int get() const noexcept { return m_fd; }
    /// The descriptor, which is no longer owned.
    int release() noexcept { return std::exchange(m_fd, -1); }

private:
    static int clearOfStandardStreams(int fd) noexcept {
        if (fd < 0 || fd > STDERR_FILENO) {
            return fd;
        }
        const int moved = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        const int error = errno;
        close(fd);
        errno = error;
        return moved;
    }

    int m_fd;
};

} // namespace posix
