/// Device library: the interface of a device's lock.
#pragma once

namespace DDevIo {

class IMutex {
public:
    virtual ~IMutex() = default;
    /// Returns true if the caller now holds the mutex.
    virtual bool lock() = 0;
    /// Returns true if the mutex was released.
    virtual bool unlock() = 0;
};

} // namespace DDevIo
