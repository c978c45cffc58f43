#include "reset-type.h"

#include "bsp/ResetType.hpp"

const char* lastResetName() {
    static const std::string name = os::bsp::resetTypeToString(os::bsp::getResetType());
    return name.c_str();
}
