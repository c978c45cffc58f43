// Compares the warm database with Boost.Interprocess, with 21 objects in each. Run it on a virtual
// unit; it fills the unit's warm area.
#include "bsp/Bsp.h"

#include <benchmark/benchmark.h>
#include <boost/interprocess/managed_shared_memory.hpp>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace ipc = boost::interprocess;

using Object = std::array<char, 1520>;

constexpr const char* SegmentName = "benchmark";
constexpr const char* LastObject = "object 20";

// Ends the program if an operation failed, for example on a machine without a warm area.
void require(bool success) {
    if (!success) {
        std::fputs("warm_benchmark: an operation failed; run it on a virtual unit\n", stderr);
        std::_Exit(1);
    }
}

void makeObjects() {
    ipc::shared_memory_object::remove(SegmentName);
    ipc::managed_shared_memory segment(ipc::create_only, SegmentName, 65536);
    segment.construct<Object>("SLOT")();
    Bsp_getSlotId();
    for (int i = 1; i < 21; ++i) {
        const std::string name = "object " + std::to_string(i);
        void* data = nullptr;
        WarmDatabase_createObject(name.c_str(), &data, sizeof(Object));
        segment.construct<Object>(name.c_str())();
    }
}

// Starts a process that creates the shared objects and stays, so that they are not unlinked.
pid_t startKeeper() {
    int ready[2];
    require(pipe(ready) == 0);
    const pid_t keeper = fork();
    if (keeper == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        makeObjects();
        close(ready[1]);
        pause();
        _exit(0);
    }
    close(ready[1]);
    char none = 0;
    while (read(ready[0], &none, 1) > 0) {
    }
    return keeper;
}

ipc::managed_shared_memory& segment() {
    static ipc::managed_shared_memory opened(ipc::open_only, SegmentName);
    return opened;
}

// The operations to measure.

void retrieve() {
    void* data = nullptr;
    require(WarmDatabase_retrieveObject(LastObject, &data, sizeof(Object)) == 0);
}

void boostFind() {
    require(segment().find<Object>(LastObject).first != nullptr);
}

void findOrCreate() {
    void* data = nullptr;
    void* sync = nullptr;
    bool created = false;
    WarmDatabase_getObjectData(LastObject, &data, sizeof(Object), &sync, &created);
    require(data != nullptr && !created);
}

void boostFindOrConstruct() {
    require(segment().find_or_construct<Object>(LastObject)() != nullptr);
}

void getSlotId() {
    benchmark::DoNotOptimize(Bsp_getSlotId());
}

/// Shared by all processes of this program: locks to compare with, and the state of a measurement.
struct Shared {
    Shared() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutex_init(&mutex, &attributes);
        sem_init(&semaphore, 1, 1);
    }
    pthread_mutex_t mutex;
    sem_t semaphore;
    std::atomic<bool> done = false;
    std::atomic<std::int64_t> operations = 0;
};

Shared& shared() {
    static auto* const made = new (mmap(
        nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared;
    return *made;
}

void mutexAlone() {
    pthread_mutex_lock(&shared().mutex);
    benchmark::ClobberMemory();
    pthread_mutex_unlock(&shared().mutex);
}

void semaphoreAlone() {
    sem_wait(&shared().semaphore);
    benchmark::ClobberMemory();
    sem_post(&shared().semaphore);
}

template <void operation()>
void alone(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        operation();
    }
}

// While this process measures, others run the same operation; the operations of all are counted.
template <void operation()>
void together(benchmark::State& state) {
    shared().done = false;
    shared().operations = 0;
    std::vector<pid_t> others(static_cast<std::size_t>(state.range(0) - 1));
    for (pid_t& other : others) {
        other = fork();
        if (other == 0) {
            std::int64_t done = 0;
            for (; !shared().done; ++done) {
                operation();
            }
            shared().operations += done;
            _exit(0);
        }
    }
    alone<operation>(state);
    shared().done = true;
    for (const pid_t other : others) {
        waitpid(other, nullptr, 0);
    }
    state.SetItemsProcessed(state.iterations() + shared().operations);
}

BENCHMARK(alone<retrieve>);
BENCHMARK(alone<boostFind>);
BENCHMARK(alone<findOrCreate>);
BENCHMARK(alone<boostFindOrConstruct>);
BENCHMARK(alone<getSlotId>);
BENCHMARK(alone<mutexAlone>);
BENCHMARK(alone<semaphoreAlone>);
BENCHMARK(together<retrieve>)->Arg(2)->Arg(4)->UseRealTime();
BENCHMARK(together<boostFind>)->Arg(2)->Arg(4)->UseRealTime();
BENCHMARK(together<findOrCreate>)->Arg(2)->Arg(4)->UseRealTime();
BENCHMARK(together<semaphoreAlone>)->Arg(2)->Arg(4)->UseRealTime();

} // namespace

int main(int argc, char** argv) { // NOLINT(bugprone-exception-escape): an exception may end it
    benchmark::Initialize(&argc, argv);
    const pid_t keeper = startKeeper();
    benchmark::RunSpecifiedBenchmarks();
    kill(keeper, SIGKILL);
    waitpid(keeper, nullptr, 0);
    return 0;
}
