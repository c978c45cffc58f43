#include <bsp/Product.hpp>
#include <bsp/WarmSlot.hpp>

#include <iostream>

int main() {
    os::bsp::slotInstance().set(7);
    std::cout << os::bsp::lookupName(os::bsp::productIdNames(), os::bsp::getProductId()) << ' '
              << os::bsp::slotInstance().get();
    for (int value = -1; value <= Bsp_PlatformType_EndOfList + 1; ++value) {
        std::cout << ' ' << os::bsp::lookupName(os::bsp::platformTypeNames(), value);
    }
    std::cout << '\n';
}
