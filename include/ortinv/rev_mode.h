/* SPDX-License-Identifier: Apache-2.0 */
/* The BMC variable that switches the reverse proxy on: KXHVM6, one byte, 0
 * disabled. Each call opens a channel of its own and closes it. All messages go
 * through DebugLog. Not locked: the calls that talk to the BMC must not run in
 * parallel. Usable from C. */
#ifndef ORTINV_REV_MODE_H_
#define ORTINV_REV_MODE_H_

#include <ortinv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the variable's value: 0 also when it cannot be read. Tries three
 * times, a second apart. A variable that does not exist is created with 0. */
ORTINV_API int getRevModeConfig(void);

/* Writes the variable. Returns 0 on success, 1 otherwise. */
ORTINV_API int setRevModeConfig(uint8_t value);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_REV_MODE_H_ */
