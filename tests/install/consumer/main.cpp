#include <bsp/Product.hpp>
#include <bsp/WarmSlot.hpp>

#include <iostream>

int main() {
    os::bsp::slotInstance().set(7);
    std::cout << os::bsp::lookupName(os::bsp::productIdNames(), os::bsp::getProductId()) << ' '
              << os::bsp::slotInstance().get() << " Qor5 EndOfList\n";
}
