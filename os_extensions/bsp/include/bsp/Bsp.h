/// The flat interface of the board-support layer: valid C11 and C++17.
///
/// Conventions, for every function here:
/// - Any thread may call it, also as the first call into the layer: that sets up what it needs.
/// - A text that it returns is constant data that lives as long as the process; never free it.
/// - For hardware that the layer does not know, it returns the enumeration's "EndOfList" value
///   (Vocabulary.h), or a fallback if its comment names one, and logs level-1 messages on the trace
///   "bsp.core".
/// - A query of hardware or configuration throws std::system_error, which ends a C program, if a
///   value in the configuration store cannot be read or a lock cannot be taken.
/// - A program may preempt it with a definition of the same name in front of the layer's library,
///   for example to bring up a board before its EEPROM is written. The layer itself then calls that
///   definition of Bsp_getQorHwVariant, Bsp_getBoardIdText and Bsp_getLatestBoardIdText; its
///   Bsp_*Dtcm* functions call that definition of a WarmDatabase_* function. Otherwise it calls the
///   functions of os::bsp. The tool contains the layer and cannot be preempted.
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

/// For a C++ program this is the platform's own type. It is complete once the program includes the
/// platform's "HwVariant.hpp", which is in the package that bsp-dev needs, and in every SDK.
#ifdef __cplusplus
using Bsp_HwVariant = os::bsp::QorHwVariant;
#else
typedef struct Bsp_HwVariantRow Bsp_HwVariant;
#endif

/// The row of the platform's table whose hardware code is the unit's own, or the first row if there
/// is none. Never null; valid as long as the process lives. Like every other query of hardware,
/// except that of the switch type, it reads the unit's EEPROM if it is the first one in the
/// process.
BSP_EXPORT const Bsp_HwVariant* Bsp_getQorHwVariant(void);

/// The unit's product, a Bsp_ProductId value.
BSP_EXPORT int Bsp_getProductId(void);

/// The revision of the unit's board, a Bsp_HwRevision value. The layer passes on the number in the
/// platform's table without a range check.
BSP_EXPORT int Bsp_getHwRevision(void);

/// Product in the upper 16 bits, hardware revision in the lower 16 bits.
BSP_EXPORT int Bsp_getBoardId(void);

/// The board's printable name, or "Unknown board revision".
BSP_EXPORT const char* Bsp_getBoardIdText(void);

/// The name of the newest listed revision of this unit's product, or "Unknown board revision".
BSP_EXPORT const char* Bsp_getLatestBoardIdText(void);

/// The unit's generation, a Bsp_PlatformType value.
BSP_EXPORT int Bsp_getPlatformType(void);

/// What carries traffic between the boards, a Bsp_TrafficBackplaneType value.
BSP_EXPORT int Bsp_getTrafficBackplane(void);

/// What carries control between the boards, a Bsp_ControlBackplaneType value.
BSP_EXPORT int Bsp_getControlBackplane(void);

/// The modem chip, a Bsp_DspType value.
BSP_EXPORT int Bsp_getDspType(void);

/// The traffic FPGA, a Bsp_TrafFpgaType value. On boards with FPGA variants, every call reads the
/// unit's configuration store.
BSP_EXPORT int Bsp_getTrafFpgaType(void);

/// The switch chip, a Bsp_SwitchType value.
BSP_EXPORT int Bsp_getSwitchType(void);

/// The number of traffic channels, 1 or 2.
BSP_EXPORT unsigned Bsp_getNumberOfChannels(void);

/// The number of radio links, 1 or 2.
BSP_EXPORT unsigned Bsp_getNumberOfRlt(void);

/// The radio-link mode, a Bsp_RadiolinkMode value, as the unit's configuration store had it at the
/// first call in this process.
BSP_EXPORT int Bsp_getRadiolinkMode(void);

/// Stores the radio-link mode. Processes that have already read it keep their value. Returns 0, or
/// -1 if the store refuses it or if the mode is neither Rl4 nor Rl5.
BSP_EXPORT int Bsp_setRadiolinkMode(RadiolinkMode mode);

/// Removes the radio-link mode from the store, which then means Rl4. Processes that have already
/// read it keep their value. Returns 0, also if no mode was stored, or -1 if the store refuses.
BSP_EXPORT int Bsp_clearRadiolinkMode(void);

/// The path of an FPGA's image, relative to the directory of images. `key` is the FPGA's code name
/// in lower case, or "pci", and must not be null. Null for any other key.
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
/// - platform Qor4: the first register of the device "top.sys_ctrl0". The layer passes on its word
///   without a range check. Bsp_ResetType_Unknown if the device is missing or cannot be read.
/// - otherwise product TK8851_4: Bsp_ResetType_Cold if the file "/tmp/restart_cold" exists, else
///   Bsp_ResetType_Warm.
/// - any other unit: Bsp_ResetType_Cold.
///
/// The process keeps its first answer other than Unknown; after Unknown, the next call looks again.
BSP_EXPORT int Bsp_getResetType(void);

