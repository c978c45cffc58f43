#include <bsp/Bsp.h>
#include <bsp/Vocabulary.h>

#include <stdio.h>

int main(void) {
    Bsp_setSlotId(7);
    printf("%s %d\n", Bsp_productIdName(Bsp_getProductId()), Bsp_getSlotId());
    return 0;
}
