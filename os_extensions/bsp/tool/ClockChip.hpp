#pragma once

#include <cstddef>
#include <cstdint>

/// The clock chip's registers, behind a descriptor whose offsets are register addresses. Both
/// operations return false with errno set when the chip did not do all that was asked.
namespace clock_chip {

/// The identification word of registers 2 to 5, most significant byte first. Tries three times,
/// with 20 ms between the attempts.
bool readIdentification(int device, std::uint32_t& word);

/// Writes to the registers from 8 on, in one call.
bool writeConfiguration(int device, const std::uint8_t* bytes, std::size_t size);

} // namespace clock_chip
