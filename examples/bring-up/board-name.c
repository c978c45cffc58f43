/* Names the board while its EEPROM is still empty. Preloaded in front of the layer's library:
 *
 *     BRING_UP_BOARD=TK5452_R2_P1 LD_PRELOAD=./libboard_name.so ./program-clock
 */
#include "bsp/Bsp.h"

#include <stdlib.h>

const char* Bsp_getBoardIdText(void) {
    const char* const board = getenv("BRING_UP_BOARD");
    return board != NULL ? board : "TK5452_R2_P1";
}
