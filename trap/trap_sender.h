// SPDX-License-Identifier: Apache-2.0
// Relays an AgentX notification as one SNMPv1 trap to every trap destination of
// the host. The one entry point of both daemon processes; each call is done,
// sockets closed, when it returns.
#ifndef TVUREV_TRAP_TRAP_SENDER_H_
#define TVUREV_TRAP_TRAP_SENDER_H_

#include <cstdint>
#include <span>

// Decodes the notification and sends its trap, unless host SNMP is disabled
// (one log line at priority 3). Returns 1 when the notification announced a
// reset of the BMC, else 0; never a negative value. The trap is sent also when
// it announces a reset.
//
// Takes two blocks of memory for the bindings and one for each text of more than
// 128 bytes or object identifier of more than 32 numbers, whatever the number of
// receivers. Throws std::bad_alloc when there is none, before anything is sent:
// no trap goes out with a binding missing.
int send_trap_to_host(std::span<const uint8_t> packet);

#endif  // TVUREV_TRAP_TRAP_SENDER_H_
