// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/v1_trap.h"

#include <algorithm>

#include "snmp_pp/oid_def.h"

namespace Snmp_pp {
namespace {

constexpr int kEnterpriseSpecific = 6;
constexpr SmiUINT32 kStandardTraps = 6;

const Oid& snmp_traps() {
  static const Oid oid(kSnmpTrapsOid);
  return oid;
}

const Oid& snmp_trap_enterprise() {
  static const Oid oid(kSnmpTrapEnterpriseOid);
  return oid;
}

bool is_standard_trap(std::span<const SmiUINT32> notify_id) {
  const auto parent = notify_id.first(notify_id.size() - 1);
  return std::ranges::equal(parent, snmp_traps().arcs()) && notify_id.back() >= 1 &&
         notify_id.back() <= kStandardTraps;
}

// The enterprise of a standard trap: the Pdu's own, that of the
// snmpTrapEnterprise.0 binding, or snmpTraps.
const Oid& standard_enterprise(const Pdu& pdu) {
  if (pdu.notify_enterprise().valid()) {
    return pdu.notify_enterprise();
  }
  for (const Vb& binding : pdu.bindings()) {
    const auto* enterprise = dynamic_cast<const Oid*>(binding.value());
    if (enterprise != nullptr && binding.name() == snmp_trap_enterprise()) {
      return *enterprise;
    }
  }
  return snmp_traps();
}

Ipv4Octets agent_address(const Pdu& pdu) {
  const GenAddress& address = pdu.v1_trap_address();
  if (!address.valid()) {
    return local_host_ipv4();
  }
  return address.octets();
}

// The arcs of an enterprise-specific trap's enterprise: those of the notify id
// before its last one, less one zero at their end.
std::span<const SmiUINT32> specific_enterprise(std::span<const SmiUINT32> notify_id) {
  const auto arcs = notify_id.first(notify_id.size() - 1);
  return arcs.back() == 0 ? arcs.first(arcs.size() - 1) : arcs;
}

}  // namespace

std::optional<V1Trap> make_v1_trap(const Pdu& pdu) {
  const std::span<const SmiUINT32> notify_id = pdu.notify_id().arcs();
  if (notify_id.size() < 2) {
    return std::nullopt;
  }
  V1Trap trap{};
  trap.timestamp = static_cast<SmiUINT32>(static_cast<unsigned long>(pdu.notify_timestamp()));
  trap.agent_address = agent_address(pdu);
  if (is_standard_trap(notify_id)) {
    trap.generic_trap = static_cast<int>(notify_id.back()) - 1;
    trap.enterprise = standard_enterprise(pdu).arcs();
    return trap;
  }
  trap.generic_trap = kEnterpriseSpecific;
  trap.specific_trap = static_cast<int>(notify_id.back());
  trap.enterprise = specific_enterprise(notify_id);
  return trap;
}

}  // namespace Snmp_pp
