#pragma once

#include "HwVariant.hpp"

namespace os::bsp {

/// The words of a hardware code that have a meaning; the others are only compared.
enum HwWord : std::size_t {
    PlatformWord = 1,
    ControlBackplaneWord = 2,
    TrafficWord = 3,
    DspWord = 5
};

/// Larger than the 8 bytes in use, because the platform's function may write more.
using EepromBytes = std::array<unsigned char, 64>;

/// Reads the EEPROM of the hardware code. Returns 0, or the platform's error number.
int readEeprom(EepromBytes& bytes);

/// The index of the variant whose code is assumed if the EEPROM cannot be read.
inline constexpr std::size_t DefaultVariant = 14;

/// The unit's hardware code: word i is byte i of the EEPROM, 0 to 255. If the EEPROM cannot be
/// read, it is the code of the platform's fifteenth variant, or eight words of -1 if the platform
/// has fewer variants. The first call in the process, in any thread, reads it.
const QorHwCode& getHwCode();

/// A word of the hardware code in the unit's variant row. Most messages quote it instead of the
/// unit's own word.
std::int32_t variantWord(HwWord word);

} // namespace os::bsp
