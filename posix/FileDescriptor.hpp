#pragma once

#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace posix {

/// Switches cancellation of the thread off for its lifetime. close(), fclose() and write() are
/// cancellation points: in a destructor, which lets no exception pass, they would end the process.
/// The thread is cancelled at the next cancellation point behind.
class NoCancellation {
public:
    NoCancellation() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_state); }
    ~NoCancellation() { pthread_setcancelstate(m_state, nullptr); }
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

private:
    int m_state = PTHREAD_CANCEL_ENABLE;
};

/// Owns one descriptor, or none.
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

    /// Takes over what a call has just opened; a negative `fd` is none. In the place of a closed
    /// standard stream it would get what others write there: it is moved away from there, and
    /// where that fails, closed, with errno set.
    static FileDescriptor own(int fd) noexcept {
        FileDescriptor opened(fd);
        const bool isStandardStream = fd >= 0 && fd <= STDERR_FILENO;
        return isStandardStream ? FileDescriptor(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
                                : std::move(opened);
    }

    explicit operator bool() const noexcept { return m_fd >= 0; }
    int get() const noexcept { return m_fd; }
    /// The descriptor, which is no longer owned.
    int release() noexcept { return std::exchange(m_fd, -1); }

private:
    explicit FileDescriptor(int fd) noexcept : m_fd(fd) {}

    int m_fd = -1;
};

} // namespace posix
