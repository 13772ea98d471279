// SPDX-License-Identifier: Apache-2.0
// The fields of an SNMPv1 Trap-PDU that have no like in the notification, and
// how they follow from it (RFC 3584, section 3.2).
#ifndef TVUREV_SNMP_PP_V1_TRAP_H_
#define TVUREV_SNMP_PP_V1_TRAP_H_

#include <optional>
#include <span>

#include "snmp_pp/ipv4_text.h"
#include "snmp_pp/pdu.h"

namespace Snmp_pp {

struct V1Trap {
  // May have fewer than two arcs: encoded as 0.0. Lies in the Pdu, or is static.
  std::span<const SmiUINT32> enterprise;
  int generic_trap;
  int specific_trap;
  SmiUINT32 timestamp;
  Ipv4Octets agent_address;
};

// The trap of a notification, or nothing when its notify id has fewer than two
// arcs. Looks up the local host's name when the Pdu has no trap address.
std::optional<V1Trap> make_v1_trap(const Pdu& pdu);

}  // namespace Snmp_pp

#endif  // TVUREV_SNMP_PP_V1_TRAP_H_
