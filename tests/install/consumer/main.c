#include <bsp/Bsp.h>

#include <assert.h>
#include <stdio.h>

#ifndef __cplusplus
static_assert(sizeof(Bsp_HwVariant) == 64, "sixteen words");
#elif __cplusplus != 201703L
#error "built for another standard than this project's"
#endif

int main(void) {
    void* data = NULL;
    void* mutex = NULL;
    bool created = true;
    Bsp_setSlotId(7);
    Bsp_getDtcmObjectData("SLOT", &data, 28, &mutex, &created);
    printf("%s %d", Bsp_productIdName(Bsp_getProductId()), created ? -1 : Bsp_getSlotId());
    for (int value = -1; value <= Bsp_PlatformType_EndOfList + 1; ++value) {
        printf(" %s", Bsp_platformTypeName(value));
    }
    puts("");
    return 0;
}
