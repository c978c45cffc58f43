/// bsp-warm: opens the warm database and stays. Whoever opens it first should live longest.
#include "FileDescriptor.hpp"
#include "bsp/Bsp.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// One datagram is all there is to it: a library for that would be the unit's largest dependency.
bool sendTo(std::string_view path, std::string_view message) {
    sockaddr_un address{};
    if (path.size() < 2 || path.size() >= sizeof address.sun_path) {
        errno = EINVAL;
        return false;
    }
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    if (path.front() == '@') {
        address.sun_path[0] = '\0'; // an abstract socket, as it is written
    }
    const auto socket = posix::FileDescriptor::own(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    return socket && sendto(
                         socket.get(), message.data(), message.size(), 0,
                         reinterpret_cast<const sockaddr*>(&address), length) >= 0;
}

// Where nobody has asked to be told, there is nobody to tell.
bool tellReady() {
    const char* const path = std::getenv("NOTIFY_SOCKET");
    return path == nullptr || sendTo(path, "READY=1");
}

} // namespace

int main(int argc, char** /*argv*/) {
    if (argc > 1) {
        std::fputs("Usage: bsp-warm\n", stderr);
        return 64;
    }
    if (WarmDatabase_getInfo(nullptr, 0) != 0) {
        return 1; // the trace tells why
    }
    if (!tellReady()) {
        std::perror("bsp-warm: NOTIFY_SOCKET");
        return 1;
    }
    // A signal ends it on the spot: what it has created stays for those who use it.
    while (true) {
        pause();
    }
}
