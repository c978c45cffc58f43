#include "QorConfig.hpp"

#include "File.hpp"
#include "FileLock.hpp"
#include "PlatformRoot.hpp"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace os::bsp {
namespace {

using posix::FileDescriptor;
using posix::FileLock;

// One writer at a time holds the lock, so one temporary name is enough; the next writer removes the
// file that a killed one left. No key begins with a dot.
constexpr const char* LockName = ".lock";
constexpr const char* NewValueName = ".new";

bool isFileName(std::string_view key) {
    return !key.empty() && key.front() != '.' && key.find('/') == std::string_view::npos;
}

FileDescriptor openFolder() {
    return FileDescriptor::own(
        open(platform::path("var/lib/qor/config").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// Only those who may write the folder may open its lock: a process that may only read could
// otherwise lock all writers out.
void shareLock(const FileDescriptor& folder, int lock) {
    struct stat status {};
    if (fstat(folder.get(), &status) == 0 &&
        (fchown(lock, status.st_uid, status.st_gid) == 0 ||
         fchown(lock, static_cast<uid_t>(-1), status.st_gid) == 0)) {
        fchmod(lock, (status.st_mode & 0222) << 1);
    }
}

FileDescriptor openLock(const FileDescriptor& folder) {
    return posix::openOrCreate([&](int flags) {
        const int lock = openat(
            folder.get(), LockName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, 0400);
        if (lock >= 0 && flags != 0) {
            shareLock(folder, lock);
        }
        return lock;
    });
}

bool writeWhole(const FileDescriptor& file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file.get(), text.data(), text.size());
        if (written == -1 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return true;
}

// A new value is readable for everybody, whatever the umask of its writer: every program of the
// unit reads the store. An existing value keeps its mode.
mode_t modeOf(const FileDescriptor& folder, const std::string& name) {
    struct stat status {};
    const bool isThere = fstatat(folder.get(), name.c_str(), &status, 0) == 0;
    return isThere && S_ISREG(status.st_mode) ? status.st_mode & 0777 : 0644;
}

bool writeNewValue(const FileDescriptor& folder, mode_t mode, std::string_view value) {
    // Remove a leftover instead of overwriting it: if power is lost during a rename, a flash file
    // system can keep both names for one file, and overwriting would change the value itself.
    unlinkat(folder.get(), NewValueName, 0);
    const FileDescriptor file = FileDescriptor::own(
        openat(folder.get(), NewValueName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    return file && fchmod(file.get(), mode) == 0 && writeWhole(file, value) &&
           fsync(file.get()) == 0;
}

[[noreturn]] void throwUnreadable(std::string_view key) {
    throw std::system_error(errno, std::generic_category(), "QorConfig: " + std::string(key));
}

} // namespace

std::string QorConfig::getValue(std::string_view key) const {
    if (!isFileName(key)) {
        errno = EINVAL;
        throwUnreadable(key);
    }
    auto text = posix::readFile(platform::path("var/lib/qor/config/" + std::string(key)));
    if (!text && errno != ENOENT) {
        throwUnreadable(key);
    }
    return text ? *std::move(text) : std::string(value::Empty);
}

bool QorConfig::setValue(std::string_view key, std::string_view value) {
    const std::string name(key);
    const FileDescriptor folder = openFolder();
    const FileDescriptor lockFile = openLock(folder);
    const FileLock lock(lockFile.get());
    if (!isFileName(key) || !lock) {
        return false;
    }
    if (!writeNewValue(folder, modeOf(folder, name), value) ||
        renameat(folder.get(), NewValueName, folder.get(), name.c_str()) == -1) {
        unlinkat(folder.get(), NewValueName, 0);
        return false;
    }
    return fsync(folder.get()) == 0;
}

bool QorConfig::clearValue(std::string_view key) {
    if (!isFileName(key)) {
        return false;
    }
    const std::string name(key);
    const FileDescriptor folder = openFolder();
    if (!folder) {
        return errno == ENOENT;
    }
    if (unlinkat(folder.get(), name.c_str(), 0) == 0) {
        return fsync(folder.get()) == 0;
    }
    // On a read-only file system unlinkat() fails even if there is no such file.
    return faccessat(folder.get(), name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == -1 &&
           errno == ENOENT;
}

} // namespace os::bsp
