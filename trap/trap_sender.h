// SPDX-License-Identifier: Apache-2.0
// Relays an AgentX notification as one SNMPv1 trap to every trap destination of
// the host. The one entry point of both daemon processes; each call is done,
// sockets closed, when it returns.
#ifndef TVUREV_TRAP_TRAP_SENDER_H_
#define TVUREV_TRAP_TRAP_SENDER_H_

#include <array>
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

// What became of the trap of one destination.
struct TrapFate {
  bool handed_over = false;        // to the network
  std::array<char, 256> why = {};  // where it was not: as the log says it
};

// The same, and tells what became of each destination's trap: entry i of fates is
// that of destination i. Entries without a trap are left as they were.
int send_trap_to_host(std::span<const uint8_t> packet, std::span<TrapFate> fates);

#endif  // TVUREV_TRAP_TRAP_SENDER_H_
