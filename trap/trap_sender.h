// Relays an AgentX notification as one SNMPv1 trap to every trap destination of
// the host. The one entry point of both daemon processes; each call is done,
// sockets closed, when it returns.
#ifndef TVUREV_TRAP_TRAP_SENDER_H_
#define TVUREV_TRAP_TRAP_SENDER_H_

#include <cstdint>
#include <span>
#include <vector>

#include "trap/agentx.h"

// Decodes the notification and sends its trap, unless host SNMP is disabled
// (one log line at priority 3). Returns 1 when the notification announced a
// reset of the BMC, else 0; never a negative value. The trap is sent also when
// it announces a reset.
int send_trap_to_host(std::span<const uint8_t> packet);

// Sends one trap to every destination in order: the enterprise, generic and
// specific fields follow RFC 3584 section 3.2 applied to trapOid, the time
// stamp is timestamp, the agent address is the host's, and the first 25 of vbs
// are its bindings. Always returns 1. No destinations, or a trapOid that is no
// object identifier: one log line at priority 3.
int send_traps(const OidText& trapOid, uint32_t timestamp, const std::vector<Vb>& vbs);

// Sends one trap to one destination through a session, and so a UDP socket, of
// its own. Failures are logged at priority 3 and end nothing.
void send_one_trap(Pdu& pdu, CTarget& target, const char* destination, const OidText& trapOid);

#endif  // TVUREV_TRAP_TRAP_SENDER_H_
