#pragma once

#include <cerrno>

#include <sys/file.h>

namespace posix {

/// Holds the exclusive lock of an open file from construction to destruction. It is given back by
/// name rather than with the descriptor: a child that was forked meanwhile has a copy of that, and
/// would keep the lock for its life.
class FileLock {
public:
    /// Waits for the lock; false, with errno set, when there is none to be had. The descriptor has
    /// to stay open as long as this object lives.
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
