#include "Revision.hpp"

#include "Log.hpp"

#include <unistd.h>

ssize_t Bsp_readHelper(int fd, void* buffer, std::size_t count) {
    auto* position = static_cast<char*>(buffer);
    std::size_t remaining = count;
    do {
        const ssize_t result = read(fd, position, remaining);
        BSP_LOG(os::bsp::coreLog(), 7, "Read ", result, " bytes");
        if (result == 0) {
            break;
        }
        if (result > 0) {
            position += result;
            remaining -= static_cast<std::size_t>(result);
        } else if (errno == EINTR) {
            BSP_LOG(os::bsp::coreLog(), 4, "read was interrupted. Retrying...");
        } else {
            return -1;
        }
    } while (remaining > 0);
    return static_cast<ssize_t>(count - remaining);
}
