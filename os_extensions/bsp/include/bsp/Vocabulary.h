/// The hardware vocabulary for C11 and C++17: every value of the layer's enumerations, and the
/// names by value. C++20 programs also have Vocabulary.hpp, which uses the same lists.
///
/// Values run from 0 without gaps. The value after the last one, "EndOfList", is what a query
/// returns for hardware that it does not know. It is never a valid value.
#ifndef BSP_VOCABULARY_H
#define BSP_VOCABULARY_H

#include "bsp/export.h"

// clang-format off

#define BSP_PRODUCT_ID_LIST(ROW) \
    ROW( 0, TK5454)              \
    ROW( 1, TK5452)              \
    ROW( 2, TK5451)              \
    ROW( 3, RV5491)              \
    ROW( 4, DQ5492)              \
    ROW( 5, QOR4A)               \
    ROW( 6, QOR3001)             \
    ROW( 7, QOR3002)             \
    ROW( 8, LYN3001)             \
    ROW( 9, LYN3002)             \
    ROW(10, TK8851_1)            \
    ROW(11, TK8851_2)            \
    ROW(12, TK8851_3)            \
    ROW(13, TK8466)              \
    ROW(14, TK8851_4)            \
    ROW(15, QOR3003)             \
    ROW(16, QOR3004)             \
    ROW(17, LYN3003)             \
    ROW(18, EndOfList)

#define BSP_HW_REVISION_LIST(ROW) \
    ROW(0, R1_P2)                 \
    ROW(1, R1_P3)                 \
    ROW(2, R1_P4)                 \
    ROW(3, R1_P5)                 \
    ROW(4, R2_P1)                 \
    ROW(5, R2_P2)                 \
    ROW(6, XPIC)                  \
    ROW(7, EndOfList)

#define BSP_SWITCH_TYPE_LIST(ROW) \
    ROW(0, None)                  \
    ROW(1, Etm)                   \
    ROW(2, BobCat2)               \
    ROW(3, Cetus)                 \
    ROW(4, EndOfList)

#define BSP_DSP_TYPE_LIST(ROW) \
    ROW(0, None)               \
    ROW(1, Atlas)              \
    ROW(2, BCM85100)           \
    ROW(3, BCM85110)           \
    ROW(4, BCM85650)           \
    ROW(5, BCM85655)           \
    ROW(6, BCM85651)           \
    ROW(7, EndOfList)

#define BSP_TRAF_FPGA_TYPE_LIST(ROW) \
    ROW( 0, None)                    \
    ROW( 1, Bremo)                   \
    ROW( 2, Talvik)                  \
    ROW( 3, Nurel)                   \
    ROW( 4, Ostra)                   \
    ROW( 5, Greyfen)                 \
    ROW( 6, Pirlan)                  \
    ROW( 7, Dunvar)                  \
    ROW( 8, Melko)                   \
    ROW( 9, Havet)                   \
    ROW(10, Quenby)                  \
    ROW(11, Vestan)                  \
    ROW(12, Corvel)                  \
    ROW(13, Prisk)                   \
    ROW(14, Tormel)                  \
    ROW(15, Fennic)                  \
    ROW(16, Fennic2)                 \
    ROW(17, Ulvar)                   \
    ROW(18, Wendrel)                 \
    ROW(19, Gorm)                    \
    ROW(20, Pell)                    \
    ROW(21, Mirrat)                  \
    ROW(22, Kelvo)                   \
    ROW(23, EndOfList)

#define BSP_TRAFFIC_BACKPLANE_TYPE_LIST(ROW) \
    ROW(0, None)                             \
    ROW(1, Ptp)                              \
    ROW(2, Ethernet)                         \
    ROW(3, EndOfList)

#define BSP_CONTROL_BACKPLANE_TYPE_LIST(ROW) \
    ROW(0, None)                             \
    ROW(1, Pci)                              \
    ROW(2, Pcie)                             \
    ROW(3, Ethernet)                         \
    ROW(4, EndOfList)

#define BSP_RADIOLINK_MODE_LIST(ROW) \
    ROW(0, Rl4)                      \
    ROW(1, Rl5)                      \
    ROW(2, EndOfList)

