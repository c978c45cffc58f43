#pragma once

#include <utility>

#include <unistd.h>

namespace support {

/// Owns one descriptor; negative when there is none.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd) noexcept : m_fd(fd) {}
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
    int m_fd;
};

} // namespace support
