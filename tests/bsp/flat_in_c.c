#include "flat_in_c.h"
#include "bsp/Bsp.h"

struct FlatAnswers askFlatInterface(void) {
    const struct FlatAnswers answers = {
        .numbers =
            {
                Bsp_getProductId(),
                Bsp_getHwRevision(),
                Bsp_getBoardId(),
                Bsp_getPlatformType(),
                Bsp_getTrafficBackplane(),
                Bsp_getControlBackplane(),
                Bsp_getDspType(),
                Bsp_getTrafFpgaType(),
                Bsp_getSwitchType(),
                (int)Bsp_getNumberOfChannels(),
                (int)Bsp_getNumberOfRlt(),
                Bsp_getRadiolinkMode(),
            },
        .texts = {Bsp_getBoardIdText(), Bsp_getLatestBoardIdText(), Bsp_getFpgaPath("pell")},
        .variant = Bsp_getQorHwVariant(),
        .boards = Bsp_boardIdMap,
    };
    return answers;
}

int setModeInC(int mode) {
    return Bsp_setRadiolinkMode(mode);
}
