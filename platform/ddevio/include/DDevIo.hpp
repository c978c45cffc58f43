/// Device library: register devices by name.
#pragma once

#include "IMutex.hpp"

#include <memory>
#include <string>

namespace DDevIo {

/// Any device; its dynamic type determines its operations.
class IDevice {
public:
    virtual ~IDevice() = default;
};

/// A device of registers that are one Word wide each.
template <class Word>
class Device : public IDevice {
public:
    /// Reads the register at a byte offset while holding the device's lock. On failure returns
    /// false and leaves `value` unchanged.
    virtual bool read(unsigned offset, Word& value) = 0;
};

/// Creates devices. Callable from any thread.
class Factory {
public:
    static Factory& getInstance();

    /// Returns the device called `name`, which owns `mutex` and uses it as its lock; empty if there
    /// is no such device. "top.sys_ctrl0" is a Device<unsigned int>.
    std::unique_ptr<IDevice> createUnique(const std::string& name, std::unique_ptr<IMutex> mutex);
};

} // namespace DDevIo
