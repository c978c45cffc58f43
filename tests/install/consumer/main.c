#include <bsp/Bsp.h>

#include <stdio.h>

#ifndef __cplusplus
_Static_assert(sizeof(Bsp_HwVariant) == 64, "sixteen words");
#elif __cplusplus != 201703L
#error "not built as C++17"
#endif

int main(void) {
    void* data = NULL;
    void* mutex = NULL;
    bool created = true;
    Bsp_setSlotId(7);
    Bsp_getDtcmObjectData("SLOT", &data, 28, &mutex, &created);
    printf("%s %d ", Bsp_productIdName(Bsp_getProductId()), created ? -1 : Bsp_getSlotId());
    printf("%s %s\n", Bsp_platformTypeName(Bsp_PlatformType_Qor5), Bsp_platformTypeName(-1));
    return 0;
}
