// SPDX-License-Identifier: Apache-2.0
// From a decoded notification to its traps.
#ifndef TVUREV_TRAP_TRAPS_H_
#define TVUREV_TRAP_TRAPS_H_

#include <cstdint>
#include <span>
#include <vector>

#include "trap/agentx_text.h"
#include "trap/snmp_classes.h"
#include "trap/trap_sender.h"

// Sends one trap to every destination in order: the enterprise, generic and
// specific fields follow RFC 3584 section 3.2 applied to trapOid, the time
// stamp is timestamp, the agent address is the host's, and the first 25 of vbs
// are its bindings. Always returns 1. No destinations, or a trapOid that is no
// object identifier: one log line at priority 3. Takes one block of memory at
// most, before anything is sent; throws std::bad_alloc when there is none. fates, for as
// many destinations as it has room for, receives what became of each trap; it is left as
// it was where no trap was made.
int send_traps(const OidText& trapOid, uint32_t timestamp, std::vector<Snmp_pp::Vb> vbs,
               std::span<TrapFate> fates = {});

// Sends one trap to one destination through a session, and so a UDP socket, of
// its own. Failures are logged at priority 3 and end nothing.
TrapFate send_one_trap(Snmp_pp::Pdu& pdu, Snmp_pp::CTarget& target, const char* destination,
                       const OidText& trapOid);

#endif  // TVUREV_TRAP_TRAPS_H_
