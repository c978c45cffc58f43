/// The flat interface of the board-support layer: valid C11 and C++17.
///
/// Conventions, for every function here:
/// - It may be called first, from any thread; what it needs is set up by the first call.
/// - A text that it returns is constant data that lives as long as the process; never free it.
/// - Hardware that the layer does not know is not an error. It gives the enumeration's "EndOfList"
///   value (Vocabulary.h), or a fallback where the function says so, and level-1 messages on the
///   trace "bsp.core".
/// - Queries of hardware and configuration throw std::system_error, which ends a C program, when a
///   value in the configuration store cannot be read, or a lock cannot be taken.
/// - It may be preempted by a definition of the same name in front of the layer's library. The
///   layer itself then uses another Bsp_getQorHwVariant, Bsp_getBoardIdText or
///   Bsp_getLatestBoardIdText, in the Bsp_*Dtcm* functions another WarmDatabase_* function, and
///   otherwise calls the functions of os::bsp. A board is brought up that way before its EEPROM is
///   written. The tool contains the layer and cannot be preempted.
#ifndef BSP_BSP_H
#define BSP_BSP_H

#include "bsp/Vocabulary.h"
#include "bsp/export.h"

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>

namespace os::bsp {
struct QorHwVariant; // the platform's HwVariant.hpp
}

enum class RadiolinkMode : std::int32_t; // Vocabulary.hpp

extern "C" {
#else
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/// A Bsp_RadiolinkMode value.
typedef int32_t RadiolinkMode;
#endif

/// One row of the platform's table of hardware variants, as C programs see it.
struct Bsp_HwVariantRow {
    int32_t hwRevision;
    int32_t platformData[6];
    int32_t productCode;
    int32_t hwCode[8];
};

/// To a C++ program it is the platform's own type, complete once the program includes the
/// platform's "HwVariant.hpp", which is in the package that bsp-dev needs, and in every SDK.
#ifdef __cplusplus
using Bsp_HwVariant = os::bsp::QorHwVariant;
#else
typedef struct Bsp_HwVariantRow Bsp_HwVariant;
#endif

/// The row of the platform's table whose hardware code is the unit's own, or the first row when
/// there is none. Never null; valid as long as the process. Like the other queries of hardware,
/// but that of the switch type, it reads the unit's EEPROM when it is the first to ask, once per
/// process.
BSP_EXPORT const Bsp_HwVariant* Bsp_getQorHwVariant(void);

/// The unit's product, a Bsp_ProductId value.
BSP_EXPORT int Bsp_getProductId(void);

/// The revision of the unit's board, a Bsp_HwRevision value; passed on as the platform's table has
/// it, without a range test.
BSP_EXPORT int Bsp_getHwRevision(void);

/// Product in the upper 16 bits, hardware revision in the lower 16 bits.
BSP_EXPORT int Bsp_getBoardId(void);

/// The board's printable name, or "Unknown board revision".
BSP_EXPORT const char* Bsp_getBoardIdText(void);

/// The name of the newest listed revision of this unit's product, or "Unknown board revision".
BSP_EXPORT const char* Bsp_getLatestBoardIdText(void);

/// The unit's generation and its backplanes: Bsp_PlatformType, Bsp_TrafficBackplaneType and
/// Bsp_ControlBackplaneType values.
BSP_EXPORT int Bsp_getPlatformType(void);
BSP_EXPORT int Bsp_getTrafficBackplane(void);
BSP_EXPORT int Bsp_getControlBackplane(void);

/// The unit's components: Bsp_DspType, Bsp_TrafFpgaType and Bsp_SwitchType values. The traffic FPGA
/// may take a look at the unit's configuration store, at every call.
BSP_EXPORT int Bsp_getDspType(void);
BSP_EXPORT int Bsp_getTrafFpgaType(void);
BSP_EXPORT int Bsp_getSwitchType(void);

/// The number of traffic channels and of radio links, 1 or 2 each.
BSP_EXPORT unsigned Bsp_getNumberOfChannels(void);
BSP_EXPORT unsigned Bsp_getNumberOfRlt(void);

/// The radio-link mode, a Bsp_RadiolinkMode value, as the unit's configuration store had it at the
/// first call in this process.
BSP_EXPORT int Bsp_getRadiolinkMode(void);

/// Store or remove the radio-link mode, for processes that ask later. 0, or -1 when the store did
/// not, or when the mode is neither Rl4 nor Rl5.
BSP_EXPORT int Bsp_setRadiolinkMode(RadiolinkMode mode);
BSP_EXPORT int Bsp_clearRadiolinkMode(void);

/// The path of an FPGA's image, relative to the directory where images are kept; `key` is the
/// FPGA's code name in lower case, or "pci", and must not be null. Null for any other key.
BSP_EXPORT const char* Bsp_getFpgaPath(const char* key) BSP_NONNULL(1);

/// One board: its id and its name, NUL-terminated and padded with NUL bytes.
struct Bsp_BoardIdRow {
    int32_t boardId;
    char text[32];
};

enum { Bsp_boardIdMapSize = 19 };

/// All boards that have a name, not sorted.
BSP_EXPORT extern const struct Bsp_BoardIdRow Bsp_boardIdMap[Bsp_boardIdMapSize];

/// The cause of the last restart, a Bsp_ResetType value. Where it comes from depends on the unit:
/// - platform Qor4: the first register of the device "top.sys_ctrl0", whose word is passed on
///   without a range test. Bsp_ResetType_Unknown when the device is missing or cannot be read.
/// - otherwise product TK8851_4: Bsp_ResetType_Cold when the file "/tmp/restart_cold" exists, else
///   Bsp_ResetType_Warm.
/// - any other unit: Bsp_ResetType_Cold.
///
/// The first answer other than Unknown is kept until the process ends; after Unknown the next call
/// looks again.
BSP_EXPORT int Bsp_getResetType(void);

/// Programs the clock-synchroniser chip behind "/dev/idt" from "/etc/idt_<board name>.conf":
/// hexadecimal numbers separated by white space, the low 8 bits of each going to one register, from
/// register 8 on, at most 216. Progress and errors go to standard output, in lines that begin with
/// "NOTICE: " or "ERROR: ". Returns 0, also when the board has no such file (the chip then
/// keeps what it has), or -1. The chip's registers are written only after the whole file has been
/// read without an error and the chip has answered. One call at a time: the chip has no lock.
BSP_EXPORT int Idt_writeConfig(void);

/// Reads the R-state of the kernel image `fileName`, the fourth part of the release in its version
/// banner ("Linux version 4.9.0.R2A05" has R2A05), into `buffer`: at most 7 letters and digits and
/// a zero; `size` is at least 8. The kernel is compressed with gzip, and that archive, the first in
/// the image, begins within the first 64 KiB.
///
/// Returns 0 when there is a banner, also one without a fourth part, which leaves the buffer alone:
/// initialise it. Or returns -1, the buffer untouched and the reason on the trace "bsp.core": at
/// level 4 when the image is cut short, otherwise at level 1.
///
/// "/dev/shm" must have room for the inflated kernel during the call. It is in "zImage_tmp" there,
/// a name that is removed as soon as the file is open; calls may overlap, also those of different
/// users.
BSP_EXPORT int Bsp_getKernelRState(const char* fileName, char* buffer, size_t size);

/// Reads what the boot loader's image says behind "Product number: " and "R-state: " into the
/// buffers, each of at least 1 byte: the text up to the end of the line or the first zero byte, cut
/// to fit, with a zero; "Not found" where the label is missing. Each label counts where it occurs
/// first. Returns 0, or -1, both buffers untouched and the reason on the trace "bsp.core", when the
/// image cannot be read. Needs memory for the whole image during the call; calls may overlap.
BSP_EXPORT int Bsp_getUbootProductInfo(
    const char* deviceName, char* productNumber, size_t productNumberSize, char* rState,
    size_t rStateSize);

/// The warm database: up to 21 objects of at most 1520 bytes, named by 1 to 15 bytes, in memory
/// that survives a warm restart and is shared by all processes of the unit. Functions return 0, or
/// -1 with a message on the trace "Bsp.WarmDatabase" where something is wrong; `*data` is null
/// then. Out-parameters must not be null. Data belong to the warm area, are aligned to 16 bytes and
/// valid as long as the process; the clients of one name agree on its size and format by
/// themselves, and protect it with the sync object.
///
/// A mutex inside an object may only be tried, with pthread_mutex_trylock(), again and again, as
/// the slot id does: where the area is a device's memory, no thread can sleep on it, and the C
/// library ends the process that tries to.
///
/// A call waits for the database lock. A holder that dies is succeeded by whoever waits.

/// Creates an object of zeroes; the data of one that is there by this name are lost.
BSP_EXPORT int WarmDatabase_createObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);

