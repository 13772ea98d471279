/* SPDX-License-Identifier: Apache-2.0 */
/* The host's memory figures, read from the hypervisor's kernel-state shell tool,
 * and its uptime. Messages go through DebugLog, under its module "talHost".
 * Any thread may call both. Usable from C. */
#ifndef ORTINV_MEMORY_INFO_H_
#define ORTINV_MEMORY_INFO_H_

#include <ortinv/export.h>
/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Megabytes, rounded toward zero. The tool's figures in kilobytes are read as
 * 32-bit signed numbers, kept on purpose because the record's fields are part of
 * the interface (docs/oddities.md: memory-32-bits): 2 TB and more do not fit. */
struct HostMemInfo {
  int32_t total_physical;
  int32_t free_physical;
  int32_t total_virtual;
  int32_t free_virtual;
};

/* Fills the record; does nothing for null. A figure that the tool does not
 * print becomes 0. When either of the two commands cannot be started, the whole
 * record stays as it was and the failure is logged. Blocks until both have
 * ended. */
ORTINV_API void update_mem_info(struct HostMemInfo* record);

/* Returns the seconds since the host started, or 0 on a failure. */
ORTINV_API long HostUptime(void);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_MEMORY_INFO_H_ */
