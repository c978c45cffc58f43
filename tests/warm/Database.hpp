#pragma once

#include "bsp/Bsp.h"
#include "bsp/WarmDatabase.hpp"

#include <cstddef>
#include <string>

namespace test {

/// The results of WarmDatabase_getObjectData for an object.
struct Object {
    explicit Object(const std::string& name, unsigned size = 64)
        : result(WarmDatabase_getObjectData(name.c_str(), &data, size, &sync, &created)) {}

    std::mutex& mutex() const { return *static_cast<std::mutex*>(sync); }
    template <class Type>
    Type& as() const {
        return *static_cast<Type*>(data);
    }

    void* data = nullptr;
    void* sync = nullptr;
    bool created = false;
    int result;
};

inline constexpr std::size_t BlockSize = 1536;

inline os::bsp::dtcm::WarmDatabase& database() {
    return os::bsp::dtcm::WarmDatabase::getInstance();
}

} // namespace test
