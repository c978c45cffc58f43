/* Shows the unit's radio-link mode, sets or clears it: radiolink-mode [Rl4|Rl5|clear] */
#include "bsp/Bsp.h"

#include <stdio.h>
#include <string.h>

static int change(const char* wanted) {
    if (strcmp(wanted, "clear") == 0) {
        return Bsp_clearRadiolinkMode();
    }
    for (int mode = 0; mode < Bsp_RadiolinkMode_EndOfList; ++mode) {
        if (strcmp(wanted, Bsp_radiolinkModeName(mode)) == 0) {
            return Bsp_setRadiolinkMode(mode);
        }
    }
    return -1;
}

int main(int argc, char** argv) {
    if (argc > 1 && change(argv[1]) != 0) {
        fprintf(stderr, "%s: could not change the mode to \"%s\"\n", argv[0], argv[1]);
        return 1;
    }
    printf("%s\n", Bsp_radiolinkModeName(Bsp_getRadiolinkMode()));
    return 0;
}
