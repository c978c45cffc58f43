#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>

/// The files of the unit that the tests' private machine is.
namespace test::unit {

using Code = std::array<unsigned char, 8>;

inline const std::filesystem::path Root = "/tmp/unit";
inline const std::filesystem::path Eeprom = Root / "var/lib/qor/e2prom/5/1";
inline const std::filesystem::path Config = Root / "var/lib/qor/config";

/// Creates or replaces a file, and the folders above it.
void writeFile(const std::filesystem::path& path, std::string_view content);
std::string readFile(const std::filesystem::path& path);

void writeEeprom(const Code& code);

inline const std::filesystem::path WarmArea = Root / "dev/top.dtcm0";

enum Restart : char { Cold, Warm, Watchdog, Unknown };

/// Makes this a unit that tells its last restart in a register, with `area` as its warm area.
void restart(Restart cause, std::string_view area);

/// What power-on leaves in a warm area: noise, but repeatable.
std::string noise(std::size_t size);

} // namespace test::unit
