#include "Unit.hpp"

#include <fstream>
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

} // namespace test::unit
