/* Shows the unit's slot id, or sets it: slot [NUMBER] */
#include "bsp/Bsp.h"

#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
    if (argc > 1) {
        char* end = argv[1];
        const long slotId = strtol(argv[1], &end, 10);
        if (*end != '\0' || end == argv[1]) {
            fprintf(stderr, "Usage: %s [NUMBER]\n", argv[0]);
            return 2;
        }
        Bsp_setSlotId((int)slotId);
    }
    printf("%d\n", Bsp_getSlotId());
    return 0;
}
