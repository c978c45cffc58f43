#include "Layout.hpp"
#include "Log.hpp"

#include <cstdarg>
#include <cstdio>

namespace os::bsp::dtcm {
namespace {

// A line is started only if this much space is left; a block's line may still be cut.
constexpr unsigned MinimumSpace = 46;

/// Appends lines of text to a caller's buffer.
class Lines {
public:
    Lines(char* buffer, unsigned size) : m_position(buffer), m_left(size) {}

    bool hasSpace() const { return m_left >= MinimumSpace; }

    __attribute__((format(printf, 2, 3))) void append(const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        const int length =
            std::vsnprintf(m_position, m_left, format, arguments); // NOLINT: it is initialised
        va_end(arguments);
        const unsigned written = std::min(static_cast<unsigned>(length), m_left);
        m_position += written;
        m_left -= written;
    }

private:
    char* m_position;
    unsigned m_left;
};

} // namespace

int WarmDatabase::getInfo(char* buffer, unsigned size) {
    if (buffer == nullptr) {
        return 0;
    }
    Lines lines(buffer, size);
    lines.append("Warm database information:\n");
    constexpr int SizeOfBlock = BlockSize;
    constexpr int SizeOfArea = WarmAreaSize;
    int usedBytes = 0;
    int number = 0;
    for (Block& block : warmArea(m_mappedMemory).blocks) {
        if (!lines.hasSpace()) {
            return 0;
        }
        ++number;
        if (const std::string name = block.copyName(); !name.empty()) {
            lines.append("Block[%02d] Name: %-20s Size: %d\n", number, name.c_str(), SizeOfBlock);
            usedBytes += SizeOfBlock;
        }
    }
    if (lines.hasSpace()) {
        lines.append("Used bytes: %d out of %d\n", usedBytes, SizeOfArea);
    }
    return 0;
}

unsigned WarmDatabase::getNumberOfFreeBlocks() const {
    unsigned count = 0;
    for (Block& block : warmArea(m_mappedMemory).blocks) {
        count += block.isFree() ? 1 : 0;
    }
    BSP_LOG(
        databaseLog(), 5, "Max number of blocks available: ", MaxNumberOfBlocks,
        ", Number of free blocks: ", count);
    return count;
}

void WarmDatabase::logNamesOfUsedBlocks() const {
    BSP_LOG(databaseLog(), 5, "Max number of blocks available: ", MaxNumberOfBlocks);
    unsigned number = 0;
    for (Block& block : warmArea(m_mappedMemory).blocks) {
        ++number;
        if (!block.isFree()) {
            BSP_LOG(databaseLog(), 5, "Block[", number, "] Name: ", block.copyName());
        }
    }
}

} // namespace os::bsp::dtcm
