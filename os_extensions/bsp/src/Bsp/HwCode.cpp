#include "HwCode.hpp"

#include "CoreLog.hpp"
#include "OnceFlag.hpp"
#include "e2prom.h"

#include <algorithm>

namespace os::bsp {
namespace {

constexpr int EepromDevice = 5;
constexpr int EepromSection = 1;
constexpr std::size_t DefaultVariant = 14;

// The platform's function may write more than the 8 bytes that are used.
using EepromBuffer = std::array<unsigned char, 64>;

constinit OnceFlag eepromRead;

QorHwCode defaultHwCode() {
    if (hwVariants.size() > DefaultVariant) {
        return hwVariants[DefaultVariant].hwCode;
    }
    BSP_LOG(
        coreLog(), 1, "No default hardware code, the hardware variant table has only ",
        hwVariants.size(), " rows");
    QorHwCode none{};
    none.words.fill(-1);
    return none;
}

} // namespace

const QorHwCode& getHwCode() {
    static QorHwCode code = defaultHwCode();
    eepromRead.run([] {
        EepromBuffer bytes{};
        const int result = e2prom_data_read(EepromDevice, EepromSection, bytes.data());
        if (result != 0) {
            BSP_LOG(coreLog(), 1, "e2prom_data_read() failed. Returned ", result);
            return;
        }
        std::copy_n(bytes.begin(), code.words.size(), code.words.begin());
    });
    return code;
}

} // namespace os::bsp
