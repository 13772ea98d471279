#include "snmp_pp/v1_trap.h"

#include "snmp_pp/oid_def.h"
#include "snmp_pp/snmperrs.h"

namespace Snmp_pp {
namespace {

constexpr int kEnterpriseSpecific = 6;
constexpr unsigned long kStandardTraps = 6;

bool is_standard_trap(const Oid& notify_id) {
  Oid parent = notify_id;
  parent.trim();
  const unsigned long last = notify_id[notify_id.len() - 1];
  return parent == Oid(kSnmpTrapsOid) && last >= 1 && last <= kStandardTraps;
}

// The enterprise of a standard trap: the Pdu's own, that of the
// snmpTrapEnterprise.0 binding, or snmpTraps.
Oid standard_enterprise(const Pdu& pdu) {
  Oid enterprise;
  pdu.get_notify_enterprise(enterprise);
  for (int position = 0; !enterprise.valid() && position < pdu.get_vb_count(); ++position) {
    Vb binding;
    Oid name;
    pdu.get_vb(binding, position);
    binding.get_oid(name);
    if (name == Oid(kSnmpTrapEnterpriseOid)) {
      binding.get_value(enterprise);
    }
  }
  return enterprise.valid() ? enterprise : Oid(kSnmpTrapsOid);
}

Ipv4Octets agent_address(const Pdu& pdu) {
  GenAddress address;
  if (!pdu.get_v1_trap_address(address)) {
    return local_host_ipv4();
  }
  return {address[0], address[1], address[2], address[3]};
}

}  // namespace

std::optional<V1Trap> make_v1_trap(const Pdu& pdu) {
  Oid notify_id;
  pdu.get_notify_id(notify_id);
  if (notify_id.len() < 2) {
    return std::nullopt;
  }
  V1Trap trap{};
  TimeTicks timestamp;
  pdu.get_notify_timestamp(timestamp);
  trap.timestamp = static_cast<SmiUINT32>(static_cast<unsigned long>(timestamp));
  trap.agent_address = agent_address(pdu);

  const unsigned long last = notify_id[notify_id.len() - 1];
  if (is_standard_trap(notify_id)) {
    trap.generic_trap = static_cast<int>(last) - 1;
    trap.enterprise = standard_enterprise(pdu);
    return trap;
  }
  trap.generic_trap = kEnterpriseSpecific;
  trap.specific_trap = static_cast<int>(static_cast<SmiUINT32>(last));
  trap.enterprise = notify_id;
  trap.enterprise.trim();
  if (trap.enterprise[trap.enterprise.len() - 1] == 0) {
    trap.enterprise.trim();
  }
  return trap;
}

}  // namespace Snmp_pp
