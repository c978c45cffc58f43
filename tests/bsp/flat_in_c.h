#ifndef FLAT_IN_C_H
#define FLAT_IN_C_H

#include "bsp/Bsp.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { FlatNumbers = 12, FlatTexts = 3 };

struct FlatAnswers {
    int numbers[FlatNumbers];
    const char* texts[FlatTexts];
    const Bsp_HwVariant* variant;
    const struct Bsp_BoardIdRow* boards;
};

struct FlatAnswers askFlatInterface(void);
int setModeInC(int mode);

#ifdef __cplusplus
}
#endif

#endif
