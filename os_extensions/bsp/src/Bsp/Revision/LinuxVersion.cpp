#include "Revision.hpp"

#include "Log.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include <sys/mman.h>
#include <sys/stat.h>

using os::bsp::coreLog;

namespace {

constexpr std::string_view Marker = "Linux version";
constexpr std::size_t LongestBanner = 1024;

/// Maps a whole file for reading.
class FileMapping {
public:
    /// Does not map a file that is larger than the address space.
    FileMapping(int fd, off_t size) : m_size(static_cast<std::size_t>(size)) {
        if (static_cast<off_t>(m_size) == size) {
            m_memory = mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, fd, 0);
        }
    }
    ~FileMapping() {
        if (*this) {
            munmap(m_memory, m_size);
        }
    }
    FileMapping(const FileMapping&) = delete;
    FileMapping& operator=(const FileMapping&) = delete;

    explicit operator bool() const { return m_memory != MAP_FAILED; }
    std::string_view content() const { return {static_cast<const char*>(m_memory), m_size}; }

private:
    void* m_memory = MAP_FAILED;
    std::size_t m_size;
};

// Where the marker ends. The search does not try the byte that breaks a partial match as a new
// start.
std::size_t findMarkerEnd(std::string_view image) {
    std::size_t start = 0;
    while ((start = image.find(Marker.front(), start)) != std::string_view::npos) {
        const auto candidate = image.substr(start, Marker.size());
        std::size_t matched = 0;
        while (matched < candidate.size() && candidate[matched] == Marker[matched]) {
            ++matched;
        }
        if (matched == Marker.size()) {
            return start + matched;
        }
        start += matched + 1;
    }
    return std::string_view::npos;
}

// `banner` begins after the marker, with one separating character.
void parseBanner(std::string_view banner, char* rState) {
    banner.remove_prefix(std::min<std::size_t>(1, banner.size()));
    std::array<char, LongestBanner + 1> text{};
    banner.copy(text.data(), LongestBanner);
    int numbers[3];
    std::sscanf( // NOLINT(cert-err34-c): a missing part is no error
        text.data(), "%d.%d.%d.%7[a-zA-Z0-9]", &numbers[0], &numbers[1], &numbers[2], rState);
}

} // namespace

char* Bsp_findLinuxVersion(std::FILE* image, char* buffer) {
    BSP_LOG_ENTER(coreLog(), "()");
    // This also flushes the stream, so that the mapping has all of it.
    if (std::fseek(image, 0, SEEK_SET) != 0) {
        BSP_LOG(coreLog(), 1, "fseek failed with errno = ", std::strerror(errno));
    }
    struct stat status {};
    if (fstat(fileno(image), &status) == -1) {
        BSP_LOG(coreLog(), 1, "fstat failed with errno = ", std::strerror(errno));
        return nullptr;
    }
    const FileMapping mapping(fileno(image), status.st_size);
    if (!mapping) {
        BSP_LOG(coreLog(), 1, "unable to mmap temp image");
        return nullptr;
    }
    const std::string_view content = mapping.content();
    const std::size_t end = findMarkerEnd(content);
    if (end == std::string_view::npos) {
        return nullptr;
    }
    parseBanner(content.substr(end), buffer);
    return buffer;
}
