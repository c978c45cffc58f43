#pragma once

#include <new>
#include <utility>

namespace os::bsp {

/// A static object that is never destroyed: at exit other threads, and destructors that run later,
/// may still be using it.
template <class Type>
class Immortal {
public:
    template <class... Arguments>
    explicit Immortal(Arguments&&... arguments) {
        new (m_memory) Type(std::forward<Arguments>(arguments)...);
    }
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    Type& get() noexcept { return *std::launder(reinterpret_cast<Type*>(m_memory)); }

private:
    alignas(Type) unsigned char m_memory[sizeof(Type)];
};

} // namespace os::bsp
