// The warm database beside Boost.Interprocess, with 21 objects in either. To be run on a virtual
// unit: it fills the unit's warm area.
#include "bsp/Bsp.h"

#include <benchmark/benchmark.h>
#include <boost/interprocess/managed_shared_memory.hpp>

#include <array>
#include <chrono>
#include <csignal>
#include <string>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace ipc = boost::interprocess;

using Object = std::array<char, 1520>;

constexpr const char* SegmentName = "benchmark";
constexpr const char* LastObject = "object 20";

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

// A process that keeps the shared objects' names while others come and go.
pid_t startKeeper() {
    int ready[2];
    if (pipe(ready) == -1) {
        std::abort();
    }
    const pid_t keeper = fork();
    if (keeper == 0) {
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

template <class Action>
double secondsInChild(Action action) {
    int result[2];
    if (pipe(result) == -1) {
        std::abort();
    }
    const pid_t child = fork();
    if (child == 0) {
        const auto begin = std::chrono::steady_clock::now();
        action();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        const double seconds = taken.count();
        _exit(write(result[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
    }
    double seconds = 0;
    const bool whole = read(result[0], &seconds, sizeof seconds) == sizeof seconds;
    close(result[0]);
    close(result[1]);
    waitpid(child, nullptr, 0);
    return whole ? seconds : 1;
}

void attachToDatabase(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        state.SetIterationTime(secondsInChild([] {
            void* data = nullptr;
            WarmDatabase_retrieveObject(LastObject, &data, sizeof(Object));
        }));
    }
}

void attachToBoostSegment(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        state.SetIterationTime(secondsInChild([] {
            ipc::managed_shared_memory segment(ipc::open_only, SegmentName);
            benchmark::DoNotOptimize(segment.find<Object>(LastObject));
        }));
    }
}

ipc::managed_shared_memory& segment() {
    static ipc::managed_shared_memory opened(ipc::open_only, SegmentName);
    return opened;
}

void retrieve(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        void* data = nullptr;
        WarmDatabase_retrieveObject(LastObject, &data, sizeof(Object));
        benchmark::DoNotOptimize(data);
    }
}

void boostFind(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(segment().find<Object>(LastObject));
    }
}

void findOrCreate(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        void* data = nullptr;
        void* sync = nullptr;
        bool created = false;
        WarmDatabase_getObjectData(LastObject, &data, sizeof(Object), &sync, &created);
        benchmark::DoNotOptimize(data);
    }
}

void boostFindOrConstruct(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(segment().find_or_construct<Object>(LastObject)());
    }
}

void getSlotId(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(Bsp_getSlotId());
    }
}

void lockAndUnlock(benchmark::State& state) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    static pthread_mutex_t mutex;
    pthread_mutex_init(&mutex, &attributes);
    for ([[maybe_unused]] auto _ : state) {
        pthread_mutex_lock(&mutex);
        benchmark::ClobberMemory();
        pthread_mutex_unlock(&mutex);
    }
}

// Processes are attached before this one has a connection that they would inherit.
BENCHMARK(attachToDatabase)->UseManualTime();
BENCHMARK(attachToBoostSegment)->UseManualTime();
BENCHMARK(retrieve);
BENCHMARK(boostFind);
BENCHMARK(findOrCreate);
BENCHMARK(boostFindOrConstruct);
BENCHMARK(getSlotId);
BENCHMARK(lockAndUnlock);

} // namespace

int main(int argc, char** argv) { // NOLINT(bugprone-exception-escape): it may end so
    benchmark::Initialize(&argc, argv);
    const pid_t keeper = startKeeper();
    benchmark::RunSpecifiedBenchmarks();
    kill(keeper, SIGKILL);
    waitpid(keeper, nullptr, 0);
    return 0;
}
