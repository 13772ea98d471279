/* SPDX-License-Identifier: Apache-2.0 */
/* Asks the BMC for its own management network addresses, as text. Each call
 * opens a channel of its own and closes it before it looks at the answer. All
 * messages go through DebugLog. Not locked: the calls that talk to the BMC must
 * not run in parallel. Usable from C. */
#ifndef ORTINV_NETWORK_ADDRESS_H_
#define ORTINV_NETWORK_ADDRESS_H_

#include <ortinv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes that the destination of either call must hold at least. */
enum { kBmcAddressSize = 128 };

/* Writes the BMC's IPv4 address, dotted and terminated, to address, which may
 * be null. Returns 0; 1 when no channel could be opened; or what the exchange
 * gave, not 0. address is left untouched unless 0 is returned. A BMC without an
 * address, or with an answer too short to hold one, gives "0.0.0.0". */
ORTINV_API int get_Mox_IPv4(char* address);

/* Writes the BMC's first usable IPv6 address, terminated, to address, and 1 or
 * 0 to the two flags; each of the three may be null. Returns as get_Mox_IPv4
 * does; all outputs are left untouched unless 0 is returned, and also when the
 * BMC answers with an error, which counts as 0. address becomes an empty text
 * when IPv6 is off or no entry is usable.
 *
 * The text is not the standard IPv6 form, kept on purpose because callers
 * know it in this form (docs/oddities.md: ipv6-text): a 16-bit group with a zero
 * byte is left out whole, others are four lower-case digits; a colon
 * stands before each written group but the first of the eight, and two where
 * the group before it is zero. fe80:0:0:0:1122:33ff:fe44:5566 gives
 * "fe80::1122:33ff:fe44:5566", 2001:db8::1 gives "2001:0db8". */
ORTINV_API int get_Mox_IPv6(char* address, int* ipv6_enabled, int* ipv4_enabled);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_NETWORK_ADDRESS_H_ */
