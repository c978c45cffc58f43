// Processes die in the middle of any operation. The others must go on, and find intact objects.
#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "WarmDatabase/RunRecord.hpp"
#include "WarmImage.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <list>
#include <random>
#include <set>
#include <thread>
#include <tuple>

#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace test;

std::function<void()> whileReopening; // once

} // namespace

extern "C" BSP_EXPORT int sem_close(sem_t* sem) {
    if (const auto step = std::exchange(whileReopening, nullptr)) {
        step();
    }
    return original(sem_close, "sem_close")(sem);
}

namespace {

template <char Name>
void use() {
    EXPECT_EQ(Object({Name}).result, 0);
}

void createAgain() {
    void* data = nullptr;
    EXPECT_EQ(WarmDatabase_createObject("A", &data, 8), 0);
}

// Operates on the objects "A" and "B" in random order, for ever.
[[noreturn]] void useObjects(unsigned seed) {
    constexpr void (*Uses[])() = {createAgain, use<'A'>, use<'B'>};
    for (std::minstd_rand random(seed);;) {
        Uses[random() % 3]();
    }
}

// Expects only known objects, all of them zeroes except the slot's.
void expectWholeObjects(std::string_view bytes) {
    const auto& area = *reinterpret_cast<const os::bsp::dtcm::WarmArea*>(bytes.data());
    EXPECT_EQ(bspinfo::problemOf(area), "");
    for (const auto& block : area.blocks) {
        const std::string name(bspinfo::nameOf(block));
        EXPECT_TRUE(std::set<std::string>({"", "A", "B", "SLOT", "next"}).contains(name)) << name;
        const bool zeroes =
            std::count(std::begin(block.data), std::end(block.data), std::byte{0}) == 1520;
        EXPECT_TRUE(zeroes || name.empty() || name == "SLOT") << name;
    }
}

// Expects that a new process works without delay, and that each object is known, intact and present
// once, without a free block before it. Returns how often that process took over the lock of a dead
// one.
int expectSound() {
    const std::string log = logOf([] {
        alarm(30);
        EXPECT_EQ(Object("next").result, 0);
        EXPECT_NE(Bsp_getSlotId() & 1, 0); // not set, 1 or 3
        rusage waits{}; // for a millisecond each: their number does not depend on a busy machine
        getrusage(RUSAGE_SELF, &waits);
        EXPECT_LT(waits.ru_nvcsw, 1500);
    });
    expectWholeObjects(unit::readFile(unit::WarmArea));
    return countOf(log, "taken over");
}

// Prepares an orderly exit while four threads are in the middle of operations.
void exitWithBusyThreads(unsigned seed, unsigned long microseconds) {
    TolvTrace_setLevel("Bsp.WarmDatabase", 0);
    alarm(10);
    Object("A"); // takes over first whatever dead processes left
    for (unsigned thread = 0; thread < 4; ++thread) {
        std::thread(useObjects, 4 * seed + thread).detach();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

void killSelf() {
    kill(getpid(), SIGKILL);
}

void dieWithTheLock() {
    inChild([] {
        database().lock();
        killSelf();
    });
}

void changeRecord(std::size_t offset) {
    std::fstream record("/dev/shm/DtcmRun", std::ios::in | std::ios::out | std::ios::binary);
    record.seekp(static_cast<std::streamoff>(offset)).put(char{1});
}

void dieTakingTheLock() {
    dieWithTheLock();
    changeRecord(offsetof(os::bsp::dtcm::RunRecord, progress)); // Progress::Moving
}

// The next operation of each process reopens the semaphore, since the record names another one.
void renumber() {
    changeRecord(offsetof(os::bsp::dtcm::RunRecord, semaphore));
}

void useAndExit() {
    inChild(use<'A'>);
}

void nothing() {}

#ifdef __x86_64__ // 32-bit ARM kernels have no PTRACE_SINGLESTEP

// Returns the state that processes share, except most of the objects' data.
std::string sharedState() {
    std::string state;
    for (const auto& shared : std::filesystem::directory_iterator("/dev/shm")) {
        state += shared.path().string() + unit::readFile(shared.path());
    }
    std::string area = unit::readFile(unit::WarmArea);
    area.resize(32768);
    for (std::size_t block = 0; block < 21; ++block) {
        state += area[block * BlockSize] == '\0' ? "free" : area.substr(block * BlockSize, 64);
    }
    return state;
}

template <auto function, auto... arguments>
void call() {
    function(arguments...);
}

void dieInside() {
    inChild([] { use<'B'>(), killSelf(); });
}

struct Operation {
    const char* name;
    unit::Restart restart;
    void (*others)(); // other processes do this first
    void (*before)(); // then the victim does this
    void (*act)();    // and is killed while it does this
};

constexpr Operation Operations[] = {
    {"FirstColdStart", unit::Cold, nothing, nothing, use<'A'>},
    {"FirstWarmStart", unit::Warm, nothing, nothing, use<'A'>},
    {"LaterStart", unit::Warm, useAndExit, nothing, use<'A'>},
    {"Attaching", unit::Cold, dieInside, nothing, use<'A'>},
    {"CreatingAgain", unit::Warm, nothing, use<'A'>, createAgain},
    {"FirstSlotUse", unit::Warm, nothing, use<'B'>, call<Bsp_getSlotId>},
    {"GettingTheSlot", unit::Warm, nothing, call<Bsp_setSlotId, 1>, call<Bsp_getSlotId>},
    {"SettingTheSlot", unit::Warm, nothing, call<Bsp_setSlotId, 1>, call<Bsp_setSlotId, 3>},
    {"ExitOfTheCreator", unit::Warm, nothing, use<'A'>, call<std::exit, 0>},
    {"TakingOver", unit::Warm, dieWithTheLock, nothing, use<'A'>},
    {"TakingOverAnOrphan", unit::Warm, dieTakingTheLock, nothing, use<'A'>},
};

// Runs the process to its next stop of this kind; false if it has ended.
bool go(const Child& victim, __ptrace_request kind) {
    int status = 0;
    ptrace(kind, victim.pid(), nullptr, nullptr);
    waitpid(victim.pid(), &status, 0);
    return WIFSTOPPED(status);
}

Child startVictim(const Operation& operation) {
    const bool cold = operation.restart == unit::Cold;
    unit::restart(operation.restart, cold ? unit::noise(32768) : unit::areaOf(""));
    operation.others();
    return Child([&] {
        operation.before();
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        operation.act();
        _exit(0);
    });
}

// A moment of an operation: the number of system calls so far, and of instructions since the last
// one.
struct Moment {
    int calls;
    int instructions;
};

std::vector<Moment> momentsOfChange(const Operation& operation) {
    const Child victim = startVictim(operation);
    victim.waitForStop();
    std::set<std::string> states;
    std::vector<Moment> moments;
    for (Moment now{}; go(victim, PTRACE_SINGLESTEP);) {
        const auto call = offsetof(user, regs.orig_rax); // not negative after a system call
        const bool called = ptrace(PTRACE_PEEKUSER, victim.pid(), call, nullptr) >= 0;
        now = {now.calls + (called ? 1 : 0), called ? 0 : now.instructions + 1};
        if (states.insert(sharedState()).second) {
            moments.push_back(now);
        }
    }
    return moments;
}

void dieAt(const Moment& moment, const Operation& operation) {
    const Child victim = startVictim(operation);
    victim.waitForStop();
    for (int i = 0; i < 2 * moment.calls; ++i) {
        go(victim, PTRACE_SYSCALL); // two stops per call: entry and exit
    }
    for (int i = 0; i < moment.instructions; ++i) {
        go(victim, PTRACE_SINGLESTEP);
    }
}

class SteppedDeath : public testing::TestWithParam<Operation> {};

TEST_P(SteppedDeath, AtEverySharedStateStopsNobody) {
    const std::vector<Moment> moments = momentsOfChange(GetParam());
    ASSERT_GT(moments.size(), 1U);
    for (const Moment& moment : moments) {
        dieAt(moment, GetParam());
        expectSound();
        ASSERT_FALSE(HasFailure()) << &moment - moments.data();
    }
}

INSTANTIATE_TEST_SUITE_P(
    In, SteppedDeath, testing::ValuesIn(Operations),
    [](const auto& operation) { return std::string(operation.param.name); });

#endif

// Runs a process that holds a handle of a semaphore when its name is unlinked; it then runs `then`.
// Other processes run `before` and `after` the unlinking. Returns how the process ended.
Outcome onAnOlderSemaphore(
    const std::function<void()>& before, const std::function<void()>& after,
    const std::function<void()>& then) {
    unit::restart(unit::Warm, "");
    Child maker([] { use<'A'>(), raise(SIGSTOP); });
    maker.waitForStop();
    Child old([&] { use<'A'>(), raise(SIGSTOP), alarm(20), then(); });
    old.waitForStop();
    before();
    kill(maker.pid(), SIGCONT);
    maker.wait();
    after();
    kill(old.pid(), SIGCONT);
    return old.wait();
}

void useOften() {
    for (int maker = 0; maker < 33; ++maker) {
        useAndExit();
    }
}

TEST(Death, WithAnOlderOrALaterSemaphoreStopsNobody) {
    const std::tuple<void (*)(), void (*)(), int> deaths[] = {
        {dieWithTheLock, nothing, 1},        {nothing, dieWithTheLock, 1},
        {dieWithTheLock, dieWithTheLock, 1}, {dieWithTheLock, useOften, 0},
        {dieTakingTheLock, useOften, 0},     {useOften, dieTakingTheLock, 1},
    };
    for (const auto& [before, after, takeOvers] : deaths) {
        const Outcome old = onAnOlderSemaphore(before, after, use<'B'>);
        EXPECT_EQ(old.status, 0) << old.err;
        EXPECT_EQ(countOf(old.err, "taken over"), takeOvers);
        EXPECT_EQ(expectSound(), 0);
    }
}

TEST(Semaphore, FailureToReopenItIsReportedOnceAndTheMutexSuffices) {
    const Outcome old = onAnOlderSemaphore(nothing, useAndExit, [] {
        limit(RLIMIT_NOFILE, 0);
        use<'B'>();
        use<'B'>();
    });
    EXPECT_EQ(old.status, 0);
    EXPECT_EQ(countOf(old.err, " 1 "), 1) << old.err;
    EXPECT_EQ(countOf(old.err, "lock(): error in sem_open error: "), 1) << old.err;
    expectSound();
}

// The thread that reopens holds two locks: the layer's own, and the C library's of its list of
// semaphores.
TEST(Semaphore, CanBeReopenedByAChildForkedWhileAnotherThreadReopensIt) {
    unit::restart(unit::Warm, "");
    use<'A'>();
    std::thread forking;
    Outcome child{};
    whileReopening = [&] {
        forking = std::thread([&] {
            child = inChild([] {
                alarm(20);
                use<'B'>(); // waits until the other thread has given back the lock
                renumber();
                use<'B'>();
            });
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    };
    renumber();
    use<'A'>();
    forking.join();
    EXPECT_EQ(child.status, 0) << child.err;
}

// scripts/soak runs it for minutes, with more processes.
TEST(Death, AtRandomMomentsLosesNothing) {
    const char* const minutes = std::getenv("BSP_SOAK_MINUTES");
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::minutes(minutes != nullptr ? atoi(minutes) : 0);
    const unsigned victimsInARound = minutes != nullptr ? 8 : 2;
    std::minstd_rand random(1);
    unsigned kills = 0;
    int takeOvers = 0;
    for (unsigned round = 0; round < 60 || std::chrono::steady_clock::now() < end; ++round) {
        if (round % 50 == 0) {
            unit::restart(
                round % 100 == 0 ? unit::Cold : unit::Warm, unit::readFile(unit::WarmArea));
        }
        Child busy([&] { exitWithBusyThreads(round, random() % 1000); });
        std::list<Child> victims;
        while (victims.size() < victimsInARound) {
            victims.emplace_back([&] { useObjects(++kills); });
            ++kills;
        }
        for (; !victims.empty(); victims.pop_front()) { // the destructor kills the process
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000));
        }
        const Outcome outcome = busy.wait();
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        takeOvers += expectSound();
        ASSERT_FALSE(HasFailure()) << "kill " << kills;
    }
    std::printf("%u kills, %d take-overs\n", kills, takeOvers);
}

} // namespace
