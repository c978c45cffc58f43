/* Programs the clock chip, as a unit's start-up does. */
#include "bsp/Bsp.h"

int main(void) {
    return Idt_writeConfig() < 0 ? 1 : 0;
}
