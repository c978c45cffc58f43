#pragma once

#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace posix {

/// Disables cancellation of the thread as long as this object lives. close(), fclose() and write()
/// are cancellation points, and cancellation is an exception: in a noexcept function, such as a
/// destructor, it would end the process. It takes effect at the next cancellation point instead.
class NoCancellation {
public:
    NoCancellation() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_state); }
    ~NoCancellation() { pthread_setcancelstate(m_state, nullptr); }
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

private:
    int m_state = PTHREAD_CANCEL_ENABLE;
};

/// Owns one descriptor or none.
class FileDescriptor {
public:
    FileDescriptor() noexcept = default;
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor() {
        if (m_fd >= 0) {
            const NoCancellation whileClosing;
            close(m_fd);
        }
    }

    /// Takes ownership of a descriptor just opened; a negative `fd` gives an empty object. A
    /// descriptor 0-2 would receive other code's standard output, so it is duplicated above 2; if
    /// that fails, the result is empty and errno set.
    static FileDescriptor own(int fd) noexcept {
        FileDescriptor opened(fd);
        const bool isStandardStream = fd >= 0 && fd <= STDERR_FILENO;
        return isStandardStream ? FileDescriptor(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
                                : std::move(opened);
    }

    explicit operator bool() const noexcept { return m_fd >= 0; }
    int get() const noexcept { return m_fd; }
    /// Gives up ownership, and returns the descriptor.
    int release() noexcept { return std::exchange(m_fd, -1); }

private:
    explicit FileDescriptor(int fd) noexcept : m_fd(fd) {}

    int m_fd = -1;
};

} // namespace posix
