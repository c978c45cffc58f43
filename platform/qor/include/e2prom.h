/// EEPROM access.
#ifndef E2PROM_H
#define E2PROM_H

#ifdef __cplusplus
extern "C" {
#endif

/// Copies the first 8 bytes of a section of an EEPROM device to `buffer`. Returns 0, or a positive
/// errno value without touching `buffer`. Callable from any thread.
int e2prom_data_read(int device, int section, unsigned char* buffer);

#ifdef __cplusplus
}
#endif

#endif
