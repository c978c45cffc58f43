#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <functional>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace test;

const std::string SlotRefused =
    "64|bspctl: slot-id: expected a number from -2147483648 to 2147483647\n";
const std::string ModeRefused = "64|bspctl: radiolink-mode: expected Rl4, Rl5 or default\n";
const std::string UsageRefused = "64|bspctl: usage: expected slot-id [NUMBER], "
                                 "radiolink-mode [Rl4|Rl5|default] or --help\n";
const std::string SlotNotStored = "1|bspctl: slot-id cannot be stored: ";

// Returns exit status and standard output, a bar, and standard error.
std::string call(Words words, const char* output = nullptr) {
    words.insert(words.begin(), BSPCTL);
    const auto outcome = inChild([&] {
        if (output != nullptr) {
            dup2(open(output, O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        }
        execute(words);
    });
    return std::to_string(outcome.status) + outcome.out + "|" + outcome.err;
}

// Calls on a unit that has just started cold, in this order.
const std::pair<Words, std::string> Calls[] = {
    {{"slot-id"}, "0-1\n|"},
    {{"slot-id", "7"}, "0|"},
    {{"slot-id", "-2147483649"}, SlotRefused},
    {{"slot-id", "2147483648"}, SlotRefused},
    {{"slot-id", "0x80000000"}, SlotRefused},
    {{"slot-id", "0x-1"}, SlotRefused},
    {{"slot-id", "0x"}, SlotRefused},
    {{"slot-id", "+8"}, SlotRefused},
    {{"slot-id", "8 "}, SlotRefused},
    {{"slot-id", " 8"}, SlotRefused},
    {{"slot-id", "8x"}, SlotRefused},
    {{"slot-id", ""}, SlotRefused},
    {{"slot-id", "8", "9"}, "64|bspctl: slot-id: expected one value\n"},
    {{"slot-id"}, "07\n|"},
    {{"slot-id", "0X7fffFFFF"}, "0|"},
    {{"slot-id"}, "02147483647\n|"},
    {{"slot-id", "-2147483648"}, "0|"},
    {{"slot-id"}, "0-2147483648\n|"},
    {{"radiolink-mode"}, "0Rl4\n|"},
    {{"radiolink-mode", "Rl5"}, "0|"},
    {{"radiolink-mode", "rl4"}, ModeRefused},
    {{"radiolink-mode", "EndOfList"}, ModeRefused},
    {{"radiolink-mode", ""}, ModeRefused},
    {{"radiolink-mode"}, "0Rl5\n|"},
    {{"radiolink-mode", "Rl4"}, "0|"},
    {{"radiolink-mode"}, "0Rl4\n|"},
    {{}, UsageRefused},
    {{"Slot-id"}, UsageRefused},
    {{"7", "slot-id"}, UsageRefused},
};

TEST(Control, ShowsAndSetsValuesAndRefusesOtherWords) {
    unit::restart(unit::Cold, "");
    std::filesystem::create_directories(unit::Config);
    for (const auto& [words, expected] : Calls) {
        EXPECT_EQ(call(words), expected) << testing::PrintToString(words);
    }
    EXPECT_EQ(unit::readFile(unit::Config / "RadiolinkMode"), "Rl4");
    EXPECT_EQ(call({"radiolink-mode", "default"}), "0|");
    EXPECT_FALSE(std::filesystem::exists(unit::Config / "RadiolinkMode"));
    for (const Words& words : {Words{"slot-id"}, Words{"--help"}, Words{"--version"}}) {
        EXPECT_EQ(call(words, "/dev/full"), "1|bspctl: standard output: No space left on device\n");
    }
}

void makeLockUnavailable() {
    std::filesystem::create_directory("/dev/shm/DtcmRun");
    std::filesystem::create_directory("/dev/shm/sem.DtcmDbSharedSem");
}

struct Case {
    std::function<void()> prepare;
    Words words;
    std::string answer;
};

const Case Cases[] = {
    {[] { std::filesystem::remove_all(unit::Root / "dev"); },
     {"slot-id", "7"},
     SlotNotStored + "the warm area top.dtcm0 cannot be opened or mapped\n"},
    {[] { std::filesystem::remove(unit::WarmArea); },
     {"slot-id"},
     "1|bspctl: slot-id cannot be read: the warm area top.dtcm0 cannot be opened or mapped\n"},
    {[] { unit::restart(unit::Warm, std::string(32768, '\1')); },
     {"slot-id", "7"},
     SlotNotStored + "the warm database has no room for it\n"},
    {makeLockUnavailable,
     {"slot-id", "7"},
     SlotNotStored + "a cold restart is still pending, which would clear it\n"},
    {[] {
         unit::restart(unit::Warm, std::string(32768, '\0'));
         makeLockUnavailable();
     },
     {"slot-id", "7"},
     "0|"},
    {[] { unit::writeFile(unit::Config, ""); },
     {"radiolink-mode", "Rl5"},
     "1|bspctl: radiolink-mode cannot be stored: the configuration store cannot be written\n"},
    {[] { unit::writeFile(unit::Config, ""); },
     {"radiolink-mode", "default"},
     "1|bspctl: radiolink-mode cannot be stored: the configuration store cannot be written\n"},
    {[] { std::filesystem::create_directories(unit::Config / "RadiolinkMode"); },
     {"radiolink-mode"},
     "1|bspctl: radiolink-mode cannot be read: QorConfig: RadiolinkMode: Is a directory\n"},
    {[] {
         const rlimit none = {0, 0};
         setrlimit(RLIMIT_MEMLOCK, &none);
     },
     {"slot-id", "7"},
     SlotNotStored + "the warm area top.dtcm0 cannot be opened or mapped\n"},
};

TEST(Control, ReportsWhyAValueCannotBeReadOrStored) {
    setenv("TOLVTRACE_LEVELS", "*=0", 1);
    for (const auto& [prepare, words, answer] : Cases) {
        unit::restart(unit::Cold, std::string(32768, '\0'));
        std::filesystem::remove_all(unit::Config);
        prepare();
        EXPECT_EQ(call(words), answer);
    }
}

} // namespace
