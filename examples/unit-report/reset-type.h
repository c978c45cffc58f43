/* The layer tells the reset type to C++ only; this is how a C program gets at it. */
#ifndef RESET_TYPE_H
#define RESET_TYPE_H

#ifdef __cplusplus
extern "C" {
#endif

/* The name of the last restart's cause; constant. */
const char* lastResetName(void);

#ifdef __cplusplus
}
#endif

#endif
