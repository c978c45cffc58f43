#include "e2prom.h"

#include "Unit.hpp"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace test;

TEST(Eeprom, GivesEightBytesOrAnErrorNumber) {
    unsigned char buffer[8] = {42, 42};
    EXPECT_EQ(e2prom_data_read(5, 1, buffer), ENOENT);
    unit::writeFile(unit::Eeprom, "1234567");
    EXPECT_EQ(e2prom_data_read(5, 1, buffer), EIO);
    EXPECT_EQ(buffer[0], 42);
    unit::writeFile(unit::Eeprom, "12345678 and more");
    EXPECT_EQ(e2prom_data_read(5, 1, buffer), 0);
    EXPECT_EQ(std::string(buffer, buffer + 8), "12345678");
    std::filesystem::create_directories(unit::Root / "var/lib/qor/e2prom/6/2");
    EXPECT_EQ(e2prom_data_read(6, 2, buffer), EISDIR);
}

} // namespace
