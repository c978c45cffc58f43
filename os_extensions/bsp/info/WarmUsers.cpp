#include "WarmUsers.hpp"

#include "WarmDatabase/Layout.hpp"
#include "WarmDatabase/RunRecord.hpp"
#include "WarmImage.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include <linux/futex.h>
#include <semaphore.h>
#include <unistd.h>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;
using std::to_string;

// Where the C library keeps shared memory, and semaphores under a longer name.
const std::string Folder = "/dev/shm";

// Empty when it may not be read; a process that has ended meanwhile uses nothing.
std::optional<std::string> contentOf(const std::filesystem::path& maps) {
    std::ifstream stream(maps);
    if (!stream && errno != ENOENT) {
        return std::nullopt;
    }
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

// A robust mutex has the number of its owner's thread in it, and is marked when that has died.
std::string ownerOf(const pthread_mutex_t& mutex) {
    const auto word = static_cast<std::uint32_t>(mutex.__data.__lock);
    const auto owner = static_cast<pid_t>(word & FUTEX_TID_MASK);
    if ((word & FUTEX_OWNER_DIED) != 0) {
        return "was held by a process that has died; the next one takes over";
    }
    if (owner == 0) {
        return "free";
    }
    const bool gone = kill(owner, 0) == -1 && errno == ESRCH;
    return "held by thread " + to_string(owner) + (gone ? ", which is not there any more" : "");
}

std::string describeSemaphore() {
    const void* const semaphore = mapForReading(Folder + "/sem.DtcmDbSharedSem", sizeof(sem_t));
    if (semaphore == nullptr) {
        return std::string("semaphore cannot be read: ") + std::strerror(errno);
    }
    int value = 0; // asking writes nothing
    sem_getvalue(static_cast<sem_t*>(const_cast<void*>(semaphore)), &value);
    return "semaphore " + to_string(value);
}

bool mapsWarmMemory(const std::string& maps) {
    return maps.find(SyncAreaName) != std::string::npos ||
           maps.find(RunRecordName) != std::string::npos ||
           maps.find(WarmAreaDevice) != std::string::npos;
}

} // namespace

std::string describeLock() {
    constexpr const char* Restarts[] = {"not asked for", "due", "handled"};
    const auto* const record =
        static_cast<const RunRecord*>(mapForReading(Folder + RunRecordName, sizeof(RunRecord)));
    if (record == nullptr) {
        return std::string("run record cannot be read: ") + std::strerror(errno) + ", " +
               describeSemaphore();
    }
    const auto restart =
        std::min<std::size_t>(static_cast<std::size_t>(record->coldRestart.load()), 2);
    return ownerOf(record->mutex) + ", " + describeSemaphore() + ", cold restart " +
           Restarts[restart];
}

std::string describeUsers() {
    std::string users;
    int hidden = 0;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        const std::string number = process.path().filename();
        if (!isNumber(number) || number == to_string(getpid())) {
            continue;
        }
        const auto maps = contentOf(process.path() / "maps");
        hidden += maps ? 0 : 1;
        if (maps && mapsWarmMemory(*maps)) {
            users += (users.empty() ? "" : ", ") + number;
        }
    }
    users = users.empty() ? "no process that can be looked at" : users;
    return hidden == 0 ? users : users + " (" + to_string(hidden) + " may not be looked at)";
}

std::string describeMutex(std::size_t cell) {
    static const auto* const area =
        static_cast<const SyncArea*>(mapForReading(Folder + SyncAreaName, sizeof(SyncArea)));
    if (area == nullptr) {
        return "-";
    }
    constexpr int Shared = 128; // the kind of an ordinary mutex of all processes
    const auto& mutex = area->mutexes[cell].__data;
    return mutex.__kind != Shared ? "noise" : mutex.__lock == 0 ? "free" : "locked";
}

} // namespace bspinfo
