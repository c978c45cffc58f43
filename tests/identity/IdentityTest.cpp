#include "HwVariant.hpp"
#include "Identity/BoardIdLookup.hpp"
#include "Log.hpp"
#include "Process.hpp"
#include "QorConfig.hpp"
#include "TolvTrace.h"
#include "Unit.hpp"
#include "bsp/Product.hpp"
#include "e2prom.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>

#include <malloc.h>

namespace {

using namespace os::bsp;
using namespace test;

int preemptedProduct = -1;
std::atomic<int> eepromReads;
std::atomic<int> filesRead; // counts the reads that reach the end of a file
std::atomic<bool> isInRead;
thread_local bool staysInRead = false;
void (*atTheEnd)() = nullptr;

// Registered before the libraries' constructors run, so called after their destructors.
[[gnu::section(".preinit_array"), gnu::used]] void (*registration)() = [] {
    on_exit([](int, void*) { atTheEnd != nullptr ? atTheEnd() : void(); }, nullptr);
};

} // namespace

// A unit's function may write more than 8 bytes, even if it fails.
extern "C" BSP_EXPORT int e2prom_data_read(int device, int section, unsigned char* buffer) {
    ++eepromReads;
    std::fill_n(buffer, 64, 0xee);
    return original(e2prom_data_read, "e2prom_data_read")(device, section, buffer);
}

extern "C" BSP_EXPORT ssize_t read(int fd, void* buf, std::size_t nbytes) {
    while (staysInRead) {
        isInRead = true;
        pause();
    }
    const ssize_t count = original(read, "read")(fd, buf, nbytes);
    filesRead += count == 0 ? 1 : 0;
    return count;
}

ProductId os::bsp::getProductId() {
    return preemptedProduct >= 0 ? ProductId{preemptedProduct}
                                 : original(getProductId, "_ZN2os3bsp12getProductIdEv")();
}

