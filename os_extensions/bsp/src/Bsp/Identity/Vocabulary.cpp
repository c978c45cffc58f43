#include "bsp/Vocabulary.hpp"

#include "CoreLog.hpp"

namespace os::bsp {
namespace {

[[maybe_unused]] const LogModule& logAtStartup = coreLog();

} // namespace

// The earliest static constructor finds the tables, as the compiler builds them. clang 14, which
// checks this code, takes no std::string for a constant: there they are built before main.
#ifdef __clang__
#define BSP_CONSTANT const
#else
#define BSP_CONSTANT constinit const
#endif

#define BSP_NAME_ROW(value, name) {(value), #name},
#define BSP_NAME_TABLE(type, stem, LIST)                                                           \
    static BSP_CONSTANT EnumName stem##Rows[] = {LIST(BSP_NAME_ROW)};                              \
    NameTable stem##Names() {                                                                      \
        return stem##Rows;                                                                         \
    }
BSP_ENUMERATIONS(BSP_NAME_TABLE)
#undef BSP_NAME_TABLE
#undef BSP_NAME_ROW
#undef BSP_CONSTANT

} // namespace os::bsp
