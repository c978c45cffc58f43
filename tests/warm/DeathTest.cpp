// Processes that die, in the middle of whatever they do: the others go on, and find whole objects.
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

// How many more allocations of this process succeed; below zero all do.
constinit thread_local int allocationsLeft = -1;

} // namespace

extern "C" {
void* __libc_malloc(std::size_t size); // NOLINT

// In the C library's place.
BSP_EXPORT void* malloc(std::size_t size) {
    if (allocationsLeft == 0) {
        errno = ENOMEM;
        return nullptr;
    }
    allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
    return __libc_malloc(size);
}
}

namespace {

using namespace test;
using namespace std::chrono_literals;

// Creates or retrieves, and finds or creates the objects "A" and "B", for ever.
[[noreturn]] void useObjects(unsigned seed) {
    for (std::minstd_rand random(seed);;) {
        const char* const name = random() % 2 == 0 ? "A" : "B";
        void* data = nullptr;
        const auto operation =
            random() % 2 == 0 ? WarmDatabase_createObject : WarmDatabase_retrieveObject;
        operation(name, &data, 8);
        const Object object(name);
    }
}

// But for the slot's, the objects are zeroes.
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

// In which this process could have run: a busy machine's doing, not the layer's.
std::chrono::nanoseconds timeWithoutProcessor() {
    const std::string times = unit::readFile("/proc/self/schedstat") + " 0"; // or no such file
    return std::chrono::nanoseconds(std::stoll(times.substr(times.find(' '))));
}

// A new process works at once, on objects that are known, whole, there once and without a hole.
// How often it has taken over the lock from somebody who died.
int expectSound() {
    const std::string log = logOf([] {
        alarm(30);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(Object("next").result, 0);
        EXPECT_NE(Bsp_getSlotId() & 1, 0); // not set, 1 or 3
        EXPECT_LT(std::chrono::steady_clock::now() - begin - timeWithoutProcessor(), 2s);
    });
    expectWholeObjects(unit::readFile(unit::WarmArea));
    return countOf(log, "taken over");
}

// An orderly exit, with four threads in the middle of something.
void exitWithBusyThreads(unsigned seed, unsigned long microseconds) {
    TolvTrace_setLevel("Bsp.WarmDatabase", 0);
    alarm(10);
    Object("A"); // which waits for what others have left
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

void dieTakingTheLock() {
    dieWithTheLock();
    std::fstream record("/dev/shm/DtcmRun", std::ios::in | std::ios::out | std::ios::binary);
    record.seekp(offsetof(os::bsp::dtcm::RunRecord, progress)).put(char{1}); // Progress::Moving
}

template <char Name>
void use() {
    EXPECT_EQ(Object({Name}).result, 0);
}

void useAndExit() {
    inChild(use<'A'>);
}

void nothing() {}

#ifdef __x86_64__ // where a program can be stepped through

std::string contentOf(const std::filesystem::path& folder) {
    std::string content;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        content += file.path().string() + unit::readFile(file.path());
    }
    return content;
}

// What all processes see of each other, but for most of the objects' data.
std::string sharedState() {
    std::string state = contentOf("/dev/shm");
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

void createAgain() {
    void* data = nullptr;
    EXPECT_EQ(WarmDatabase_createObject("A", &data, 8), 0);
}

void dieInside() {
    inChild([] { use<'B'>(), killSelf(); });
}

// A warm area of noise, with or without names.
std::string areaAt(unit::Restart restart) {
    std::string area = restart == unit::Warm ? "" : unit::noise(32768);
    for (std::size_t block = 0; restart == unit::Unknown && block < 21; ++block) {
        area[block * BlockSize] = '\0';
    }
    return area;
}

struct Operation {
    const char* name;
    unit::Restart restart;
    void (*others)(); // do this before
    void (*before)(); // the victim does this
    void (*act)();    // it is killed while it does this
};

constexpr Operation Operations[] = {
    {"FirstColdStart", unit::Cold, nothing, nothing, use<'A'>},
    {"FirstWarmStart", unit::Warm, nothing, nothing, use<'A'>},
    {"FirstStartWithNoise", unit::Unknown, nothing, nothing, use<'A'>},
    {"LaterStart", unit::Warm, useAndExit, nothing, use<'A'>},
    {"Attaching", unit::Cold, dieInside, nothing, use<'A'>},
    {"CreatingAgain", unit::Warm, nothing, use<'A'>, createAgain},
    {"CreatingAnother", unit::Warm, nothing, use<'B'>, use<'A'>},
    {"FindingOne", unit::Warm, nothing, use<'A'>, use<'A'>},
    {"FirstSlotUse", unit::Warm, nothing, use<'B'>, call<Bsp_getSlotId>},
    {"GettingTheSlot", unit::Warm, nothing, call<Bsp_setSlotId, 1>, call<Bsp_getSlotId>},
    {"SettingTheSlot", unit::Warm, nothing, call<Bsp_setSlotId, 1>, call<Bsp_setSlotId, 3>},
    {"ExitOfTheMaker", unit::Warm, nothing, use<'A'>, call<std::exit, 0>},
    {"TakingOver", unit::Warm, dieWithTheLock, nothing, use<'A'>},
    {"TakingOverAnOrphan", unit::Warm, dieTakingTheLock, nothing, use<'A'>},
};

// A process that does an operation step by step, until it is killed.
class Victim {
public:
    explicit Victim(const Operation& operation)
        : m_child([&] {
              operation.before();
              ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
              raise(SIGSTOP);
              operation.act();
              _exit(0);
          }) {
        waitpid(m_child.pid(), nullptr, 0);
    }

    /// To its next stop of this kind; false when it has ended.
    bool go(__ptrace_request kind) const {
        int status = 0;
        ptrace(kind, m_child.pid(), nullptr, nullptr);
        waitpid(m_child.pid(), &status, 0);
        return WIFSTOPPED(status);
    }

    /// Whether the step that has just been made was one.
    bool hasCalledTheSystem() const {
        const auto number = offsetof(user, regs.orig_rax);
        return ptrace(PTRACE_PEEKUSER, m_child.pid(), number, nullptr) >= 0;
    }

private:
    Child m_child;
};

// After so many system calls, and so many instructions since the last of them.
struct Moment {
    int calls;
    int instructions;
};

class SteppedDeath : public testing::TestWithParam<Operation> {
protected:
    static Victim prepare() {
        const Operation& operation = GetParam();
        unit::restart(operation.restart, areaAt(operation.restart));
        operation.others();
        return Victim(operation);
    }

    static std::vector<Moment> momentsOfChange() {
        const Victim victim = prepare();
        std::set<std::string> states;
        std::vector<Moment> moments;
        for (Moment now{}; victim.go(PTRACE_SINGLESTEP);) {
            const bool called = victim.hasCalledTheSystem();
            now = called ? Moment{now.calls + 1, 0} : Moment{now.calls, now.instructions + 1};
            if (states.insert(sharedState()).second) {
                moments.push_back(now);
            }
        }
        return moments;
    }
};

TEST_P(SteppedDeath, AtEveryStateOfWhatIsSharedStopsNobody) {
    const std::vector<Moment> moments = momentsOfChange();
    ASSERT_GT(moments.size(), 1U);
    for (const Moment& moment : moments) {
        {
            const Victim victim = prepare();
            for (int i = 0; i < 2 * moment.calls; ++i) {
                victim.go(PTRACE_SYSCALL); // to its begin, and to its end
            }
            for (int i = 0; i < moment.instructions; ++i) {
                victim.go(PTRACE_SINGLESTEP);
            }
        }
        expectSound();
        ASSERT_FALSE(HasFailure()) << &moment - moments.data();
    }
}

INSTANTIATE_TEST_SUITE_P(
    In, SteppedDeath, testing::ValuesIn(Operations),
    [](const auto& operation) { return std::string(operation.param.name); });

#endif

// Runs to the point where it stops itself.
void waitForStop(const Child& child) {
    siginfo_t state{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child.pid()), &state, WSTOPPED | WNOWAIT), 0);
}

