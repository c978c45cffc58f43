// Processes that die, in the middle of whatever they do: the others go on, and find whole objects.
#include "Database.hpp"
#include "Process.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "WarmDatabase/RunRecord.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <set>
#include <thread>

#include <sys/ptrace.h>
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

// A new process works at once, on objects that are known, whole, there once and without a hole.
// How often it has taken over the lock from somebody who died.
int expectSound() {
    const auto begin = std::chrono::steady_clock::now();
    const Outcome next = inChild([] {
        alarm(10);
        EXPECT_EQ(Object("next").result, 0);
        EXPECT_EQ(Bsp_getSlotId() | 1, Bsp_getSlotId() == -1 ? -1 : 1); // not set, 0 or 1
    });
    EXPECT_EQ(next.status, 0) << next.out << next.err;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    expectWholeObjects(unit::readFile(unit::WarmArea), {"A", "B", "SLOT", "next"});
    return countLines(next.err, "taken over");
}

// Ends when the process exits, with four threads in the middle of something.
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

void use(const char* name) {
    EXPECT_EQ(Object(name).result, 0);
}

void createAgain() {
    void* data = nullptr;
    EXPECT_EQ(WarmDatabase_createObject("A", &data, 8), 0);
}

struct Operation {
    const char* name;
    unit::Restart restart;
    std::function<void()> others; // do this before
    std::function<void()> before; // the victim does this
    std::function<void()> act;    // it is killed while it does this
};

const auto Nothing = [] {
};

const Operation Operations[] = {
    {"FirstColdStart", unit::Cold, Nothing, Nothing,
     [] {
         use("A");
     }},
    {"FirstWarmStart", unit::Warm, Nothing, Nothing,
     [] {
         use("A");
     }},
    {"Attaching", unit::Cold, [] { inChild([] { use("B"), killSelf(); }); }, Nothing,
     [] {
         use("A");
     }},
    {"CreatingAgain", unit::Warm, Nothing, [] { use("A"); }, createAgain},
    {"CreatingAnother", unit::Warm, Nothing, [] { use("B"); },
     [] {
         use("A");
     }},
    {"FindingOne", unit::Warm, Nothing, [] { use("A"); },
     [] {
         use("A");
     }},
    {"FirstSlotUse", unit::Warm, Nothing, [] { use("B"); },
     [] {
         Bsp_getSlotId();
     }},
    {"GettingTheSlot", unit::Warm, Nothing, [] { Bsp_setSlotId(1); },
     [] {
         Bsp_getSlotId();
     }},
    {"SettingTheSlot", unit::Warm, Nothing, [] { Bsp_setSlotId(1); },
     [] {
         Bsp_setSlotId(0);
     }},
    {"ExitOfTheMaker", unit::Warm, Nothing, [] { use("A"); },
     [] {
         std::exit(0);
     }},
    {"TakingOver", unit::Warm, dieWithTheLock, Nothing,
     [] {
         use("A");
     }},
    {"TakingOverAnOrphan", unit::Warm, dieTakingTheLock, Nothing,
     [] {
         use("A");
     }},
};

class SteppedDeath : public testing::TestWithParam<Operation> {
protected:
    /// Runs the victim for at most so many instructions, and kills it; `seen` is asked after each.
    static void run(std::size_t instructions, const std::function<void(std::size_t)>& seen) {
        const Operation& operation = GetParam();
        unit::restart(operation.restart, operation.restart == unit::Cold ? unit::noise(32768) : "");
        operation.others();
        Child victim([&] {
            operation.before();
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            operation.act();
            _exit(0);
        });
        int status = 0;
        waitpid(victim.pid(), &status, 0);
        for (std::size_t done = 0; WIFSTOPPED(status) && done < instructions; seen(++done)) {
            ptrace(PTRACE_SINGLESTEP, victim.pid(), nullptr, nullptr);
            waitpid(victim.pid(), &status, 0);
        }
    }
};

TEST_P(SteppedDeath, AtEveryStateOfWhatIsSharedStopsNobody) {
    std::set<std::string> states;
    std::vector<std::size_t> firsts; // the instructions after which there was a new one
    run(SIZE_MAX, [&](std::size_t instruction) {
        if (states.insert(sharedState()).second) {
            firsts.push_back(instruction);
        }
    });
    ASSERT_GT(firsts.size(), 1U);
    for (const std::size_t instruction : firsts) {
        run(instruction, [](std::size_t) {});
        expectSound();
        ASSERT_FALSE(HasFailure()) << instruction;
    }
}

INSTANTIATE_TEST_SUITE_P(
    In, SteppedDeath, testing::ValuesIn(Operations),
    [](const auto& operation) { return std::string(operation.param.name); });

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

// scripts/soak asks for minutes of it.
TEST(Death, AtRandomMomentsLosesNothing) {
    const char* const minutes = std::getenv("BSP_SOAK_MINUTES");
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::minutes(minutes != nullptr ? atoi(minutes) : 0);
    std::minstd_rand random(1);
    unsigned rounds = 0;
    int takeOvers = 0;
    for (; rounds < 60 || std::chrono::steady_clock::now() < end; ++rounds) {
        if (rounds % 50 == 0) {
            unit::restart(
                rounds % 100 == 0 ? unit::Cold : unit::Warm, unit::readFile(unit::WarmArea));
        }
        Child busy([&] { exitWithBusyThreads(rounds, random() % 1000); });
        Child victims[] = {
            Child([&] { useObjects(2 * rounds); }), Child([&] { useObjects(2 * rounds + 1); })};
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        for (Child& victim : victims) {
            kill(victim.pid(), SIGKILL);
        }
        const Outcome outcome = busy.wait();
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        takeOvers += expectSound();
        ASSERT_FALSE(HasFailure()) << "round " << rounds;
    }
    std::printf("%u rounds, %u kills, %d take-overs\n", rounds, 2 * rounds, takeOvers);
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