/// Programs the clock-synchroniser chip behind "/dev/idt" from "/etc/idt_<board name>.conf". The
/// file contains hexadecimal numbers separated by white space. The low 8 bits of each go to one
/// register, from register 8 on, at most 216. Progress and errors go to standard output, in lines
/// that begin with "NOTICE: " or "ERROR: ".
///
/// Returns 0, or -1 on an error. If the board has no such file, it returns 0 and the chip keeps
/// what it has. It writes the chip's registers only after it has read the whole file without an
/// error and the chip has answered. Make one call at a time: the chip has no lock.
BSP_EXPORT int Idt_writeConfig(void);

/// Reads the R-state of the kernel image `fileName` into `buffer`: the fourth part of the release
/// in the kernel's version banner ("Linux version 4.9.0.R2A05" has R2A05), at most 7 letters and
/// digits and a zero. `size` is at least 8. The kernel is compressed with gzip, and its archive is
/// the first one in the image and begins within the first 64 KiB.
///
/// Returns 0 if there is a banner. If the banner has no fourth part, the buffer stays as it was, so
/// initialise it. Otherwise returns -1, with the buffer untouched and the reason on the trace
/// "bsp.core": at level 4 if the image is cut short, else at level 1.
///
/// "/dev/shm" must have room for the inflated kernel during the call. The call creates the file
/// "zImage_tmp" there and removes the name at once, so calls may overlap, also those of different
/// users.
BSP_EXPORT int Bsp_getKernelRState(const char* fileName, char* buffer, size_t size);

/// Reads the texts that follow "Product number: " and "R-state: " in the boot loader's image into
/// the buffers, each of at least 1 byte. A text ends at the end of its line or at the first zero
/// byte; it is cut to fit and gets a terminating zero. The first occurrence of a label counts; the
/// buffer of a missing one gets "Not found".
///
/// Returns 0, or -1 if the image cannot be read, with both buffers untouched and the reason on the
/// trace "bsp.core". The call needs memory for the whole image. Calls may overlap.
BSP_EXPORT int Bsp_getUbootProductInfo(
    const char* deviceName, char* productNumber, size_t productNumberSize, char* rState,
    size_t rStateSize);

/// The warm database: up to 21 objects of at most 1520 bytes, named by 1 to 15 bytes, in memory
/// that survives a warm restart and that all processes of the unit share.
///
/// The functions return 0, or -1 with `*data` null; if something is wrong, they log it on the trace
/// "Bsp.WarmDatabase". Out-parameters must not be null. The data belong to the warm area, are
/// aligned to 16 bytes and stay valid as long as the process lives. The clients of one name must
/// agree on its size and format, and must lock the sync object while they use the data.
///
/// Lock a mutex inside an object only by repeated pthread_mutex_trylock(), as the slot id does: if
/// the area is a device's memory, no thread can sleep on the mutex, and the C library ends a
/// process that tries to.
///
/// A call waits for the database lock. If the holder dies, the next process that waits takes the
/// lock over.

/// Creates an object of zeroes. If an object has this name already, its data are lost.
BSP_EXPORT int WarmDatabase_createObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);

/// Finds an object. Returns -1 with `*data` null, and logs nothing, if no object has this name.
BSP_EXPORT int WarmDatabase_retrieveObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);

/// Finds an object, or else creates it, full of zeroes. If several callers ask for a name at once,
/// one of them gets `*created` true. That says who created the object, not that it is filled:
/// another process may read the object before its creator has filled it, and a creator that dies
/// leaves the zeroes to all others. So every client locks the sync object and looks for a marker in
/// the object. If there is none, the client fills the object and writes the marker last: see
/// examples/warm-object.c.
///
/// `*syncObject` receives the address of the block's pthread_mutex_t, which is shared between
/// processes; on failure it stays as it was.
BSP_EXPORT int WarmDatabase_getObjectData(
    const char* blockName, void** data, unsigned objectSize, void** syncObject, bool* created)
    BSP_NONNULL(2, 4, 5);

/// Writes a summary of the used blocks, never more than `size` bytes with the terminating zero: it
/// begins no line with fewer than 46 bytes left, and may cut the last line; 1,100 bytes hold
/// everything. Takes no lock. Returns 0, or -1 for a null buffer with a size above 0; the member
/// os::bsp::dtcm::WarmDatabase::getInfo() returns 0 for that, too.
BSP_EXPORT int WarmDatabase_getInfo(char* buffer, unsigned size);

/// Calls WarmDatabase_createObject().
BSP_EXPORT int Bsp_createDtcmObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);

/// Calls WarmDatabase_retrieveObject().
BSP_EXPORT int Bsp_retrieveDtcmObject(const char* blockName, void** data, unsigned objectSize)
    BSP_NONNULL(2);

/// Calls WarmDatabase_getObjectData().
BSP_EXPORT int Bsp_getDtcmObjectData(
    const char* blockName, void** data, unsigned objectSize, void** syncObject, bool* created)
    BSP_NONNULL(2, 4, 5);

/// The unit's slot id, which survives a warm restart; -1 if it is not set, as after a cold restart,
/// or if the warm database cannot supply it. Throws std::system_error, which ends a C program, if
/// the slot's mutex cannot be locked.
BSP_EXPORT int Bsp_getSlotId(void);

/// Sets the slot id; has no effect if the warm database cannot supply it. Throws as
/// Bsp_getSlotId().
BSP_EXPORT void Bsp_setSlotId(int slotId);

#ifdef __cplusplus
}
#endif

#endif
