/* The BMC variable that switches the reverse proxy on: KXHVM6, one byte, 0
 * disabled. Each call opens a channel of its own and closes it. All messages go
 * through DebugLog. Usable from C. */
#ifndef ORTINV_REV_MODE_H_
#define ORTINV_REV_MODE_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the variable's value: 0 also when it cannot be read. Tries three
 * times, a second apart. A variable that does not exist is created with 0. */
int getRevModeConfig(void);

/* Writes the variable. Returns 0 on success, 1 otherwise. */
int setRevModeConfig(uint8_t value);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_REV_MODE_H_ */
