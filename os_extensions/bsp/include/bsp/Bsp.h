/// The flat interface of the board-support layer: valid C11 and C++.
///
/// Conventions, for every function here:
/// - It may be called first, from any thread; what it needs is set up by the first call.
/// - A text that it returns is constant data that lives as long as the process; never free it.
/// - Hardware that the layer does not know gives the enumeration's "EndOfList" value (Vocabulary.h)
///   and one message on the trace "bsp.core"; it is not an error.
/// - It may be preempted by a definition of the same name in front of the layer's library, also for
///   the layer's own calls: a board is brought up that way before its EEPROM is written.
#ifndef BSP_BSP_H
#define BSP_BSP_H

#include "bsp/export.h"

#ifdef __cplusplus
#include <cstdint>

namespace os::bsp {
struct QorHwVariant;
}
using Bsp_HwVariant = os::bsp::QorHwVariant;

extern "C" {
#else
#include <stdint.h>

/// One row of the platform's table of hardware variants.
typedef struct Bsp_HwVariant {
    int32_t hwRevision;
    int32_t platformData[6];
    int32_t productCode;
    int32_t hwCode[8];
} Bsp_HwVariant;
#endif

/// The row of the platform's table whose hardware code is the unit's own, or the first row when
/// there is none. Never null; valid as long as the process. Like every query below it reads the
/// unit's EEPROM when it is the first to ask, once per process.
BSP_EXPORT const Bsp_HwVariant* Bsp_getQorHwVariant(void);

/// The unit's product, a ProductId value (18 when it is not known).
BSP_EXPORT int Bsp_getProductId(void);

/// The revision of the unit's board, a HwRevision value; passed on as the platform's table has it,
/// without a range test.
BSP_EXPORT int Bsp_getHwRevision(void);

/// Product in the upper 16 bits, hardware revision in the lower 16 bits.
BSP_EXPORT int Bsp_getBoardId(void);

/// The board's printable name, or "Unknown board revision".
BSP_EXPORT const char* Bsp_getBoardIdText(void);

/// The name of the newest listed revision of this unit's product, or "Unknown board revision".
BSP_EXPORT const char* Bsp_getLatestBoardIdText(void);

/// One board: its id and its name, NUL-terminated and padded with NUL bytes.
struct Bsp_BoardIdRow {
    int32_t boardId;
    char text[32];
};

enum { Bsp_boardIdMapSize = 19 };

/// All boards that have a name, not sorted.
BSP_EXPORT extern const struct Bsp_BoardIdRow Bsp_boardIdMap[Bsp_boardIdMapSize];

/// Programs the clock-synchroniser chip behind "/dev/idt" from "/etc/idt_<board name>.conf":
/// hexadecimal numbers separated by white space, the low 8 bits of each going to one register, from
/// register 8 on, at most 216. What it does it tells on the standard output, in lines that begin
/// with "NOTICE: " or "ERROR: ". Returns 0, also when the board has no such file (the chip then
/// keeps what it has), or -1. The chip's registers are written only after the whole file has been
/// read without an error and the chip has answered. One call at a time: the chip has no lock.
BSP_EXPORT int Idt_writeConfig(void);

#ifdef __cplusplus
}
#endif

#endif
