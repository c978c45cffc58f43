/// Device library: the lock that a device is given.
#pragma once

namespace DDevIo {

class IMutex {
public:
    virtual ~IMutex() = default;
    /// True when the mutex is now held.
    virtual bool lock() = 0;
    /// True when the mutex was released.
    virtual bool unlock() = 0;
};

} // namespace DDevIo
