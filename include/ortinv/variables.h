/* SPDX-License-Identifier: Apache-2.0 */
/* The variables that the BMC keeps in its non-volatile memory: their names, and
 * a read that tells why it gives no value and never creates one. The calls of
 * <ortinv/rev_mode.h> and <ortinv/interval.h> read 0 for whatever goes wrong and
 * create a variable that is missing. Usable from C. */
#ifndef ORTINV_VARIABLES_H_
#define ORTINV_VARIABLES_H_

#include <ortinv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes of a value: of the mode, and of an interval, which is little-endian. */
enum { kOrtinvModeSize = 1, kOrtinvIntervalSize = 4 };

/* Return the name of the reverse mode's variable (0 is off) and of the variable
 * of a periodic trap interval, chosen by its selector: 8, 9 or 10; null for any
 * other selector. Constant texts, not to be freed; any thread may call these. */
ORTINV_API const char* ortinv_mode_variable(void);
ORTINV_API const char* ortinv_interval_variable(int selector);

/* Returns a selector by its place, ascending from 0 on; -1 past the last one. Any
 * thread may call it. */
ORTINV_API int ortinv_interval_selector(uint32_t index);

/* What became of a read. */
enum OrtinvRead {
  kOrtinvReadThere = 0,     /* the variable exists */
  kOrtinvReadMissing = 1,   /* the BMC has no variable of this name */
  kOrtinvReadRefused = 2,   /* the BMC answered with another status than these two */
  kOrtinvReadNoChannel = 3, /* no channel to the BMC could be opened */
  kOrtinvReadNoAnswer = 4   /* the request failed on its way, or there was no memory */
};

/* Reads a variable once, on a channel of its own, and changes nothing.
 *   name      a terminated text, at most 498 characters
 *   value     capacity bytes, which belong to the caller; filled from the start
 *             when the variable is there and not longer, else left as they were
 *   length    set to the number of bytes filled, 0 when none; may be null
 *   status    set to the BMC's answer, 0 when there was none; may be null
 * Returns one of enum OrtinvRead. Blocks until the exchange has ended. Messages go
 * through DebugLog. Not locked: the calls that talk to the BMC must not run in
 * parallel. */
ORTINV_API int ortinv_read_variable(const char* name, uint8_t* value, uint16_t capacity,
                                    uint16_t* length, uint8_t* status);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_VARIABLES_H_ */