/// Finds an object.
BSP_EXPORT int WarmDatabase_retrieveObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);

/// Finds an object, or else creates it, full of zeroes. Of all who ask for a name at once, one gets
/// `*created` true, which tells who made it and not that anybody has filled it: another process may
/// read the object before its creator has, and a creator that dies leaves the zeroes to everybody.
/// So whoever gets the object looks, with the sync object locked, whether a marker in it says that
/// it is filled, and else fills it, the marker last: see examples/warm-object.c.
///
/// `*syncObject` receives the address of the block's pthread_mutex_t, which is shared between
/// processes; on failure it is left alone.
BSP_EXPORT int WarmDatabase_getObjectData(
    const char* blockName, void** data, unsigned objectSize, void** syncObject, bool* created)
    BSP_NONNULL(2, 4, 5);

/// Writes a summary of the used blocks, never more than `size` bytes with the terminating zero: no
/// line is begun with fewer than 46 bytes left, and the last one may be cut; 1,100 bytes hold
/// everything. Takes no lock. -1 for a null buffer with a size above 0.
BSP_EXPORT int WarmDatabase_getInfo(char* buffer, unsigned size);

/// The same functions under other names.
BSP_EXPORT int Bsp_createDtcmObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);
BSP_EXPORT int Bsp_retrieveDtcmObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);
BSP_EXPORT int Bsp_getDtcmObjectData(
    const char* blockName, void** data, unsigned objectSize, void** syncObject, bool* created)
    BSP_NONNULL(2, 4, 5);

/// The unit's slot id, which survives a warm restart; -1 when it is not set, as after a cold
/// restart, or when the warm database cannot supply it. Setting it then has no effect.
/// Both throw std::system_error, which ends a C program, when the slot's mutex cannot be locked.
BSP_EXPORT int Bsp_getSlotId(void);
BSP_EXPORT void Bsp_setSlotId(int slotId);

#ifdef __cplusplus
}
#endif

#endif
