/// The hardware vocabulary in C++: ten enumerations, a name table for each, and the lookup of a
/// name. Values and names are in Vocabulary.h.
///
///     std::string name = os::bsp::lookupName(os::bsp::productIdNames(), productId);
#pragma once

#include "bsp/Cpp20.hpp"
#include "bsp/Vocabulary.h"
#include "bsp/export.h"

#include <cstdint>
#include <span>
#include <string>
#include <type_traits>

#define BSP_ENUMERATOR(value, name) name = (value),

/// How many radio links the unit drives. At global scope because the flat interface uses it.
enum class RadiolinkMode : std::int32_t { BSP_RADIOLINK_MODE_LIST(BSP_ENUMERATOR) };

namespace os::bsp {

enum class ProductId : std::int32_t { BSP_PRODUCT_ID_LIST(BSP_ENUMERATOR) };
enum class HwRevision : std::int32_t { BSP_HW_REVISION_LIST(BSP_ENUMERATOR) };
enum class SwitchType : std::int32_t { BSP_SWITCH_TYPE_LIST(BSP_ENUMERATOR) };
enum class DspType : std::int32_t { BSP_DSP_TYPE_LIST(BSP_ENUMERATOR) };
enum class TrafFpgaType : std::int32_t { BSP_TRAF_FPGA_TYPE_LIST(BSP_ENUMERATOR) };
enum class TrafficBackplaneType : std::int32_t { BSP_TRAFFIC_BACKPLANE_TYPE_LIST(BSP_ENUMERATOR) };
enum class ControlBackplaneType : std::int32_t { BSP_CONTROL_BACKPLANE_TYPE_LIST(BSP_ENUMERATOR) };
enum class PlatformType : std::int32_t { BSP_PLATFORM_TYPE_LIST(BSP_ENUMERATOR) };
enum class ResetType : std::int32_t { BSP_RESET_TYPE_LIST(BSP_ENUMERATOR) };

/// One row of a name table.
struct EnumName {
    std::int32_t value;
    std::string name;
};

/// Rows in ascending order of value; the last one is "EndOfList".
using NameTable = std::span<const EnumName>;

/// One function for each enumeration: productIdNames(), hwRevisionNames(), ... The process has one
/// read-only table for each, in the layer. It exists before main and until the process ends. May be
/// called from any thread, also by a static constructor; never fails.
#define BSP_NAME_TABLE(type, stem, LIST) BSP_EXPORT NameTable stem##Names();
BSP_ENUMERATIONS(BSP_NAME_TABLE)
#undef BSP_NAME_TABLE

/// A copy of the name of `value` in `table`, "EndOfList" for a value that is not in it. May be
/// called from any thread; never fails, because every name fits into a std::string without an
/// allocation.
inline std::string lookupName(NameTable table, std::int32_t value) {
    for (const EnumName& row : table.first(table.size() - 1)) {
        if (row.value == value) {
            return row.name;
        }
    }
    return table.back().name;
}

template <class Enumeration>
requires std::is_enum_v<Enumeration> std::string lookupName(NameTable table, Enumeration value) {
    return lookupName(table, static_cast<std::int32_t>(value));
}

} // namespace os::bsp

#undef BSP_ENUMERATOR
