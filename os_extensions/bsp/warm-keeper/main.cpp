/// bsp-warm: opens the warm database and stays. The process that creates the shared objects unlinks
/// them when it exits, so it should be the one that lives longest.
#include "FileDescriptor.hpp"
#include "SharedObjects.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Sends one datagram: a library for it would be the unit's largest dependency.
bool sendTo(std::string_view path, std::string_view message) {
    sockaddr_un address{};
    if (path.size() < 2 || path.size() >= sizeof address.sun_path) {
        errno = EINVAL;
        return false;
    }
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    if (path.front() == '@') {
        address.sun_path[0] = '\0'; // "@" stands for the zero byte of an abstract socket
    }
    const auto socket = posix::FileDescriptor::own(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    return socket && sendto(
                         socket.get(), message.data(), message.size(), 0,
                         reinterpret_cast<const sockaddr*>(&address), length) >= 0;
}

// Without $NOTIFY_SOCKET no service manager is listening.
bool notifyReady() {
    const char* const path = std::getenv("NOTIFY_SOCKET");
    return path == nullptr || sendTo(path, "READY=1");
}

int print(const char* text) {
    return std::puts(text) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    constexpr const char* Usage = "Usage: bsp-warm [--help | --version]";
    const std::string_view option = argc == 2 ? argv[1] : "";
    if (option == "--help" || option == "-h") {
        return print(Usage);
    }
    if (option == "--version") {
        return print("bsp-warm " BSP_VERSION);
    }
    if (argc > 1) {
        std::fprintf(stderr, "%s\n", Usage);
        return 64;
    }
    std::string problem = keeper::shareDatabase();
    if (problem.empty() && !notifyReady()) {
        problem = std::string("NOTIFY_SOCKET: ") + std::strerror(errno);
    }
    // Ends without destructors, here or by a signal: the shared objects that it has created stay
    // for their users.
    if (!problem.empty()) {
        std::fprintf(stderr, "bsp-warm: %s\n", problem.c_str());
        std::_Exit(1);
    }
    while (true) {
        pause();
    }
}
