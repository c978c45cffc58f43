#include "WarmSharing.hpp"

#include "File.hpp"
#include "WarmDatabase/Layout.hpp"
#include "WarmDatabase/RunRecord.hpp"
#include "WarmImage.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <linux/futex.h>
#include <pthread.h>
#include <semaphore.h>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;
using std::to_string;

// Where the C library keeps shared memory; semaphores have the prefix "sem." there.
const std::string Folder = "/dev/shm";

constexpr int RobustSharedMutexKind = SharedMutexKind | 16;

// Volatile, because other processes write it meanwhile: the compiler must not read it twice.
template <class Word>
Word readOnce(const Word& word) {
    return static_cast<const volatile Word&>(word);
}

// For a thread that has ended, or that belongs to a container with its own pid namespace.
const char* absence(pid_t thread) {
    return kill(thread, 0) == -1 && errno == ESRCH ? ", not here" : "";
}

std::string describeMutex(const pthread_mutex_t& mutex) {
    const int word = readOnce(mutex.__data.__lock); // 2 if others may wait
    const int owner = readOnce(mutex.__data.__owner);
    if (readOnce(mutex.__data.__kind) != SharedMutexKind || word < 0 || word > 2) {
        return "noise";
    }
    if (word == 0) {
        return "free";
    }
    return owner <= 0 ? "locked" : "locked by " + to_string(owner) + absence(owner);
}

std::string numberAndName(const std::string& number) {
    const std::string name = posix::readFile("/proc/" + number + "/comm").value_or("");
    return name.empty() ? number : number + " " + name.substr(0, name.size() - 1);
}

// The lock word of a robust mutex contains its owner's thread id, and a flag if the owner has died.
std::string ownerOf(const pthread_mutex_t& mutex) {
    const auto word = static_cast<std::uint32_t>(readOnce(mutex.__data.__lock));
    const auto owner = static_cast<pid_t>(word & FUTEX_TID_MASK);
    if (readOnce(mutex.__data.__kind) != RobustSharedMutexKind) {
        return "noise";
    }
    if ((word & FUTEX_OWNER_DIED) != 0) {
        return "was held by a process that has died; the next one takes over";
    }
    return owner == 0 ? "free"
                      : "held by thread " + numberAndName(to_string(owner)) + absence(owner);
}

// A shared object that no process has created yet is an answer, too.
Answer absenceOf(const Mapping& object, const std::string& reason) {
    return object.exists ? unreadable(object.problem) : known("none: " + reason);
}

Answer describeSemaphore() {
    const Mapping semaphore =
        mapForReading(Folder + "/sem." + (DatabaseSemaphoreName + 1), sizeof(sem_t));
    if (semaphore.memory == nullptr) {
        return absenceOf(semaphore, "not created, or unlinked when its creator ended");
    }
    int value = 0; // sem_getvalue() writes nothing
    sem_getvalue(static_cast<sem_t*>(const_cast<void*>(semaphore.memory)), &value);
    return known(to_string(value), value);
}

template <class Value, std::size_t count>
Answer textOf(const char* const (&texts)[count], const std::atomic<Value>& place) {
    const auto index = static_cast<std::uint32_t>(place.load());
    return known(index < count ? texts[index] : "noise");
}

enum class Use { No, Yes, Hidden };

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

// A process that has ended in the meantime uses nothing.
Use useOf(const std::string& process) {
    const auto maps = posix::readFile("/proc/" + process + "/maps");
    if (!maps) {
        return errno == ENOENT || errno == ESRCH ? Use::No : Use::Hidden;
    }
    for (const char* const shared : {SyncAreaName, RunRecordName, WarmAreaDevice}) {
        if (maps->find(shared) != std::string::npos) {
            return Use::Yes;
        }
    }
    return Use::No;
}

std::string withHidden(const std::string& users, int hidden) {
    if (hidden == 0) {
        return users.empty() ? "none" : users;
    }
    return (users.empty() ? "none visible" : users) + " (" + to_string(hidden) +
           (hidden == 1 ? " process needs root)" : " processes need root)");
}

} // namespace

Answers describeLock() {
    constexpr const char* Progresses[] = {"away", "moving", "holding"};
    constexpr const char* Restarts[] = {"not asked for", "pending", "handled"};
    const std::string path = Folder + RunRecordName;
    const Mapping mapping = mapForReading(path, sizeof(RunRecord));
    const auto* const record = static_cast<const RunRecord*>(mapping.memory);
    if (record == nullptr) {
        return {
            {"lock", absenceOf(mapping, path + " does not exist")},
            {"semaphore", describeSemaphore()}};
    }
    return {
        {"lock", known(ownerOf(record->mutex))},
        {"progress", textOf(Progresses, record->progress)},
        {"semaphore", describeSemaphore()},
        {"cold-restart", textOf(Restarts, record->coldRestart)}};
}

std::vector<std::string> describeMutexes(Answer& problem) {
    const std::string path = Folder + SyncAreaName;
    const Mapping mapping = mapForReading(path, sizeof(SyncArea));
    if (mapping.memory == nullptr) {
        problem = absenceOf(mapping, path + " does not exist");
        return {};
    }
    const auto& mutexes = static_cast<const SyncArea*>(mapping.memory)->mutexes;
    std::vector<std::string> states;
    std::transform(
        std::begin(mutexes), std::end(mutexes), std::back_inserter(states), describeMutex);
    return states;
}

Answer describeUsers() {
    std::error_code error;
    const std::string self = std::filesystem::read_symlink("/proc/self", error);
    std::string users;
    int hidden = 0;
    std::filesystem::directory_iterator process("/proc", error);
    for (; !error && process != std::filesystem::directory_iterator(); process.increment(error)) {
        const std::string number = process->path().filename();
        const Use use = isNumber(number) && number != self ? useOf(number) : Use::No;
        hidden += use == Use::Hidden ? 1 : 0;
        if (use == Use::Yes) {
            users += (users.empty() ? "" : ", ") + numberAndName(number);
        }
    }
    return error ? unreadable("/proc: " + error.message()) : known(withHidden(users, hidden));
}

} // namespace bspinfo
