// Implements DDevIo.hpp in libddevio; DDevIo.cpp implements DDevIo.h in libddevioc.
#include "DDevIo.hpp"

#include "FileDescriptor.hpp"
#include "PlatformRoot.hpp"

#include <array>
#include <cerrno>
#include <cstdint>

#include <fcntl.h>

namespace DDevIo {
namespace {

// Registers that are the 32-bit little-endian words of a file.
class RegisterFile : public Device<unsigned int> {
public:
    RegisterFile(posix::FileDescriptor file, std::unique_ptr<IMutex> mutex)
        : m_file(std::move(file)), m_mutex(std::move(mutex)) {}

    bool read(unsigned offset, unsigned int& value) override {
        if (!m_mutex->lock()) {
            return false;
        }
        std::array<std::uint8_t, 4> bytes{};
        const ssize_t count = pread(m_file.get(), bytes.data(), bytes.size(), off_t{offset});
        m_mutex->unlock();
        if (count != static_cast<ssize_t>(bytes.size())) {
            return false;
        }
        value = 0;
        for (std::size_t i = bytes.size(); i-- > 0;) {
            value = value << 8 | bytes[i];
        }
        return true;
    }

private:
    posix::FileDescriptor m_file;
    std::unique_ptr<IMutex> m_mutex;
};

} // namespace

Factory& Factory::getInstance() {
    static Factory factory;
    return factory;
}

std::unique_ptr<IDevice> Factory::createUnique(
    const std::string& name, std::unique_ptr<IMutex> mutex) {
    posix::FileDescriptor file = posix::FileDescriptor::own(
        open(platform::path("dev/" + name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file || mutex == nullptr) {
        return nullptr;
    }
    return std::make_unique<RegisterFile>(std::move(file), std::move(mutex));
}

} // namespace DDevIo
