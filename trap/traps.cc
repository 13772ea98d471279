// SPDX-License-Identifier: Apache-2.0
#include "trap/traps.h"

#include <arpa/inet.h>
#include <syslog.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/text.h"
#include "log/complaints.h"
#include "log/log.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/receiver_address.h"

namespace {

using namespace Snmp_pp;  // NOLINT(google-build-using-namespace)

// The library's own limit; a real SNMP++ drops the rest without a word as well.
constexpr size_t kBindingsMax = 25;

// The agent address: what inet_addr makes of the host address, which is
// 255.255.255.255 when there is none. The host address seldom changes.
const IpAddress& agent_address() {
  static decltype(host_ipaddress) text = {};
  static IpAddress agent;
  if (!agent.valid() || text != host_ipaddress) {
    const in_addr_t address = inet_addr(host_ipaddress.data());
    std::array<unsigned char, sizeof(address)> octets = {};
    std::memcpy(octets.data(), &address, octets.size());
    agent = OctetStr(octets.data(), octets.size());
    text = host_ipaddress;
  }
  return agent;
}

// Some classes can take bindings over as they lie, the others copy each.
template <typename AnyPdu>
void put_bindings(AnyPdu& pdu, std::vector<Vb> vbs) {
  if constexpr (requires { pdu.take_bindings(std::move(vbs)); }) {
    pdu.take_bindings(std::move(vbs));
  } else {
    for (const Vb& vb : vbs) {
      pdu += vb;
    }
  }
}

Pdu build_pdu(const Oid& notify_id, uint32_t timestamp, std::vector<Vb> vbs) {
  Pdu pdu;
  pdu.set_notify_id(notify_id);
  // Sign-extended, as ever; the library keeps the low 32 bits of it.
  const TimeTicks ticks(static_cast<unsigned long>(static_cast<int32_t>(timestamp)));
  pdu.set_notify_timestamp(ticks);
  pdu.set_v1_trap_address(agent_address());
  vbs.resize(std::min(vbs.size(), kBindingsMax));
  put_bindings(pdu, std::move(vbs));
  return pdu;
}

// An invalid address makes the target invalid, so that no earlier destination
// is left in it.
void set_address(CTarget& target, const char* destination) {
  GenAddress address = receiver_address(destination);
  if (address.valid()) {
    target.set_address(address);
  } else {
    IpAddress none;
    target.set_address(none);
  }
}

using Reason = decltype(TrapFate::why);

// error is errno of a failed send, 0 where there was none.
Reason why_not_sent(int status, int error, bool has_address, const char* destination) {
  Reason reason = {};
  if (!has_address) {
    snprintf(reason.data(), reason.size(), "%s (%s)", Snmp::error_msg(status),
             receiver_fault(destination).data());
  } else if (error != 0) {
    snprintf(reason.data(), reason.size(), "%s (%s)", Snmp::error_msg(status), strerror(error));
  } else {
    copy_text(reason, Snmp::error_msg(status));
  }
  return reason;
}

Complaint g_no_identity = {.about = "tvurev: notifications without a valid trap OID"};
Complaint g_not_sent = {.about = "tvurev: traps that were not sent"};

}  // namespace

int send_traps(const OidText& trapOid, uint32_t timestamp, std::vector<Snmp_pp::Vb> vbs,
               std::span<TrapFate> fates) {
  if (trap_destinations.empty()) {
    Log(LOG_ERR, "tvurev: no trap destinations defined!\n");
    return 1;
  }
  // After the empty list, whose line comes for every notification.
  const Oid notify_id(trapOid.data());
  if (!notify_id.valid()) {
    complain(g_no_identity, "tvurev: notification without a valid trap OID [%s]: no trap sent\n",
             trapOid.data());
    return 1;
  }
  Pdu pdu = build_pdu(notify_id, timestamp, std::move(vbs));
  CTarget target;
  target.set_version(version1);
  for (size_t i = 0; i < trap_destinations.size(); ++i) {
    set_address(target, trap_destinations[i].c_str());
    target.set_readcommunity(trap_communities[i].c_str());
    const TrapFate fate = send_one_trap(pdu, target, trap_destinations[i].c_str(), trapOid);
    if (i < fates.size()) {
      fates[i] = fate;
    }
  }
  return 1;
}

TrapFate send_one_trap(Snmp_pp::Pdu& pdu, Snmp_pp::CTarget& target, const char* destination,
                       const OidText& trapOid) {
  TrapFate fate;
  int status = SNMP_CLASS_SUCCESS;
  // A session, and so a socket, for each trap: nothing is held between two.
  Snmp session(status, 0);
  if (status != SNMP_CLASS_SUCCESS) {
    Log(LOG_ERR, "Unable to construct SNMP++ session, failed to send traps\n");
    copy_text(fate.why, "no session");
    return fate;
  }
  Log(LOG_INFO, "tvurev: Sending trap [%s] to dest [%s] ...\n", trapOid.data(), destination);
  errno = 0;
  const int result = session.trap(pdu, target);
  if (result != SNMP_CLASS_SUCCESS) {
    fate.why = why_not_sent(result, errno, target.valid(), destination);
    complain(g_not_sent, "tvurev: Trap [%s] to dest [%s] was not sent: %s\n", trapOid.data(),
             destination, fate.why.data());
  }
  fate.handed_over = result == SNMP_CLASS_SUCCESS;
  return fate;
}
