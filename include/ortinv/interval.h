/* SPDX-License-Identifier: Apache-2.0 */
/* The BMC variables that hold periodic trap intervals, 32 bits each, chosen by
 * a selector: 10 is KXHVMA, 9 is KXHVM9, 8 is KXHVM8. The unit is the BMC's.
 * Each call opens a channel of its own and closes it. Messages go through
 * DebugLog, a few failures are also printed. Not locked: the calls that talk to
 * the BMC must not run in parallel. Usable from C. */
#ifndef ORTINV_INTERVAL_H_
#define ORTINV_INTERVAL_H_

#include <ortinv/export.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the interval: 0 also when it cannot be read. Tries three times, a
 * second apart. A variable that does not exist is created with 0; a successful
 * creation prints a failure message, kept on purpose because callers know
 * that line (docs/oddities.md: interval-success-called-failure). Any other
 * selector asks nothing and returns 0. */
ORTINV_API uint32_t getIntervalEV(int selector);

/* Writes the interval. Returns 0 on success, 1 otherwise. Any other selector
 * writes nothing and returns 0. */
ORTINV_API int setIntervalEV(int selector, uint32_t value);

/* Sends what the two calls above print to another stream than standard output;
 * null drops it. The stream stays the caller's, who keeps it open until it is
 * replaced. Printing there is kept on purpose because callers' users know it
 * (docs/oddities.md: interval-prints). Never fails. */
ORTINV_API void ortinv_set_print_stream(FILE* stream);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_INTERVAL_H_ */
