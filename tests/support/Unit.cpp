#include "Unit.hpp"

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

namespace test::unit {

void writeFile(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

void writeEeprom(const Code& code) {
    writeFile(Eeprom, std::string(code.begin(), code.end()));
}

void restart(Restart cause, std::string_view area) {
    writeEeprom({16, 0, 0, 0, 0, 0, 0, 0});
    writeFile(Root / "dev/top.sys_ctrl0", std::string{cause, '\0', '\0', '\0'});
    std::filesystem::remove(WarmArea);
    writeFile(WarmArea, area);
    for (const auto& shared : std::filesystem::directory_iterator("/dev/shm")) {
        std::filesystem::remove(shared);
    }
}

std::string noise(std::size_t size) {
    std::mt19937 generator(20); // NOLINT(cert-msc51-cpp,bugprone-random-generator-seed)
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(generator()); });
    return bytes;
}

} // namespace test::unit
