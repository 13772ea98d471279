// SPDX-License-Identifier: Apache-2.0
// What relaying a notification costs, in figures that do not depend on how busy
// the machine is: heap allocations, which it prints, and under
//
//     valgrind --tool=callgrind --toggle-collect=hand_over
//         build/release/tests/bench/relay_cost RECEIVERS NOTIFICATIONS [bmc]
//
// instructions, of which callgrind prints the sum (the first notification, which
// warms everything up, is one more). The notification has 416 bytes and 8
// bindings. It comes as the agent socket's loop hands it over or, with "bmc", in
// a packet that the device gives. Socket calls and the system log are silent
// (silent_calls.cc); everything else is what ships.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/text.h"
#include "daemon/bmc_dispatch.h"
#include "tests/support/heap_count.h"
#include "tests/support/packets.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/trap_sender.h"
#include "wire/chif.h"

namespace {

constexpr int kDevice = 1000;

// What the device gives at each read.
Bytes g_packet;

Bytes in_packet(const Bytes& pdu) {
  Bytes packet(chif::notification::kPdu + pdu.size());
  put_u16(packet, chif::header::kPktsize, static_cast<uint16_t>(packet.size()));
  put_u16(packet, chif::header::kCmdno, chif::kCmdStatusResponse);
  put_u16(packet, chif::header::kSvc, chif::kSvcProxy);
  put_u32(packet, chif::notification::kAgentxRespLen, static_cast<uint32_t>(pdu.size()));
  std::copy(pdu.begin(), pdu.end(), packet.begin() + chif::notification::kPdu);
  return packet;
}

void set_up_receivers(int receivers) {
  copy_text(host_ipaddress, "203.0.113.4");
  snmp_enabled_flag = 1;
  for (int i = 0; i < receivers; ++i) {
    trap_destinations.push_back("192.0.2." + std::to_string(i + 1));
    trap_communities.emplace_back("public");
  }
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp): the linker's names.
extern "C" {
int __wrap_ioctl(int fd, unsigned long request, uint8_t* packet);
void hand_over(bool from_bmc, const Bytes& pdu);

int __wrap_ioctl(int, unsigned long, uint8_t* packet) {
  std::copy(g_packet.begin(), g_packet.end(), packet);
  return static_cast<int>(g_packet.size());
}

// Of C linkage for the sake of its name in callgrind's option.
[[gnu::noinline]] void hand_over(bool from_bmc, const Bytes& pdu) {
  if (from_bmc) {
    bmc_recv(kDevice);
  } else {
    send_trap_to_host(pdu);
  }
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp)

int main(int argc, char** argv) {
  const int receivers = argc > 1 ? atoi(argv[1]) : 3;
  const int notifications = argc > 2 ? atoi(argv[2]) : 1000;
  const bool from_bmc = argc > 3;
  const Bytes pdu = fan_notification();
  g_packet = in_packet(pdu);
  set_up_receivers(receivers);
  hand_over(from_bmc, pdu);  // what happens only once is left out
  const size_t before = heap_allocations();
  for (int i = 0; i < notifications; ++i) {
    hand_over(from_bmc, pdu);
  }
  printf("%zu bytes, %d receivers: %.2f heap allocations a notification\n", pdu.size(), receivers,
         static_cast<double>(heap_allocations() - before) / notifications);
  return 0;
}
