#pragma once

#include "HwVariant.hpp"

namespace os::bsp {

/// What the words of a hardware code stand for; the others are only compared.
enum HwWord : std::size_t {
    PlatformWord = 1,
    ControlBackplaneWord = 2,
    TrafficWord = 3,
    DspWord = 5
};

/// The platform's function may write more than the 8 bytes that are used.
using EepromBytes = std::array<unsigned char, 64>;

/// Reads the EEPROM of the hardware code. 0, or the platform's error number.
int readEeprom(EepromBytes& bytes);

/// The index of the variant whose code stands in for one that cannot be read.
inline constexpr std::size_t DefaultVariant = 14;

/// The unit's hardware code: word i is byte i of the EEPROM, 0 to 255. When the EEPROM cannot be
/// read it is the code of the platform's fifteenth variant, or eight words of -1 when the platform
/// has fewer. Set up by the first call in the process, in whichever thread makes it.
const QorHwCode& getHwCode();

/// A word of the hardware code in the unit's variant row: what most messages quote rather than the
/// unit's own word.
std::int32_t variantWord(HwWord word);

} // namespace os::bsp
