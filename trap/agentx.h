// SPDX-License-Identifier: Apache-2.0
// Decodes AgentX notifications (Notify-PDU, RFC 2741) of the BMC and of the
// host's management agent into what an SNMP trap needs. docs/protocol-agentx.md
// shows the bytes. Every field is read little-endian; the PDU's flag for network
// byte order and its context flag are not consulted.
#ifndef TVUREV_TRAP_AGENTX_H_
#define TVUREV_TRAP_AGENTX_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "trap/agentx_text.h"
#include "trap/snmp_classes.h"

// A decoded notification.
struct Notification {
  OidText trapOid = {};          // of snmpTrapOID.0; empty when there was none
  uint32_t timestamp = 0;        // of sysUpTime.0, in hundredths of a second
  std::vector<Snmp_pp::Vb> vbs;  // the other bindings, in order
  bool reset_seen = false;       // trapOid holds "6061": the BMC announces its reset
};

// Decodes a notification of any bytes whatever.
//
// The walk over the bindings is bounded by the PDU's payload_length and runs on
// a zero-padded 4096-byte copy: what lies behind the packet's end reads as zero.
// A binding that would leave the copy ends the walk, as does one of unknown type
// with no earlier one to take its length from. Both, and a packet that is only the
// first piece of what its payload_length states, are logged at priority 3; what was
// decoded before stands.
//
// As receivers have seen it since the first release: Counter32 and Gauge32 become
// INTEGER (docs/oddities.md: counters-as-integer), Opaque becomes OCTET STRING
// (opaque-as-octet-string), text ends at its first zero byte (text-ends-at-zero),
// TimeTicks other than sysUpTime become 0 (timeticks-0), and an unknown type
// advances by the binding before it (unknown-type-advances). Null,
// Counter64 and the exceptions are skipped by their true length. sysUpTime,
// snmpTrapOID and snmpTrapCommunity make no binding. A binding whose name or
// value does not parse is left out (debug line). Throws std::bad_alloc when there
// is no memory for one.
Notification decode_notification(std::span<const uint8_t> packet);

#endif  // TVUREV_TRAP_AGENTX_H_
