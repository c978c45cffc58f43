#include "Process.hpp"
#include "QorConfig.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Bsp.h"
#include "bsp/Components.hpp"
#include "bsp/FpgaPath.hpp"
#include "bsp/RadiolinkMode.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <system_error>
#include <thread>

#include <sys/mount.h>

namespace {

using namespace test;
namespace key = os::bsp::key;

const auto VariantFile = unit::Config / key::FpgaVariant;
const auto ModeFile = unit::Config / key::RadiolinkMode;

const std::string TwoTdm(os::bsp::value::fpgaVariant::TwoTdm);
const std::string OneTdm(os::bsp::value::fpgaVariant::OneTdmRleEqpNoMlhc);
const std::string Rl4(os::bsp::value::radiolinkMode::Rl4);
const std::string Rl5(os::bsp::value::radiolinkMode::Rl5);

// A value in whose place there is something that cannot be read.
void makeUnreadable(const std::filesystem::path& file) {
    std::filesystem::remove(file);
    std::filesystem::create_directories(file);
}

void setTrafficCode(unsigned char code) {
    unit::writeEeprom({99, 0, 0, code, 0, 0, 0, 0});
    TolvTrace_setLevel("bsp.core", 0);
}

// FPGA by traffic code: standard, with TwoTdm, with OneTdmRleEqpNoMlhc.
const std::map<unsigned char, std::array<int, 3>> Fpgas = {
    {0, {6, 7, 6}},    {3, {12, 12, 13}}, {4, {14, 14, 14}}, {5, {15, 16, 15}},
    {6, {17, 17, 17}}, {7, {18, 18, 18}}, {8, {19, 20, 19}}, {9, {23, 23, 23}},
};

TEST(FpgaVariant, IsReadAtEveryCall) {
    std::filesystem::create_directories(unit::Config);
    for (const auto& [code, fpgas] : Fpgas) {
        const auto outcome = inChild([code = code, fpgas = fpgas] {
            setTrafficCode(code);
            const std::pair<std::string, int> values[] = {
                {"", fpgas[0]},
                {TwoTdm, fpgas[1]},
                {TwoTdm + " ", fpgas[0]},
                {OneTdm, fpgas[2]},
                {OneTdm + "\n", fpgas[0]},
                {"twotdm", fpgas[0]},
                {TwoTdm + '\0', fpgas[0]},
            };
            EXPECT_EQ(Bsp_getTrafFpgaType(), fpgas[0]); // not set
            for (const auto& [text, fpga] : values) {
                unit::writeFile(VariantFile, text);
                EXPECT_EQ(static_cast<int>(os::bsp::getTrafFpgaType()), fpga) << text;
                EXPECT_EQ(Bsp_getTrafFpgaType(), fpga) << text;
            }
            std::filesystem::remove(VariantFile);
        });
        EXPECT_EQ(outcome.status, 0) << int{code} << outcome.out;
    }
}

TEST(FpgaVariant, IsReadOnlyWhereItMatters) {
    makeUnreadable(VariantFile);
    for (const auto& [code, fpgas] : Fpgas) {
        const auto outcome = inChild([code = code, fpgas = fpgas] {
            setTrafficCode(code);
            if (fpgas[0] == fpgas[1] && fpgas[0] == fpgas[2]) {
                EXPECT_EQ(Bsp_getTrafFpgaType(), fpgas[0]);
            } else {
                EXPECT_THROW(os::bsp::getTrafFpgaType(), std::system_error);
            }
        });
        EXPECT_EQ(outcome.status, 0) << int{code} << outcome.out;
    }
}

// Every FPGA that can be fitted has an image under its name in lower case, and no other one has.
TEST(FpgaPath, NamesOfFittedFpgasAreTheKeys) {
    std::set<int> fitted;
    for (const auto& [code, fpgas] : Fpgas) {
        fitted.insert(fpgas.begin(), fpgas.end());
    }
    fitted.erase(23);
    EXPECT_EQ(fitted.size(), 11U);
    std::set<const char*> paths;
    for (const auto& row : os::bsp::trafFpgaTypeNames()) {
        std::string name = row.name;
        EXPECT_EQ(Bsp_getFpgaPath(name.c_str()), nullptr) << name;
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char character) {
            return static_cast<char>(std::tolower(character));
        });
        const char* const path = os::bsp::getFpgaPath(name.c_str());
        EXPECT_EQ(path != nullptr, fitted.contains(row.value)) << name;
        EXPECT_EQ(path, Bsp_getFpgaPath(name.c_str()));
        EXPECT_EQ(Bsp_getFpgaPath((name + " ").c_str()), nullptr);
        paths.insert(path);
    }
    EXPECT_EQ(paths.size(), 12U); // eleven, and null
    EXPECT_STREQ(Bsp_getFpgaPath("corvel"), "fwi204411_12/R11T/fwi204411_12.bin");
    EXPECT_STREQ(Bsp_getFpgaPath("fennic"), "fwi204477_2/R13G/fwi204477_2.bin");
    EXPECT_STREQ(Bsp_getFpgaPath("ulvar"), "fwi204411_9/R7G05/fwi204411_9.bin");
    EXPECT_STREQ(Bsp_getFpgaPath("pci"), "hwd300155_3/R1B01/hwd300155_3.bin");
    EXPECT_EQ(Bsp_getFpgaPath(""), nullptr);
}

