#pragma once

#include <cstddef>
#include <cstdint>

/// The clock chip's registers, behind a descriptor whose offsets are register addresses. All
/// operations return false with errno set if the chip did not do all that they requested.
namespace clock_chip {

inline constexpr const char* DeviceName = "/dev/idt";

/// The first register of the configuration.
inline constexpr std::size_t ConfigurationRegister = 8;

/// Reads the identification word from registers 2 to 5, most significant byte first. Tries three
/// times, with 20 ms between the attempts.
bool readIdentification(int device, std::uint32_t& word);

/// Reads the registers from 8 on.
bool readConfiguration(int device, std::uint8_t* bytes, std::size_t size);

/// Writes to the registers from 8 on, in one call.
bool writeConfiguration(int device, const std::uint8_t* bytes, std::size_t size);

} // namespace clock_chip
