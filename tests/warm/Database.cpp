#include "Database.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace test {

void useObjects(unsigned seed) {
    std::minstd_rand random(seed);
    while (true) {
        const char* const name = random() % 2 == 0 ? "A" : "B";
        void* data = nullptr;
        switch (random() % 3) {
        case 0:
            WarmDatabase_createObject(name, &data, 1520);
            break;
        case 1:
            WarmDatabase_retrieveObject(name, &data, 8);
            break;
        default:
            const Object object(name);
        }
    }
}

void expectWholeObjects(std::string_view area, const std::set<std::string>& known) {
    std::set<std::string> names;
    bool freeSeen = false;
    for (std::size_t block = 0; block < 21 * BlockSize; block += BlockSize) {
        const std::string name(area.data() + block, strnlen(area.data() + block, 16));
        EXPECT_FALSE(freeSeen && !name.empty()) << "a hole before " << name;
        freeSeen = freeSeen || name.empty();
        EXPECT_TRUE(freeSeen || names.insert(name).second) << name << " twice";
        EXPECT_TRUE(freeSeen || known.contains(name)) << "not an object: " << name;
        const bool zeroes =
            area.substr(block + 16, 1520).find_first_not_of('\0') == std::string_view::npos;
        EXPECT_TRUE(freeSeen || zeroes || name == "SLOT") << name;
    }
}

} // namespace test
