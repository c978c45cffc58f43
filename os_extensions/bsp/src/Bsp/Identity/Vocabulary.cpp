#include "bsp/Vocabulary.hpp"
#include "CoreLog.hpp"

namespace os::bsp {
namespace {

[[maybe_unused]] const LogModule& logAtStartup = coreLog();

#define BSP_TABLE_AT_STARTUP(type, stem, LIST)                                                     \
    [[maybe_unused]] const NameTable stem##NamesAtStartup = stem##Names();
BSP_ENUMERATIONS(BSP_TABLE_AT_STARTUP)

} // namespace
} // namespace os::bsp