namespace {

const std::string ExpectedTables =
#include "tables.txt"
    ;
const auto VariantFile = unit::Config / key::FpgaVariant;
const auto ModeFile = unit::Config / key::RadiolinkMode;
const std::string NoEeprom = "1 operator()(): e2prom_data_read() failed. Returned 2\n";
const std::string NoVariant = "1 operator()(): Invalid hardware variant\n";

const std::string NoDefault =
    "1 operator()(): No default hardware code, the hardware variant table has only ";

// The hardware codes of the variant table, which contains each of them twice; the row's number is
// its revision and product code. Beside each, what a unit with this code in its EEPROM answers,
// including the number of times it read the FPGA variant from the store.
constexpr std::pair<unit::Code, const char*> Variants[] = {
    {{9, 0, 1, 8, 9, 4, 9, 0}, "? 1 Qor4 Pcie BCM85651 Ethernet Gorm Pell Gorm 3 2 "},
    {{9, 1, 0, 7, 9, 0, 9, 1}, "QOR4A 2 Qor5 Pci BCM85650 Ethernet Wendrel Wendrel Wendrel 0 1 "},
    {{9, 2, 3, 6, 9, 2, 9, 2}, "QOR3001 1 ? ? BCM85655 Ethernet Ulvar Ulvar Ulvar 0 1 "},
    {{9, 1, 2, 5, 9, 3, 9, 3}, "QOR3002 2 Qor5 Ethernet ? Ethernet Fennic Fennic2 Fennic 3 2 "},
    {{9, 3, 1, 4, 9, 1, 9, 4}, "TK8851_1 2 ? Pcie ? Ethernet Tormel Tormel Tormel 0 1 "},
    {{9, 0, 2, 3, 9, 5, 9, 5}, "TK8851_2 2 Qor4 Ethernet ? Ethernet Corvel Corvel Prisk 3 2 "},
    {{9, 1, 4, 0, 9, 2, 9, 6}, "TK8466 2 Qor5 ? BCM85655 Ptp Pirlan Dunvar Pirlan 3 2 "},
    {{9, 0, 0, 1, 9, 4, 9, 7}, "LYN3001 1 Qor4 Pci BCM85651 ? ? ? ? 0 2 "},
    {{9, 1, 1, 2, 9, 0, 9, 8}, "? 1 Qor5 Pcie BCM85650 ? ? ? ? 0 2 "},
    {{9, 0, 2, 9, 9, 2, 9, 9}, "TK8851_3 1 Qor4 Ethernet BCM85655 ? ? ? ? 0 2 "},
    {{9, 1, 0, 3, 9, 4, 9, 10}, "LYN3002 2 Qor5 Pci BCM85651 Ethernet Corvel Corvel Prisk 3 2 "},
    {{9, 0, 1, 8, 9, 0, 9, 11}, "TK8851_4 2 Qor4 Pcie BCM85650 Ethernet Gorm Pell Gorm 3 2 "},
    {{9, 1, 2, 0, 9, 2, 9, 12}, "QOR3003 1 Qor5 Ethernet BCM85655 Ptp Pirlan Dunvar Pirlan 3 2 "},
    {{9, 0, 0, 5, 9, 4, 9, 13}, "QOR3004 2 Qor4 Pci BCM85651 Ethernet Fennic Fennic2 Fennic 3 2 "},
    {{9, 1, 1, 4, 9, 0, 9, 14}, "LYN3003 1 Qor5 Pcie BCM85650 Ethernet Tormel Tormel Tormel 0 1 "},
    {{255, 255, 255, 255, 255, 255, 255, 255}, "? 1 ? ? ? ? ? ? ? 0 2 "},
};
constexpr std::size_t All = 2 * std::size(Variants);

void become(const std::string& eeprom, std::size_t rows) {
    hwVariants = std::vector<QorHwVariant>(rows);
    for (std::size_t i = 0; i < rows; ++i) {
        const unit::Code& code = Variants[i % std::size(Variants)].first;
        hwVariants[i].hwRevision = hwVariants[i].productCode = static_cast<int>(i);
        std::copy(code.begin(), code.end(), hwVariants[i].hwCode.words.begin());
    }
    std::filesystem::remove(unit::Eeprom);
    if (!eeprom.empty()) {
        unit::writeFile(unit::Eeprom, eeprom);
    }
}

std::string name(NameTable table, int value) {
    return (value == table.back().value ? "?" : lookupName(table, value)) + " ";
}

std::string answers() {
    std::ostringstream all;
    all << Bsp_getHwRevision() << ' ' << name(productIdNames(), Bsp_getProductId())
        << Bsp_getNumberOfChannels() << ' ' << name(platformTypeNames(), Bsp_getPlatformType())
        << name(controlBackplaneTypeNames(), Bsp_getControlBackplane())
        << name(dspTypeNames(), Bsp_getDspType())
        << name(trafficBackplaneTypeNames(), Bsp_getTrafficBackplane());
    filesRead = 0;
    for (const auto& variant :
         {value::Empty, value::fpgaVariant::TwoTdm, value::fpgaVariant::OneTdmRleEqpNoMlhc}) {
        unit::writeFile(VariantFile, variant);
        all << name(trafFpgaTypeNames(), Bsp_getTrafFpgaType());
    }
    all << filesRead << ' ' << Bsp_getNumberOfRlt() << ' ';
    EXPECT_EQ(name(switchTypeNames(), Bsp_getSwitchType()), "None ");
    return all.str();
}

// Several threads ask at the same time; the EEPROM must be read, and each problem logged, only
// once.
void expect(
    const std::string& eeprom, std::size_t rows, const std::string& expected,
    const std::string& records) {
    const std::string log = logOf([&] {
        become(eeprom, rows);
        for (std::jthread& thread : std::vector<std::jthread>(8)) {
            thread = std::jthread(Bsp_getQorHwVariant);
        }
        TolvTrace_setLevel("bsp.core", 0);
        EXPECT_EQ(answers(), expected);
        EXPECT_EQ(eepromReads, 1);
    });
    EXPECT_EQ(recordsIn(log), records);
}

TEST(Hardware, AnswersFollowFromEepromAndVariants) {
    for (std::size_t i = 0; i < std::size(Variants); ++i) {
        const auto& [code, expected] = Variants[i];
        expect(std::string(code.begin(), code.end()), All, std::to_string(i) + " " + expected, "");
    }
    const std::string fifteenth = std::string("14 ") + Variants[14].second;
    const std::string nothing = "0 ? 1 ? ? ? ? ? ? ? 0 2 ";
    expect("", All, fifteenth, NoEeprom);
    expect("1234567", 15, fifteenth, "1 operator()(): e2prom_data_read() failed. Returned 5\n");
    expect("", 14, nothing, NoDefault + "14 rows\n" + NoEeprom + NoVariant);
    expect("", 0, nothing, NoDefault + "0 rows\n" + NoEeprom + NoVariant);
    expect("12345678", All, nothing, NoVariant);
}

TEST(Hardware, RecordsReportWhatIsUnknown) {
    TolvTrace_setLevel("bsp.core", 7);
    become("12345678", All);
    EXPECT_EQ(recordsIn(logOf(answers)), R"(1 operator()(): Invalid hardware variant
1 getProductId(): Unknown product ID: 0
6 ENTER getNumberOfChannels()
1 getProductId(): Unknown product ID: 0
1 getProductId(): Unknown product ID: 0
1 getNumberOfChannels(): Unknown product id: 18
7 getNumberOfChannels(): numberOfChannels = 1
1 getPlatformType(): Unknown platformType: 0
1 getControlBackplane(): Unknown backplaneType: 1
6 ENTER getDspType()
1 getDspType(): Unknown dspType: 4
1 getTrafficBackplane(): Unknown backplaneType: 8
1 getTrafFpgaType(): Not supported traffic FPGA: 8
1 getTrafFpgaType(): Not supported traffic FPGA: 8
1 getTrafFpgaType(): Not supported traffic FPGA: 8
6 ENTER getNumberOfRadiolinks()
1 getNumberOfRadiolinks(): Unknown traf type: 52
6 ENTER getSwitchType()
)");
    become("", All);
    for (auto* const query : {Bsp_getNumberOfChannels, Bsp_getNumberOfRlt}) {
        EXPECT_EQ(recordsIn(logOf(query)).find("6 ENTER"), 0); // before the one-time steps
    }
}

TEST(Hardware, BoardIsNamedByProductAndRevision) {
    constexpr const char* Unknown = "Unknown board revision";
    const std::tuple<int, int, int, const char*, const char*> boards[] = {
        {0, 2, 2, "TK5454_P3", "TK5454_P3"},
        {1, -1, -1, Unknown, "TK5452_XPIC"},
        {1, 0x10004, 0x10004, "TK5452_R2_P1", "TK5452_XPIC"},
        {3, 1, 0x30001, Unknown, "RV5491_REV_A"},
        {4, 3, 0x40003, "DQ5492_P5", "DQ5492_R2_P3"},
        {18, 0, 0x120000, Unknown, Unknown},
    };
    for (const auto& [product, revision, boardId, text, latest] : boards) {
        preemptedProduct = product;
        hwVariants[14].hwRevision = revision; // the row of a unit without an EEPROM
        EXPECT_EQ(Bsp_getBoardId(), boardId);
        EXPECT_STREQ(Bsp_getBoardIdText(), text);
        EXPECT_STREQ(Bsp_getLatestBoardIdText(), latest);
        EXPECT_EQ(Bsp_getNumberOfChannels(), 1U);
    }
    constexpr Bsp_BoardIdRow unsorted[] = {{1 << 16 | 5, "five"}, {1 << 16 | 3, "three"}, {0, "0"}};
    EXPECT_STREQ(findLatestBoardIdText(unsorted, 1), "five");
    EXPECT_STREQ(findLatestBoardIdText(unsorted, 0), "0");
}

#define TABLE(type, stem, LIST)                                                                    \
    tables << #type;                                                                               \
    for (const auto& [value, text] : stem##Names()) {                                              \
        tables << ' ' << value << '|' << Bsp_##stem##Name(value);                                  \
    }                                                                                              \
    tables << ' ' << Bsp_##type##_EndOfList << '\n';

// These numbers and texts are compiled into other software.
TEST(Tables, KeepTheirNumbersAndTexts) {
    std::ostringstream tables;
    BSP_ENUMERATIONS(TABLE)
    tables << std::hex << "boards";
    for (const Bsp_BoardIdRow& row : Bsp_boardIdMap) {
        tables << ' ' << row.boardId << '|' << row.text;
    }
    tables << "\nimages pci|" << Bsp_getFpgaPath("pci");
    for (const EnumName& row : trafFpgaTypeNames()) {
        std::string key = row.name;
        EXPECT_EQ(Bsp_getFpgaPath(key.c_str()), nullptr) << key;
        key.front() = static_cast<char>(std::tolower(key.front()));
        const char* const path = Bsp_getFpgaPath(key.c_str());
        tables << (path != nullptr ? ' ' + key + '|' + path : "");
    }
    EXPECT_EQ(Bsp_getFpgaPath(""), nullptr);
    EXPECT_EQ(tables.str() + '\n', ExpectedTables);
}

TEST(Setting, RadiolinkModeIsReadOnce) {
    std::filesystem::create_directories(unit::Config);
    const std::string log = logOf([] {
        EXPECT_EQ(Bsp_getRadiolinkMode(), 0);
        EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::EndOfList), -1);
        EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::Rl5), 0);
        std::thread([] { EXPECT_EQ(Bsp_getRadiolinkMode(), 0); }).join();
        EXPECT_EQ(Bsp_clearRadiolinkMode(), 0);
    });
    EXPECT_EQ(recordsIn(log), "1 setRadiolinkMode(): Unsupported radio-link mode: EndOfList\n");
}

