/* SPDX-License-Identifier: Apache-2.0 */
/* Which hypervisor release the host runs. One record is built on first use and
 * kept for the life of the process, also when the host is updated meanwhile.
 * Runs "uname -a" and "localcli" through the shell and asks the hypervisor's
 * user-world library. Messages go through DebugLog, under its modules "utils"
 * and "talHost". Not locked: call from one thread, or once before others start.
 * Usable from C. */
#ifndef ORTINV_HOST_IDENTITY_H_
#define ORTINV_HOST_IDENTITY_H_

#include <ortinv/export.h>
/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every text is terminated and cut at its field. The two version texts are the
 * same text; the shorter field may hold less of it. */
struct HostIdentity {
  char product[128];
  char version[128];       /* "PRODUCT VERSION Build-N[ Update N][ Patch N]" */
  char full_version[256];  /* the same */
  char system_type[128];   /* "Server" */
  char system_subtype[32]; /* "Server_3" */
  char short_version[128]; /* "VERSION Build-N[ Update N][ Patch N]" */
  char sysDescr[256];      /* first line of "uname -a" without its last character */
  uint8_t reserved[8];     /* zero */
  uint32_t build;
};

/* Returns the first character of the version number that the host's command
 * line tool reports ('8' for 8.0.2), or 0 when it could not be read. Blocks
 * until the tool has ended. */
ORTINV_API char get_distro(void);

/* Copies the host's identity to record and builds it first when this has not
 * been done. Nothing is reported: without "uname" sysDescr is empty, without
 * the platform's library product is empty and the numbers are 0. With null the
 * record is not built. */
ORTINV_API void getDistro(struct HostIdentity* record);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_HOST_IDENTITY_H_ */
