/* The BMC variables that hold periodic trap intervals, 32 bits each, chosen by
 * a selector: 10 is KXHVMA, 9 is KXHVM9, 8 is KXHVM8. The unit is the BMC's.
 * Each call opens a channel of its own and closes it. Messages go through
 * DebugLog, a few failures also to standard output. Usable from C. */
#ifndef ORTINV_INTERVAL_H_
#define ORTINV_INTERVAL_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the interval: 0 also when it cannot be read. Tries three times, a
 * second apart. A variable that does not exist is created with 0; the failure
 * message that follows a successful creation is kept on purpose. Any other
 * selector asks nothing and returns 0. */
uint32_t getIntervalEV(int selector);

/* Writes the interval. Returns 0 on success, 1 otherwise. Any other selector
 * writes nothing and returns 0. */
int setIntervalEV(int selector, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_INTERVAL_H_ */