TEST(Setting, FailureOfTheStoreReachesTheCallerAndIsNotKept) {
    unit::writeEeprom({});
    std::filesystem::create_directories(VariantFile);
    EXPECT_THROW(Bsp_getTrafFpgaType(), std::system_error);
    std::filesystem::create_directories(ModeFile);
    EXPECT_THROW(Bsp_getRadiolinkMode(), std::system_error);
    EXPECT_EQ(Bsp_clearRadiolinkMode(), -1);
    std::filesystem::remove_all(unit::Config);
    EXPECT_EQ(Bsp_setRadiolinkMode(RadiolinkMode::Rl4), -1);
    unit::writeFile(ModeFile, "Rl5");
    EXPECT_EQ(Bsp_getRadiolinkMode(), 1);
}

#ifndef __SANITIZE_THREAD__ // the thread sanitizer's pthread_once() does not handle forks

// The child inherits the half-done query of its parent's other thread, but not that thread.
TEST(Fork, ChildCanRepeatAQueryThatAnotherThreadHasNotFinished) {
    become("12345678", All);
    unit::writeFile(ModeFile, "Rl5");
    const std::pair<int (*)(), int> queries[] = {
        {Bsp_getPlatformType, 3}, {Bsp_getProductId, 18}, {Bsp_getRadiolinkMode, 1}};
    for (const auto& row : queries) {
        logOf([&] {
            std::thread([&] { staysInRead = true, row.first(); }).detach();
            while (!isInRead) {
                std::this_thread::yield();
            }
            EXPECT_EQ(inChild([&] { alarm(10), _exit(row.first()); }).status, row.second);
        });
    }
}

#endif

TEST(Log, EvaluatesPiecesFirstAndKeepsErrno) {
    hwVariants[14].hwRevision = 7;
    testing::internal::CaptureStderr();
    errno = EINTR;
    BSP_LOG(coreLog(), 4, "never ", std::stoi(""));
    BSP_LOG(
        coreLog(), 3, INT_MIN, " ", ULLONG_MAX, " ", Bsp_getHwRevision()); // opens a file, and logs
    EXPECT_EQ(errno, EINTR);
    EXPECT_ANY_THROW(BSP_LOG(coreLog(), 3, "never ", (errno = ENOENT, std::stoi(""))));
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(
        recordsIn(testing::internal::GetCapturedStderr()),
        NoEeprom + "3 TestBody(): -2147483648 18446744073709551615 7\n");
}

TEST(Variant, CanBeReadUntilTheProcessEnds) {
    const Outcome outcome = inChild([] {
        hwVariants[14].productCode = 5;
        Bsp_getQorHwVariant();
        mallopt(M_PERTURB, 1); // free() overwrites the memory
        atTheEnd = [] {
            _exit(Bsp_getQorHwVariant()->productCode);
        };
    });
    EXPECT_EQ(outcome.status, 5);
}

} // namespace
