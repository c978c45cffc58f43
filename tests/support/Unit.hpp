#pragma once

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

/// The files of a unit: in their namespaces, the tests run on one.
namespace test::unit {

using Code = std::array<unsigned char, 8>;

inline const std::filesystem::path Root = "/tmp/unit";
inline const std::filesystem::path Eeprom = Root / "var/lib/qor/e2prom/5/1";
inline const std::filesystem::path Config = Root / "var/lib/qor/config";
inline const std::filesystem::path WarmArea = Root / "dev/top.dtcm0";

/// Creates or replaces a file, and the folders above it.
inline void writeFile(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

inline void writeEeprom(const Code& code) {
    writeFile(Eeprom, std::string(code.begin(), code.end()));
}

enum Restart : char { Cold, Warm, Watchdog, Unknown };

/// Restarts the unit: one that records the cause in a register, with `area` as its warm area.
inline void restart(Restart cause, std::string_view area) {
    writeEeprom({16, 0, 0, 0, 0, 0, 0, 0});
    writeFile(Root / "dev/top.sys_ctrl0", std::string{cause, '\0', '\0', '\0'});
    std::filesystem::remove(WarmArea);
    writeFile(WarmArea, area);
    for (const auto& shared : std::filesystem::directory_iterator("/dev/shm")) {
        std::filesystem::remove(shared);
    }
}

/// Returns `size` bytes of repeated `text`.
inline std::string repeat(const std::string& text, std::size_t size) {
    std::string result;
    while (result.size() < size) {
        result += text;
    }
    return result.substr(0, size);
}

/// Returns noise, as power-on leaves it in a warm area, but the same at every call.
inline std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), std::mt19937(20)); // NOLINT(*-msc51-cpp,*-seed)
    return bytes;
}

/// Returns a warm area that starts with `blocks`; the rest is noise, in which each block is free.
inline std::string areaOf(const std::string& blocks) {
    return blocks + repeat('\0' + noise(1535), 32768 - blocks.size());
}

} // namespace test::unit
