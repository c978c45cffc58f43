/* Reports what the layer says of the unit that this program runs on:
 *
 *     unit-report [KERNEL-IMAGE [BOOT-LOADER-IMAGE]]
 */
#include "bsp/Bsp.h"
#include "bsp/Vocabulary.h"
#include "reset-type.h"

#include <ctype.h>
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

/* Images are kept under the FPGA's name in lower case. */
static const char* imageOf(const char* fpga) {
    char key[16] = "";
    for (size_t i = 0; fpga[i] != '\0' && i + 1 < sizeof key; ++i) {
        key[i] = (char)tolower((unsigned char)fpga[i]);
    }
    const char* const path = Bsp_getFpgaPath(key);
    return path != NULL ? path : "none";
}

static void reportComponents(void) {
    const char* const fpga = Bsp_trafFpgaTypeName(Bsp_getTrafFpgaType());
    printText("DSP", Bsp_dspTypeName(Bsp_getDspType()));
    printText("traffic FPGA", fpga);
    printText("its image", imageOf(fpga));
    printText("switch", Bsp_switchTypeName(Bsp_getSwitchType()));
    printNumber("channels", (int)Bsp_getNumberOfChannels());
    printNumber("radio links", (int)Bsp_getNumberOfRlt());
    printText("radio-link mode", Bsp_radiolinkModeName(Bsp_getRadiolinkMode()));
}

static void reportWarmStorage(void) {
    char info[1200];
    printText("last restart", lastResetName());
    printNumber("slot id", Bsp_getSlotId());
    if (WarmDatabase_getInfo(info, sizeof info) == 0) {
        printf("%s", info);
    }
}

static void reportSoftware(const char* kernelImage, const char* bootLoaderImage) {
    char kernel[8] = "none";
    char product[32] = "unreadable";
    char bootLoader[32] = "unreadable";
    if (kernelImage != NULL) {
        const int result = Bsp_getKernelRState(kernelImage, kernel, sizeof kernel);
        printText("kernel R-state", result == 0 ? kernel : "unreadable");
    }
    if (bootLoaderImage != NULL) {
        Bsp_getUbootProductInfo(
            bootLoaderImage, product, sizeof product, bootLoader, sizeof bootLoader);
        printText("boot-loader product", product);
        printText("boot-loader R-state", bootLoader);
    }
}

int main(int argc, char** argv) {
    reportIdentity();
    reportComponents();
    reportSoftware(argc > 1 ? argv[1] : NULL, argc > 2 ? argv[2] : NULL);
    reportWarmStorage();
    return 0;
}
