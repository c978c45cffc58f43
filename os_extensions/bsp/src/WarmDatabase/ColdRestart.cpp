#include "ColdRestart.hpp"

#include "DatabaseLog.hpp"
#include "FileDescriptor.hpp"
#include "Layout.hpp"

#include <array>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace os::bsp::dtcm::cold_restart {
namespace {

using posix::FileDescriptor;

constexpr const char* BootIdFile = "/proc/sys/kernel/random/boot_id";
constexpr std::size_t BootIdLength = 36;

// Empty when it cannot be read.
std::string readBootId(const FileDescriptor& file) {
    std::array<char, BootIdLength> text{};
    const bool whole =
        file && read(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    return whole ? std::string(text.begin(), text.end()) : std::string();
}

std::string currentBootId() {
    return readBootId(FileDescriptor::own(open(BootIdFile, O_RDONLY | O_CLOEXEC)));
}

} // namespace

bool isHandled() {
    const std::string marked =
        readBootId(FileDescriptor::own(shm_open(ColdRestartDoneName, O_RDONLY, 0)));
    return !marked.empty() && marked == currentBootId();
}

void markHandled() {
    const std::string bootId = currentBootId();
    if (bootId.empty()) {
        BSP_LOG(databaseLog(), 2, "could not read ", BootIdFile);
        return;
    }
    const FileDescriptor marker =
        FileDescriptor::own(shm_open(ColdRestartDoneName, O_CREAT | O_WRONLY | O_TRUNC, 0644));
    // Whoever creates the lock next must be able to read it, whatever this process's umask.
    if (!marker || fchmod(marker.get(), 0644) == -1 ||
        write(marker.get(), bootId.data(), bootId.size()) == -1) {
        BSP_LOG(
            databaseLog(), 2, "could not leave the marker ", ColdRestartDoneName, ": ",
            std::strerror(errno));
    }
}

} // namespace os::bsp::dtcm::cold_restart
