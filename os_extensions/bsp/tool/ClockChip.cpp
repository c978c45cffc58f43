#include "ClockChip.hpp"

#include <array>
#include <cerrno>

#include <unistd.h>

namespace clock_chip {
namespace {

constexpr off_t IdentificationRegister = 2;
constexpr int Attempts = 3;
constexpr useconds_t PauseMicroseconds = 20000;

using IdentificationBytes = std::array<std::uint8_t, 4>;

// A short transfer, or a seek to another offset, does not set errno; report it as EIO.
bool isAsWanted(off_t result, off_t wanted) {
    if (result != -1 && result != wanted) {
        errno = EIO;
    }
    return result == wanted;
}

bool transferred(ssize_t result, std::size_t size) {
    return isAsWanted(result, static_cast<off_t>(size));
}

bool seek(int device, off_t address) {
    return isAsWanted(lseek(device, address, SEEK_SET), address);
}

bool readOnce(int device, IdentificationBytes& bytes) {
    return seek(device, IdentificationRegister) &&
           transferred(read(device, bytes.data(), bytes.size()), bytes.size());
}

} // namespace

bool readIdentification(int device, std::uint32_t& word) {
    IdentificationBytes bytes{};
    for (int attempt = 1; !readOnce(device, bytes); ++attempt) {
        if (attempt == Attempts) {
            return false;
        }
        usleep(PauseMicroseconds);
    }
    word = 0;
    for (const std::uint8_t byte : bytes) {
        word = word << 8 | byte;
    }
    return true;
}

bool readConfiguration(int device, std::uint8_t* bytes, std::size_t size) {
    return seek(device, off_t{ConfigurationRegister}) &&
           transferred(read(device, bytes, size), size);
}

bool writeConfiguration(int device, const std::uint8_t* bytes, std::size_t size) {
    return seek(device, off_t{ConfigurationRegister}) &&
           transferred(write(device, bytes, size), size);
}

} // namespace clock_chip
