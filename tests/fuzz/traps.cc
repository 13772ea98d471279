// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/traps.h"

#include "base/text.h"
#include "lab/supervisor/trap_reader.h"
#include "tests/fuzz/target.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"

void receive_traps() {
  snmp_enabled_flag = 1;
  trap_destinations.assign({"192.0.2.7"});
  trap_communities.assign({"public"});
  copy_text(host_ipaddress, "192.0.2.20");
}

void require_good_traps(const FakeHost& host) {
  constexpr size_t kBindingsMax = 25;
  constexpr size_t kTrapMax = 4096;
  for (const std::string& datagram : host.datagrams) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(datagram.data());
    const auto trap = read_trap_message({bytes, datagram.size()});
    require(datagram.size() <= kTrapMax, "a trap has 4096 bytes at most");
    require(trap.has_value(), "what is sent is a trap");
    require(trap->community == "public" && trap->agent == "192.0.2.20",
            "a trap has the receiver's community and the host's address");
    require(trap->bindings.size() <= kBindingsMax, "a trap has 25 bindings at most");
  }
}
