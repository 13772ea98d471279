/* The registration file by which the hypervisor's SNMP agent learns that a
 * management agent at the BMC's address serves the entity MIB:
 * "/etc/config/ent_mib/ort.xml". Usable from C. */
#ifndef ORTINV_ENTITY_MIB_H_
#define ORTINV_ENTITY_MIB_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Asks the BMC for its addresses and rewrites the file, in place. Meant to be
 * called periodically, from one thread: within 1800 seconds after an attempt,
 * failed ones included, it does nothing and returns 0.
 *
 * The IPv4 address is used, unless its text contains "0.0.0.0" (so does
 * "10.0.0.0"; kept on purpose): then it is the IPv6 text, even when empty, and
 * nothing is written when the BMC could not be asked for that.
 *
 * Returns 0 when the file was written or nothing needed doing, 1 when the BMC
 * did not give an IPv4 address or the file could not be created (logged). A
 * write error is not detected. */
int update_ent_mib_xml(void);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_ENTITY_MIB_H_ */
