#include <bsp/Bsp.h>
#include <bsp/Vocabulary.h>

#include <stdio.h>
#include <string.h>

_Static_assert(sizeof(Bsp_HwVariant) == 64, "sixteen words");
_Static_assert(sizeof Bsp_boardIdMap == 684, "nineteen rows");

int main(void) {
    void* data = NULL;
    void* mutex = NULL;
    bool created = false;
    Bsp_setSlotId(7);
    if (Bsp_getDtcmObjectData("SLOT", &data, 28, &mutex, &created) != 0 || created) {
        return 1;
    }
    if (strcmp(Bsp_productIdName(99), "EndOfList") != 0 || Bsp_setRadiolinkMode(1) != 0) {
        return 1;
    }
    printf("%s %d\n", Bsp_productIdName(Bsp_getProductId()), Bsp_getSlotId());
    return 0;
}
