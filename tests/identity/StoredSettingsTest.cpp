#include "Process.hpp"
#include "QorConfig.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"
#include "bsp/Vocabulary.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <system_error>
#include <thread>

#include <sys/mount.h>

namespace {

using namespace test;

const auto VariantFile = unit::Config / os::bsp::key::FpgaVariant;
const auto ModeFile = unit::Config / os::bsp::key::RadiolinkMode;
const std::string Rl5(os::bsp::value::radiolinkMode::Rl5);

// A value in whose place there is something that cannot be read.
void makeUnreadable(const std::filesystem::path& file) {
    std::filesystem::remove(file);
    std::filesystem::create_directories(file);
}

TEST(FpgaVariant, IsReadAtEveryCallWhereItMatters) {
    TolvTrace_setLevel("bsp.core", 0);
    const std::string twoTdm(os::bsp::value::fpgaVariant::TwoTdm);
    unit::writeFile(VariantFile, "");
    const auto withVariants = inChild([&] {
        unit::writeEeprom({99, 0, 0, 0, 0, 0, 0, 0});
        for (const auto& [text, fpga] :
             {std::pair{twoTdm, 7}, {twoTdm + " ", 6}, {"twotdm", 6}, {twoTdm + '\0', 6}}) {
            unit::writeFile(VariantFile, text);
            EXPECT_EQ(Bsp_getTrafFpgaType(), fpga) << text;
        }
        makeUnreadable(VariantFile);
        EXPECT_THROW(Bsp_getTrafFpgaType(), std::system_error);
    });
    EXPECT_EQ(withVariants.status, 0) << withVariants.out;
    unit::writeEeprom({99, 0, 0, 4, 0, 0, 0, 0});
    EXPECT_EQ(Bsp_getTrafFpgaType(), 14); // without a look at the store
}

// Every FPGA that can be fitted has an image under its name in lower case, and no other one has.
TEST(FpgaPath, NamesOfFittedFpgasAreTheKeys) {
    const std::set<int> fitted = {6, 7, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    std::set<const char*> paths;
    for (const auto& row : os::bsp::trafFpgaTypeNames()) {
        std::string name = row.name;
        EXPECT_EQ(Bsp_getFpgaPath(name.c_str()), nullptr) << name;
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char character) {
            return static_cast<char>(std::tolower(character));
        });
        EXPECT_EQ(Bsp_getFpgaPath((name + " ").c_str()), nullptr);
        paths.insert(Bsp_getFpgaPath(name.c_str()));
        EXPECT_EQ(Bsp_getFpgaPath(name.c_str()) != nullptr, fitted.contains(row.value)) << name;
    }
    EXPECT_EQ(paths.size(), 12U); // eleven, and null
    EXPECT_STREQ(Bsp_getFpgaPath("ulvar"), "fwi204411_9/R7G05/fwi204411_9.bin");
    EXPECT_STREQ(Bsp_getFpgaPath("pci"), "hwd300155_3/R1B01/hwd300155_3.bin");
}

TEST(RadiolinkModes, AreReadOnceAndSetForLaterProcesses) {
    const std::pair<std::string, int> texts[] = {
        {Rl5, 1}, {"Rl4", 0}, {"", 0}, {Rl5 + "\n", 0}, {"rl5", 0}};
    for (const auto& [text, mode] : texts) {
        unit::writeFile(ModeFile, text);
        const auto outcome = inChild([mode = mode] {
            EXPECT_EQ(Bsp_getRadiolinkMode(), mode);
            EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::Rl5), 0);
            EXPECT_EQ(unit::readFile(ModeFile), Rl5);
            EXPECT_EQ(Bsp_setRadiolinkMode(static_cast<RadiolinkMode>(2)), -1);
            EXPECT_EQ(unit::readFile(ModeFile), Rl5);
            EXPECT_EQ(Bsp_clearRadiolinkMode(), 0);
            EXPECT_FALSE(std::filesystem::exists(ModeFile));
            EXPECT_EQ(Bsp_getRadiolinkMode(), mode);
        });
        EXPECT_EQ(outcome.status, 0) << text << outcome.out;
        EXPECT_EQ(
            countLines(outcome.err, "setRadiolinkMode(): Unsupported radio-link mode: EndOfList"),
            1);
    }
}

TEST(RadiolinkModes, ReadOnlyStoreRefuses) {
    std::filesystem::create_directories(unit::Config);
    ASSERT_EQ(mount("none", unit::Config.c_str(), "tmpfs", MS_RDONLY, nullptr), 0);
    EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::Rl4), -1);
    EXPECT_EQ(Bsp_clearRadiolinkMode(), 0); // there is none
    EXPECT_EQ(Bsp_getRadiolinkMode(), 0);
}

TEST(RadiolinkModes, FailedReadIsTriedAgain) {
    makeUnreadable(ModeFile);
    EXPECT_THROW(Bsp_getRadiolinkMode(), std::system_error);
    EXPECT_EQ(Bsp_clearRadiolinkMode(), -1);
    std::filesystem::remove(ModeFile);
    unit::writeFile(ModeFile, Rl5);
    std::vector<std::jthread> threads(8);
    for (std::jthread& thread : threads) {
        thread = std::jthread([] { EXPECT_EQ(Bsp_getRadiolinkMode(), 1); });
    }
}

} // namespace
