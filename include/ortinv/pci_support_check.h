/* SPDX-License-Identifier: Apache-2.0 */
/* The other, independent support check: looks for the BMC's PCI function in the
 * host's device list. It knows generation 5 only, SystemSupported() 6 only; the
 * two are kept apart on purpose, because each answers for one generation alone
 * (docs/oddities.md: two-supported-generations). Any thread may call it. Usable from C. */
#ifndef ORTINV_PCI_SUPPORT_CHECK_H_
#define ORTINV_PCI_SUPPORT_CHECK_H_

#include <ortinv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 1 when "/sbin/localcli hardware pci list" shows the function of a BMC
 * of the given generation, else 0. Runs a shell command and blocks until it
 * has ended; logs only that it could not be started. */
ORTINV_API int system_is_supported(int32_t generation);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_PCI_SUPPORT_CHECK_H_ */
