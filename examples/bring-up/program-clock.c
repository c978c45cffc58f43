/* Programs the clock chip, as a unit does when it starts. */
#include "bsp/Bsp.h"

int main(void) {
    return Idt_writeConfig() < 0 ? 1 : 0;
}