class RadiolinkModes : public testing::Test {
protected:
    RadiolinkModes() { std::filesystem::create_directories(unit::Config); }
};

TEST_F(RadiolinkModes, TextsOfTheStore) {
    const std::pair<std::string, int> texts[] = {
        {Rl5, 1}, {Rl4, 0}, {"", 0}, {Rl5 + "\n", 0}, {"rl5", 0}, {"noise", 0},
    };
    for (const auto& [text, mode] : texts) {
        unit::writeFile(ModeFile, text);
        EXPECT_EQ(inChild([mode = mode] { EXPECT_EQ(Bsp_getRadiolinkMode(), mode); }).status, 0)
            << text;
    }
    std::filesystem::remove(ModeFile);
    EXPECT_EQ(Bsp_getRadiolinkMode(), 0);
}

TEST_F(RadiolinkModes, AreReadOnceAndSetForLaterProcesses) {
    EXPECT_EQ(
        inChild([] {
            EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::Rl5), 0);
            EXPECT_EQ(Bsp_getRadiolinkMode(), 1);
            EXPECT_EQ(Bsp_clearRadiolinkMode(), 0);
            EXPECT_EQ(Bsp_getRadiolinkMode(), 1);
        }).status,
        0);
    EXPECT_EQ(Bsp_getRadiolinkMode(), 0);
    EXPECT_TRUE(os::bsp::setRadiolinkMode(RadiolinkMode::Rl5));
    EXPECT_EQ(unit::readFile(ModeFile), Rl5);
    EXPECT_EQ(Bsp_getRadiolinkMode(), 0);
    EXPECT_TRUE(os::bsp::clearRadiolinkMode());
    EXPECT_FALSE(std::filesystem::exists(ModeFile));
    EXPECT_EQ(os::bsp::getRadiolinkMode(), RadiolinkMode::Rl4);
}

TEST_F(RadiolinkModes, UnsupportedOnesAreRefused) {
    testing::internal::CaptureStderr();
    for (const int mode : {2, -1, 77}) {
        EXPECT_EQ(Bsp_setRadiolinkMode(static_cast<RadiolinkMode>(mode)), -1);
    }
    EXPECT_EQ(
        countLines(
            testing::internal::GetCapturedStderr(),
            "setRadiolinkMode(): Unsupported radio-link mode: EndOfList"),
        3);
    EXPECT_FALSE(std::filesystem::exists(ModeFile));
}

TEST_F(RadiolinkModes, ReadOnlyStoreRefuses) {
    ASSERT_EQ(mount("none", unit::Config.c_str(), "tmpfs", MS_RDONLY, nullptr), 0);
    EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::Rl4), -1);
    EXPECT_EQ(Bsp_clearRadiolinkMode(), 0); // there is none
    EXPECT_EQ(Bsp_getRadiolinkMode(), 0);
}

TEST_F(RadiolinkModes, FailedReadIsTriedAgain) {
    makeUnreadable(ModeFile);
    std::atomic<int> failures = 0;
    const auto ask = [&] {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                try {
                    EXPECT_EQ(os::bsp::getRadiolinkMode(), RadiolinkMode::Rl5);
                } catch (const std::system_error&) {
                    ++failures;
                }
            });
        }
    };
    ask();
    EXPECT_EQ(failures, 8);
    std::filesystem::remove(ModeFile);
    unit::writeFile(ModeFile, Rl5);
    ask();
    EXPECT_EQ(failures, 8);
}

} // namespace
