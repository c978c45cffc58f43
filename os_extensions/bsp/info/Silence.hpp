#pragma once

#include "FileDescriptor.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace bspinfo {

/// While it lives, what the layer reports on standard error goes nowhere: an answer tells what is
/// wrong, and a unit's trace library may have no control of levels.
class Silence {
public:
    Silence()
        : m_standardError(
              posix::FileDescriptor::own(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO))) {
        const auto nowhere = posix::FileDescriptor::own(open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (m_standardError && nowhere) {
            dup2(nowhere.get(), STDERR_FILENO);
        }
    }
    ~Silence() {
        if (m_standardError) {
            dup2(m_standardError.get(), STDERR_FILENO);
        }
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    posix::FileDescriptor m_standardError;
};

} // namespace bspinfo
