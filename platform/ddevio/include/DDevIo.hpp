/// Device library: register devices by name.
#pragma once

#include "IMutex.hpp"

#include <memory>
#include <string>

namespace DDevIo {

/// Any device; what it can do depends on its dynamic type.
class IDevice {
public:
    virtual ~IDevice() = default;
};

/// A device of registers that are one Word wide each.
template <class Word>
class Device : public IDevice {
public:
    /// Reads the register at a byte offset, holding the device's lock. On failure the result is
    /// false and `value` is as before.
    virtual bool read(unsigned offset, Word& value) = 0;
};

/// Makes devices. Callable from any thread.
class Factory {
public:
    static Factory& getInstance();

    /// The device called `name`, which takes over `mutex` as its lock; empty when there is none.
    /// "top.sys_ctrl0" is a Device<unsigned int>.
    std::unique_ptr<IDevice> createUnique(const std::string& name, std::unique_ptr<IMutex> mutex);
};

} // namespace DDevIo
