#include "SharedObjects.hpp"

#include "DDevIo.h"
#include "FileDescriptor.hpp"
#include "WarmDatabase/Layout.hpp"
#include "WarmDatabase/RunRecord.hpp"
#include "bsp/Bsp.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <set>
#include <utility>

#include <sys/mman.h>
#include <sys/stat.h>

namespace keeper {
namespace {

using namespace os::bsp::dtcm;
using posix::FileDescriptor;

// Whether this process has the open file mapped for writing, as the database maps its shared
// objects. The probe mapping shows the device and inode that /proc/self/maps lists for the file: on
// some file systems they differ from those of fstat().
bool isShared(int file) {
    void* const probe = mmap(nullptr, 1, PROT_READ, MAP_SHARED, file, 0);
    if (probe == MAP_FAILED) {
        return false;
    }
    using File = std::pair<std::string, std::string>; // device and inode
    std::set<File> writable;
    File sought;
    std::ifstream mappings("/proc/self/maps");
    std::array<std::string, 6> column;
    while (mappings >> column[0] >> column[1] >> column[2] >> column[3] >> column[4] &&
           getline(mappings, column[5])) {
        const File mapped(column[3], column[4]);
        if (std::stoull(column[0], nullptr, 16) == reinterpret_cast<std::uintptr_t>(probe)) {
            sought = mapped;
        } else if (column[1] == "rw-s") {
            writable.insert(mapped);
        }
    }
    munmap(probe, 1);
    return writable.contains(sought);
}

// In between, the mode never has more bits than before, nor more than the device has.
bool giveRights(int object, const struct stat& device) {
    struct stat now {};
    const mode_t wanted = device.st_mode & 0666;
    if (fstat(object, &now) == -1) {
        return false;
    }
    const bool isGiven = now.st_uid == device.st_uid && now.st_gid == device.st_gid &&
                         (now.st_mode & 07777) == wanted;
    return isGiven ||
           (fchmod(object, now.st_mode & wanted) == 0 &&
            fchown(object, device.st_uid, device.st_gid) == 0 && fchmod(object, wanted) == 0);
}

std::string because(const std::string& what, int error) {
    return what + ": " + std::strerror(error);
}

// Opens the object by its name only once, so it changes the object that this process has mapped.
std::string share(const char* what, const std::string& name, const struct stat& device) {
    const std::string text = std::string(what) + " /dev/shm" + name;
    const auto object = FileDescriptor::own(shm_open(name.c_str(), O_RDONLY | O_NONBLOCK, 0));
    if (!object) {
        return because(text, errno);
    }
    if (!isShared(object.get())) {
        return text + ": the database could not use it";
    }
    return giveRights(object.get(), device) ? "" : because(text, errno);
}

// Checked before anything is created: if the rights of a new object could not be given away, it
// would keep all other users out.
bool mayGiveRights(const struct stat& device) {
    const auto scratch = FileDescriptor::own(memfd_create("rights", MFD_CLOEXEC));
    return scratch && giveRights(scratch.get(), device);
}

} // namespace

std::string shareDatabase() {
    const std::string area = std::string("warm area ") + WarmAreaDevice;
    const int handle = DDevIo_open(WarmAreaDevice); // stays open, as the database does
    if (handle < 0) {
        return because(area, -handle);
    }
    struct stat device {};
    if (fstat(DDevIo_getFileDescriptor(handle), &device) == -1) {
        return because(area, errno);
    }
    if (!mayGiveRights(device)) {
        return because("the device's owner and group for shared objects", errno);
    }
    umask(077);
    WarmDatabase_getInfo(nullptr, 0);
    if (!isShared(DDevIo_getFileDescriptor(handle))) {
        return area + ": cannot be mapped";
    }
    std::string missing;
    for (const auto& [what, name] :
         {std::pair{"lock", std::string("/sem.") + (DatabaseSemaphoreName + 1)},
          {"mutexes", SyncAreaName},
          {"run record", RunRecordName}}) {
        const std::string problem = share(what, name, device);
        missing += (missing.empty() || problem.empty() ? "" : ", ") + problem;
    }
    return missing;
}

} // namespace keeper
