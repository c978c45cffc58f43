#include <bsp/Bsp.h>
#include <bsp/Vocabulary.h>

#include <stdio.h>

_Static_assert(sizeof(Bsp_HwVariant) == 64, "sixteen words");

int main(void) {
    void* data = NULL;
    void* mutex = NULL;
    bool created = true;
    Bsp_setSlotId(7);
    Bsp_getDtcmObjectData("SLOT", &data, 28, &mutex, &created);
    printf("%s %d\n", Bsp_productIdName(Bsp_getProductId()), created ? -1 : Bsp_getSlotId());
    return 0;
}
