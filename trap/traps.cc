// SPDX-License-Identifier: Apache-2.0
#include "trap/traps.h"

#include <arpa/inet.h>
#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "log/log.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"

namespace {

using namespace Snmp_pp;  // NOLINT(google-build-using-namespace)

// The library's own limit; a real SNMP++ drops the rest without a word as well.
constexpr size_t kBindingsMax = 25;

// The agent address: what inet_addr makes of the host address, which is
// 255.255.255.255 when there is none.
IpAddress agent_address() {
  const in_addr_t address = inet_addr(host_ipaddress.data());
  std::array<unsigned char, sizeof(address)> octets = {};
  std::memcpy(octets.data(), &address, octets.size());
  IpAddress agent;
  agent = OctetStr(octets.data(), octets.size());
  return agent;
}

// Appends the binding, which is left empty where the classes can take what it
// holds; some take no temporary.
template <typename AnyPdu>
void append(AnyPdu& pdu, Vb& vb) {
  if constexpr (requires { pdu += std::move(vb); }) {
    pdu += std::move(vb);
  } else {
    pdu += vb;
  }
}

Pdu build_pdu(const Oid& notify_id, uint32_t timestamp, std::vector<Vb> vbs) {
  Pdu pdu;
  pdu.set_notify_id(notify_id);
  // Sign-extended, as ever; the library keeps the low 32 bits of it.
  const TimeTicks ticks(static_cast<unsigned long>(static_cast<int32_t>(timestamp)));
  pdu.set_notify_timestamp(ticks);
  pdu.set_v1_trap_address(agent_address());
  const size_t count = std::min(vbs.size(), kBindingsMax);
  for (size_t i = 0; i < count; ++i) {
    append(pdu, vbs[i]);
  }
  return pdu;
}

// An invalid address makes the target invalid, so that no earlier destination
// is left in it.
void set_address(CTarget& target, const char* destination) {
  GenAddress address(destination);
  if (address.valid()) {
    target.set_address(address);
  } else {
    IpAddress none;
    target.set_address(none);
  }
}

}  // namespace

int send_traps(const OidText& trapOid, uint32_t timestamp, std::vector<Snmp_pp::Vb> vbs) {
  if (trap_destinations.empty()) {
    Log(LOG_ERR, "tvurev: no trap destinations defined!\n");
    return 1;
  }
  // After the empty list, whose line comes for every notification.
  const Oid notify_id(trapOid.data());
  if (!notify_id.valid()) {
    Log(LOG_ERR, "tvurev: notification without a valid trap OID [%s]: no trap sent\n",
        trapOid.data());
    return 1;
  }
  Pdu pdu = build_pdu(notify_id, timestamp, std::move(vbs));
  CTarget target;
  target.set_version(version1);
  for (size_t i = 0; i < trap_destinations.size(); ++i) {
    set_address(target, trap_destinations[i].c_str());
    target.set_readcommunity(trap_communities[i].c_str());
    send_one_trap(pdu, target, trap_destinations[i].c_str(), trapOid);
  }
  return 1;
}

void send_one_trap(Snmp_pp::Pdu& pdu, Snmp_pp::CTarget& target, const char* destination,
                   const OidText& trapOid) {
  int status = SNMP_CLASS_SUCCESS;
  // A session, and so a socket, for each trap: nothing is held between two.
  Snmp session(status, 0);
  if (status != SNMP_CLASS_SUCCESS) {
    Log(LOG_ERR, "Unable to construct SNMP++ session, failed to send traps\n");
    return;
  }
  Log(LOG_INFO, "tvurev: Sending trap [%s] to dest [%s] ...\n", trapOid.data(), destination);
  const int result = session.trap(pdu, target);
  if (result != SNMP_CLASS_SUCCESS) {
    Log(LOG_ERR, "tvurev: Trap [%s] to dest [%s] was not sent: %s\n", trapOid.data(), destination,
        Snmp::error_msg(result));
  }
}
