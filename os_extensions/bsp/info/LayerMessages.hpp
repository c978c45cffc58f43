#pragma once

#include "FileDescriptor.hpp"

#include <sstream>
#include <string>

#include <sys/mman.h>
#include <sys/stat.h>

namespace bspinfo {

/// Captures standard error as long as it lives: an answer says what is wrong, so the layer's
/// messages need not appear, and a unit's trace library may have no control of levels.
class LayerMessages {
public:
    LayerMessages()
        : m_standardError(
              posix::FileDescriptor::own(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO))),
          m_kept(posix::FileDescriptor::own(memfd_create("messages", MFD_CLOEXEC))) {
        if (m_kept) {
            dup2(m_kept.get(), STDERR_FILENO);
        }
    }
    ~LayerMessages() {
        if (m_standardError) {
            dup2(m_standardError.get(), STDERR_FILENO);
        } else {
            close(STDERR_FILENO); // it was closed before
        }
    }
    LayerMessages(const LayerMessages&) = delete;
    LayerMessages& operator=(const LayerMessages&) = delete;

    /// The text of the layer's first level-1 message, which names the cause of the later ones;
    /// empty if there is none, or if the trace library writes elsewhere.
    std::string firstError() const {
        constexpr const char* Function = "(): "; // before the text of a message
        std::istringstream messages(content());
        for (std::string line; std::getline(messages, line);) {
            const auto function = line.find(Function);
            if (line.starts_with("[bsp.core] 1 ") && function != std::string::npos) {
                return line.substr(function + 4);
            }
        }
        return "";
    }

private:
    std::string content() const {
        struct stat status {};
        fstat(m_kept.get(), &status);
        std::string text(static_cast<std::size_t>(status.st_size), '\0');
        const ssize_t count = pread(m_kept.get(), text.data(), text.size(), 0);
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    posix::FileDescriptor m_standardError;
    posix::FileDescriptor m_kept;
};

} // namespace bspinfo
