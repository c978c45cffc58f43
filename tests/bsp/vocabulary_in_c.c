#include "bsp/Bsp.h"
#include "bsp/Vocabulary.h"

const char* productIdNameInC(int value);
const char* resetTypeNameInC(int value);

_Static_assert(sizeof(Bsp_HwVariant) == 64, "sixteen words");

const char* productIdNameInC(int value) {
    return Bsp_productIdName(value);
}

const char* resetTypeNameInC(int value) {
    return Bsp_resetTypeName(value);
}
