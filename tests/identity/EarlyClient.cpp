#include "bsp/Bsp.h"
#include "bsp/Vocabulary.hpp"

#include <cstdio>

namespace {

// The address of a table is all that the compiler may know of it before main.
struct Early {
    int product = Bsp_getProductId();
    std::string name = os::bsp::lookupName(os::bsp::productIdNames(), product);
    ~Early() { std::printf("%d %s %d\n", product, name.c_str(), Bsp_getProductId()); }
} early;

} // namespace

int main() {
    return 0;
}
