#include "bsp/Vocabulary.hpp"

#include "Log.hpp"

namespace os::bsp {
namespace {

// The value is also the index of its row.
const char* nameIn(NameTable table, int value) {
    const std::size_t last = table.size() - 1;
    const auto index = static_cast<unsigned>(value);
    return table[index < last ? index : last].name.c_str();
}

} // namespace

// constinit, so static constructors elsewhere may use the tables. clang 14 (clang-tidy) cannot
// constant-initialise a std::string.
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

#define BSP_NAME_FUNCTION(type, stem, LIST)                                                        \
    const char* Bsp_##stem##Name(int value) {                                                      \
        return os::bsp::nameIn(os::bsp::stem##Names(), value);                                     \
    }
BSP_ENUMERATIONS(BSP_NAME_FUNCTION)
#undef BSP_NAME_FUNCTION
