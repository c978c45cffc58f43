#pragma once

#include "bsp/WarmDatabase.hpp"

#include <string_view>

namespace os::bsp::dtcm {

/// WarmDatabase's operations on objects, for names that are not copied first. Contracts and records
/// are those of the functions of the same names there.
class Objects {
public:
    explicit Objects(WarmDatabase& database) : m_database(database) {}

    bool createObject(
        std::string_view blockName, void** data, unsigned objectSize, bool lockDatabase);
    bool retrieveObject(
        std::string_view blockName, void** data, unsigned objectSize, bool lockDatabase);
    std::mutex* getObjectSyncPointer(std::string_view blockName);
    bool getObjectData(
        std::string_view blockName, void** data, unsigned objectSize, std::mutex** syncObject,
        bool& created);

    static bool validateObject(std::string_view blockName, unsigned objectSize);

private:
    WarmDatabase& m_database;
};

} // namespace os::bsp::dtcm
