/* Names the board while its EEPROM is still empty. Preload it, so that it replaces the layer's
 * function:
 *
 *     BRING_UP_BOARD=TK5452_R2_P1 LD_PRELOAD=./libboard_name.so ./program-clock
 */
#include "bsp/Bsp.h"

#include <stdlib.h>

const char* Bsp_getBoardIdText(void) {
    const char* const board = getenv("BRING_UP_BOARD");
    return board != NULL ? board : "TK5452_R2_P1";
}
