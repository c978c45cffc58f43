#pragma once

#include <cerrno>

#include <sys/file.h>

namespace posix {

/// Holds the exclusive lock of an open file from construction to destruction. The destructor calls
/// LOCK_UN, since closing the descriptor is not enough: a child forked meanwhile has a copy of the
/// descriptor, and would hold the lock as long as it lives.
class FileLock {
public:
    /// Waits for the lock. The object converts to false, with errno set, if the file cannot be
    /// locked. The descriptor must stay open as long as this object lives.
    explicit FileLock(int fd) noexcept : m_fd(isLocked(fd) ? fd : -1) {}
    ~FileLock() {
        if (m_fd >= 0) {
            const int error = errno;
            flock(m_fd, LOCK_UN);
            errno = error;
        }
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    explicit operator bool() const noexcept { return m_fd >= 0; }

private:
    static bool isLocked(int fd) noexcept {
        int result = 0;
        do {
            result = flock(fd, LOCK_EX);
        } while (result == -1 && errno == EINTR);
        return result == 0;
    }

    int m_fd;
};

} // namespace posix