#define BSP_PLATFORM_TYPE_LIST(ROW) \
    ROW(0, Pt)                      \
    ROW(1, Qor4)                    \
    ROW(2, Qor5)                    \
    ROW(3, EndOfList)

#define BSP_RESET_TYPE_LIST(ROW) \
    ROW(0, Cold)                 \
    ROW(1, Warm)                 \
    ROW(2, Watchdog)             \
    ROW(3, Unknown)              \
    ROW(4, EndOfList)

/// Every enumeration: its type, the stem of its functions' names, its list.
#define BSP_ENUMERATIONS(ENUMERATION)                                                         \
    ENUMERATION(ProductId,            productId,            BSP_PRODUCT_ID_LIST)              \
    ENUMERATION(HwRevision,           hwRevision,           BSP_HW_REVISION_LIST)             \
    ENUMERATION(SwitchType,           switchType,           BSP_SWITCH_TYPE_LIST)             \
    ENUMERATION(DspType,              dspType,              BSP_DSP_TYPE_LIST)                \
    ENUMERATION(TrafFpgaType,         trafFpgaType,         BSP_TRAF_FPGA_TYPE_LIST)          \
    ENUMERATION(TrafficBackplaneType, trafficBackplaneType, BSP_TRAFFIC_BACKPLANE_TYPE_LIST)  \
    ENUMERATION(ControlBackplaneType, controlBackplaneType, BSP_CONTROL_BACKPLANE_TYPE_LIST)  \
    ENUMERATION(RadiolinkMode,        radiolinkMode,        BSP_RADIOLINK_MODE_LIST)          \
    ENUMERATION(PlatformType,         platformType,         BSP_PLATFORM_TYPE_LIST)           \
    ENUMERATION(ResetType,            resetType,            BSP_RESET_TYPE_LIST)

// The names of the enumerators.
#define BSP_ENUMERATOR_ProductId(value, name)            Bsp_ProductId_##name            = (value),
#define BSP_ENUMERATOR_HwRevision(value, name)           Bsp_HwRevision_##name           = (value),
#define BSP_ENUMERATOR_SwitchType(value, name)           Bsp_SwitchType_##name           = (value),
#define BSP_ENUMERATOR_DspType(value, name)              Bsp_DspType_##name              = (value),
#define BSP_ENUMERATOR_TrafFpgaType(value, name)         Bsp_TrafFpgaType_##name         = (value),
#define BSP_ENUMERATOR_TrafficBackplaneType(value, name) Bsp_TrafficBackplaneType_##name = (value),
#define BSP_ENUMERATOR_ControlBackplaneType(value, name) Bsp_ControlBackplaneType_##name = (value),
#define BSP_ENUMERATOR_RadiolinkMode(value, name)        Bsp_RadiolinkMode_##name        = (value),
#define BSP_ENUMERATOR_PlatformType(value, name)         Bsp_PlatformType_##name         = (value),
#define BSP_ENUMERATOR_ResetType(value, name)            Bsp_ResetType_##name            = (value),

/// The enumerations, for example:
///
///     enum Bsp_PlatformType { Bsp_PlatformType_Pt = 0, ..., Bsp_PlatformType_EndOfList = 3 };
#define BSP_ENUMERATION(type, stem, LIST) enum Bsp_##type { LIST(BSP_ENUMERATOR_##type) };
BSP_ENUMERATIONS(BSP_ENUMERATION)
#undef BSP_ENUMERATION

#ifdef __cplusplus
extern "C" {
#endif

/// For each enumeration, for example:
///
///     const char* Bsp_productIdName(int value);
///
/// the printable name of `value`, "EndOfList" for a value outside the list. The text is constant
/// and lives as long as the process; never free it. May be called from any thread; never fails.
#define BSP_NAME_FUNCTION(type, stem, LIST) BSP_EXPORT const char* Bsp_##stem##Name(int value);
BSP_ENUMERATIONS(BSP_NAME_FUNCTION)
#undef BSP_NAME_FUNCTION

#ifdef __cplusplus
}
#endif

// clang-format on

#endif
