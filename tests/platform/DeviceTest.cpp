#include "DDevIo.h"
#include "DDevIo.hpp"
#include "PthreadMutex.hpp"

#include "Process.hpp"
#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cerrno>

#include <sys/mman.h>

// The lock is misused on purpose.
extern "C" __attribute__((visibility("default"))) const char*
__tsan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "report_mutex_bugs=0";
}

namespace {

using namespace test;
using namespace DDevIo;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

std::unique_ptr<IDevice> makeDevice(const std::string& name) {
    return Factory::getInstance().createUnique(
        name, std::make_unique<PthreadMutex>(PthreadMutexType::Default));
}

TEST(Device, MemoryIsExtendedAndOutlivesItsHandle) {
    EXPECT_EQ(DDevIo_open("top.dtcm0"), -ENOENT);
    unit::writeFile(unit::WarmArea, "abc");
    const int handle = DDevIo_open("top.dtcm0");
    ASSERT_GE(handle, 0);
    void* const memory = mmap(
        nullptr, 32768, PROT_READ | PROT_WRITE, MAP_SHARED, DDevIo_getFileDescriptor(handle), 0);
    ASSERT_NE(memory, MAP_FAILED);
    EXPECT_EQ(DDevIo_close(handle), 0);
    EXPECT_EQ(DDevIo_close(handle), -EBADF);
    static_cast<char*>(memory)[32767] = 'z';
    EXPECT_EQ(unit::readFile(unit::WarmArea), "abc" + std::string(32764, '\0') + "z");
}

TEST(Device, RegistersAreLittleEndianWords) {
    EXPECT_EQ(makeDevice("top.sys_ctrl0"), nullptr);
    unit::writeFile(unit::Root / "dev/top.sys_ctrl0", "\x01\x02\x03\x84\x05");
    const auto device = makeDevice("top.sys_ctrl0");
    auto* const registers = dynamic_cast<Device<unsigned int>*>(device.get());
    ASSERT_NE(registers, nullptr);
    unsigned int value = 7;
    EXPECT_FALSE(registers->read(4, value));
    EXPECT_EQ(value, 7U);
    EXPECT_TRUE(registers->read(0, value));
    EXPECT_EQ(value, 0x84030201U);
}

TEST(PthreadMutex, TellsFailuresAndEntries) {
    CaptureStderr();
    {
        PthreadMutex mutex(PthreadMutexType::ErrorChecking);
        errno = ENOENT;
        EXPECT_FALSE(mutex.unlock());
        EXPECT_EQ(errno, ENOENT);
        EXPECT_TRUE(mutex.lock());
        EXPECT_FALSE(mutex.lock());
        TolvTrace_setLevel("DDevIo.PthreadMutex", 7);
        EXPECT_TRUE(mutex.unlock());
    }
    PthreadMutex recursive(PthreadMutexType::Recursive);
    TolvTrace_setLevel("DDevIo.PthreadMutex", 0);
    EXPECT_TRUE(recursive.lock() && recursive.lock() && recursive.unlock() && recursive.unlock());
    const std::string log = GetCapturedStderr();
    for (const char* record :
         {"1 include/PthreadMutex:",
          "unlock: unlock(): pthread_mutex_unlock() failed with error 1.",
          "lock: lock(): pthread_mutex_lock() failed with error 35.", "unlock: ENTER unlock().",
          "6 include/PthreadMutex:", "~PthreadMutex: ENTER ~PthreadMutex()."}) {
        EXPECT_GE(countLines(log, record), 1) << record << "\n" << log;
    }
    EXPECT_EQ(countLines(log, ""), 4) << log;
}

} // namespace