// How a process ends that does `then` when its semaphore has lost the name, and others have done
// something before and after that.
Outcome onAnOlderSemaphore(
    const std::function<void()>& before, const std::function<void()>& after,
    const std::function<void()>& then) {
    unit::restart(unit::Warm, "");
    Child maker([] { use<'A'>(), raise(SIGSTOP); });
    waitForStop(maker);
    Child old([&] { use<'A'>(), raise(SIGSTOP), alarm(20), then(); });
    waitForStop(old);
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

TEST(Semaphore, ThatCannotBeOpenedAgainLeavesTheMutex) {
    const Outcome old = onAnOlderSemaphore(nothing, useAndExit, [] {
        const rlimit none{};
        setrlimit(RLIMIT_NOFILE, &none);
        use<'B'>();
        use<'B'>();
    });
    EXPECT_EQ(old.status, 0);
    EXPECT_EQ(countOf(old.err, " 1 "), 1) << old.err;
    EXPECT_EQ(countOf(old.err, "lock(): error in sem_open error: "), 1) << old.err;
    expectSound();
}

// The C library's list of semaphores is locked in that moment.
TEST(Semaphore, CanBeUsedByAChildForkedWhileAnotherThreadOpensIt) {
    unit::restart(unit::Warm, "");
    use<'A'>();
    std::thread([] {
        while (true) { // the record names another one
            std::fstream record(
                "/dev/shm/DtcmRun", std::ios::in | std::ios::out | std::ios::binary);
            record.seekp(offsetof(os::bsp::dtcm::RunRecord, semaphore)).put(char{1}).flush();
            use<'A'>();
        }
    }).detach();
    for (int child = 0; child < 150; ++child) {
        ASSERT_EQ(inChild([] { alarm(20), use<'B'>(), killSelf(); }).status, -SIGKILL) << child;
    }
}

// Whatever memory runs out for in a first process, the next one finds a clean area.
TEST(Death, OfMemoryInAFirstStart) {
    bool failed = true;
    for (int enough = 0; failed && !HasFailure(); ++enough) {
        unit::restart(unit::Cold, unit::noise(32768));
        failed = inChild([enough] {
                     allocationsLeft = enough;
                     Object("A");
                     _exit(allocationsLeft == 0 ? 1 : 0);
                 }).status != 0;
        expectSound();
    }
}

// scripts/soak asks for minutes of it, with more processes.
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
        for (; !victims.empty(); victims.pop_front()) { // which kills it
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000));
        }
        const Outcome outcome = busy.wait();
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        takeOvers += expectSound();
        ASSERT_FALSE(HasFailure()) << "kill " << kills;
    }
    std::printf("%u kills, %d take-overs\n", kills, takeOvers);
}

TEST(Death, OfAProcessWithBusyThreadsIsAnOrderlyExit) {
    unit::restart(unit::Warm, "");
    for (unsigned round = 0; round < 500; ++round) {
        const Outcome outcome = inChild([round] { exitWithBusyThreads(round, round * 7 % 2000); });
        ASSERT_EQ(outcome.status, 0) << outcome.err;
    }
    expectSound();
}

} // namespace
