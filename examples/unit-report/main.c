/* Reports what the layer says of the unit that this program runs on. */
#include "bsp/Bsp.h"
#include "bsp/Vocabulary.h"
#include "reset-type.h"

#include <stdio.h>

static void printNumber(const char* what, int number) {
    printf("%-22s %d\n", what, number);
}

static void printText(const char* what, const char* text) {
    printf("%-22s %s\n", what, text);
}

static void reportIdentity(void) {
    const Bsp_HwVariant* const variant = Bsp_getQorHwVariant();
    printText("product", Bsp_productIdName(Bsp_getProductId()));
    printNumber("product code", variant->productCode);
    printText("hardware revision", Bsp_hwRevisionName(Bsp_getHwRevision()));
    printNumber("board id", Bsp_getBoardId());
    printText("board", Bsp_getBoardIdText());
    printText("latest board", Bsp_getLatestBoardIdText());
    printText("platform", Bsp_platformTypeName(Bsp_getPlatformType()));
    printText("traffic backplane", Bsp_trafficBackplaneTypeName(Bsp_getTrafficBackplane()));
    printText("control backplane", Bsp_controlBackplaneTypeName(Bsp_getControlBackplane()));
}

static void reportWarmStorage(void) {
    char info[1200];
    printText("last restart", lastResetName());
    printNumber("slot id", Bsp_getSlotId());
    if (WarmDatabase_getInfo(info, sizeof info) == 0) {
        printf("%s", info);
    }
}

int main(void) {
    reportIdentity();
    reportWarmStorage();
    return 0;
}
