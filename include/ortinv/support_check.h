/* SPDX-License-Identifier: Apache-2.0 */
/* Tells whether the server's BMC is of the supported generation, 6, and caches
 * the BMC's answer in "/opt/ortdv/tmp/moxstatus". Not locked: the calls that talk
 * to the BMC must not run in parallel. Usable from C. */
#ifndef ORTINV_SUPPORT_CHECK_H_
#define ORTINV_SUPPORT_CHECK_H_

#include <ortinv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 1 when the BMC is generation 6, else 0, also on every failure. A
 * status file of root's decides alone ("Mox6" in its first line); otherwise the
 * BMC is asked on a channel of its own, and its generation is written to the
 * file, whatever it is. Failures and the BMC's firmware version are logged. */
ORTINV_API int SystemSupported(void);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SUPPORT_CHECK_H_ */
