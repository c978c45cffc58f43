#include "bsp/Product.hpp"

#include "HwVariant.hpp"
#include "Process.hpp"
#include "bsp/Bsp.h"

#include <gtest/gtest.h>

namespace {

using namespace test;
using os::bsp::hwVariants;

struct Mapping {
    int code;
    int product;
    const char* name;
};

// clang-format off
constexpr Mapping Mappings[] = {
    { 1,  5, "QOR4A"},    { 2,  6, "QOR3001"},   { 3,  7, "QOR3002"},  { 4, 10, "TK8851_1"},
    { 5, 11, "TK8851_2"}, { 6, 13, "TK8466"},    { 7,  8, "LYN3001"},  { 8, 18, "EndOfList"},
    { 9, 12, "TK8851_3"}, {10,  9, "LYN3002"},   {11, 14, "TK8851_4"}, {12, 15, "QOR3003"},
    {13, 16, "QOR3004"},  {14, 17, "LYN3003"},   { 0, 18, "EndOfList"}, {15, 18, "EndOfList"},
    {-1, 18, "EndOfList"}, {1 << 30, 18, "EndOfList"},
};
// clang-format on

TEST(Product, FollowsFromTheVariantsProductCode) {
    for (const Mapping& mapping : Mappings) {
        SCOPED_TRACE(mapping.code);
        const auto outcome = inChild([&] {
            hwVariants[14].productCode = mapping.code;
            const auto product = os::bsp::getProductId();
            EXPECT_EQ(static_cast<int>(product), mapping.product);
            EXPECT_EQ(Bsp_getProductId(), mapping.product);
            EXPECT_EQ(os::bsp::lookupName(os::bsp::productIdNames(), product), mapping.name);
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        const auto message =
            " getProductId: getProductId(): Unknown product ID: " + std::to_string(mapping.code);
        EXPECT_EQ(countLines(outcome.err, message), mapping.product == 18 ? 2 : 0) << outcome.err;
    }
}

TEST(Product, RevisionIsPassedOnAsItIs) {
    hwVariants[14].hwRevision = 9;
    EXPECT_EQ(static_cast<int>(os::bsp::getHwRevision()), 9);
    EXPECT_EQ(Bsp_getHwRevision(), 9);
}

} // namespace
