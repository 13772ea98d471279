/* SPDX-License-Identifier: Apache-2.0 */
/* The registration file by which the hypervisor's SNMP agent learns that a
 * management agent at the BMC's address serves the entity MIB:
 * "/etc/config/ent_mib/ort.xml", unless it is set to something else. Not locked:
 * call these from one thread. Usable from C. */
#ifndef ORTINV_ENTITY_MIB_H_
#define ORTINV_ENTITY_MIB_H_

#include <ortinv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Asks the BMC for its addresses and rewrites the file, in place. Meant to be
 * called periodically: within 1800 seconds after an attempt,
 * failed ones included, it does nothing and returns 0.
 *
 * The IPv4 address is used, unless its text contains "0.0.0.0" (so does
 * "10.0.0.0", kept on purpose because it decides which address the host's agent
 * knows; docs/oddities.md: entity-mib-unset-address): then it is the IPv6 text,
 * even when empty, and nothing is written when the BMC could not be asked for
 * that.
 *
 * Returns 0 when the file was written or nothing needed doing, 1 when the BMC
 * did not give an IPv4 address or the file could not be created (logged). A
 * write error is not detected. */
ORTINV_API int update_ent_mib_xml(void);

/* Returns the file's path: a text of the library's, valid until it is set anew. */
ORTINV_API const char* ortinv_entity_mib_path(void);

/* Sets the file's path, which is copied; null sets the usual one. Returns 0, or
 * -1 when it is empty or longer than 255 characters; the path is then as it was. */
ORTINV_API int ortinv_set_entity_mib_path(const char* path);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_ENTITY_MIB_H_ */
