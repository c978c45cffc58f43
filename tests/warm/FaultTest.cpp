#include "DDevIo.hpp"
#include "Database.hpp"
#include "Process.hpp"
#include "Unit.hpp"
#include "bsp/ResetType.hpp"
#include "bsp/WarmSlot.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include <dlfcn.h>

namespace {

enum class Answer { Real, Exception, Number, WrongDevice };

Answer answer = Answer::Real;
int failingWaits = 0;
int posts = 0;

// The function of this name behind the program's own.
template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

struct OtherDevice : DDevIo::IDevice {
    static inline int alive = 0;
    OtherDevice() { ++alive; }
    OtherDevice(const OtherDevice&) = delete;
    OtherDevice& operator=(const OtherDevice&) = delete;
    ~OtherDevice() override { --alive; }
};

} // namespace

BSP_EXPORT os::bsp::ResetType os::bsp::getResetType() {
    if (answer == Answer::Exception) {
        throw std::runtime_error("no reset type");
    }
    if (answer == Answer::Number) {
        throw 5; // NOLINT: not a std::exception on purpose
    }
    return next<ResetType()>("_ZN2os3bsp12getResetTypeEv")();
}

BSP_EXPORT std::unique_ptr<DDevIo::IDevice> DDevIo::Factory::createUnique(
    const std::string& name, std::unique_ptr<IMutex> mutex) {
    EXPECT_EQ(name, "top.sys_ctrl0");
    EXPECT_TRUE(mutex->lock() && mutex->unlock());
    return std::make_unique<OtherDevice>();
}

extern "C" {

BSP_EXPORT int sem_wait(sem_t* sem) {
    if (failingWaits > 0) {
        --failingWaits;
        errno = EINVAL;
        return -1;
    }
    return next<int(sem_t*)>("sem_wait")(sem);
}

BSP_EXPORT int sem_post(sem_t* sem) {
    ++posts;
    return next<int(sem_t*)>("sem_post")(sem);
}
}

namespace {

using namespace test;

TEST(Fault, ExceptionDuringStartupLeavesNoLockTaken) {
    for (const auto& [exception, text] :
         {std::pair{Answer::Exception, "Caught exception [no reset type]."},
          std::pair{Answer::Number, "Caught unknown exception"}}) {
        unit::restart(unit::Cold, "kept");
        const auto outcome = inChild([exception = exception] {
            answer = exception;
            const Object object("A");
            EXPECT_TRUE(object.created);
            const std::lock_guard lock(object.mutex());
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        const auto message =
            std::string("WarmDatabase(): Error during initialization of warm area: ") + text;
        EXPECT_EQ(countLines(outcome.err, message), 1) << outcome.err;
        EXPECT_EQ(unit::readFile(unit::WarmArea).substr(0, 5), std::string("kept\0", 5));
    }
}

TEST(Fault, FailedWaitGoesOnWithoutTheLock) {
    unit::restart(unit::Warm, "");
    database();
    testing::internal::CaptureStderr();
    posts = 0;
    failingWaits = 2;
    EXPECT_TRUE(Object("A").created);
    database().lock();
    database().unlock();
    EXPECT_EQ(posts, 0);
    EXPECT_FALSE(Object("A").created);
    database().lock();
    database().unlock();
    EXPECT_EQ(posts, 2);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLines(log, "(): error in sem_wait error: Invalid argument"), 2) << log;
}

TEST(Fault, DeviceOfAnotherKindGivesUnknown) {
    unit::restart(unit::Cold, "");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(os::bsp::getResetType(), os::bsp::ResetType::Unknown);
        EXPECT_EQ(OtherDevice::alive, 0);
    }
}

} // namespace
