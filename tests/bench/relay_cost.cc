// SPDX-License-Identifier: Apache-2.0
// What relaying a notification costs, in figures that do not depend on how busy
// the machine is: heap allocations, which it prints, and under
//
//     valgrind --tool=callgrind --toggle-collect='send_trap_to_host*'
//         build/release/tests/bench/relay_cost RECEIVERS NOTIFICATIONS
//
// instructions, of which callgrind prints the sum (the first notification, which
// warms everything up, is one more). The notification has 416 bytes and 8
// bindings. Socket calls and the system log are silent (silent_calls.cc);
// everything else is what ships.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/text.h"
#include "tests/support/heap_count.h"
#include "tests/support/packets.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/trap_sender.h"

int main(int argc, char** argv) {
  const int receivers = argc > 1 ? atoi(argv[1]) : 3;
  const int notifications = argc > 2 ? atoi(argv[2]) : 1000;
  const Bytes packet = fan_notification();
  copy_text(host_ipaddress, "203.0.113.4");
  snmp_enabled_flag = 1;
  for (int i = 0; i < receivers; ++i) {
    trap_destinations.push_back("192.0.2." + std::to_string(i + 1));
    trap_communities.emplace_back("public");
  }
  send_trap_to_host(packet);  // what happens only once is left out
  const size_t before = heap_allocations();
  for (int i = 0; i < notifications; ++i) {
    send_trap_to_host(packet);
  }
  printf("%zu bytes, %d receivers: %.2f heap allocations a notification\n", packet.size(),
         receivers, static_cast<double>(heap_allocations() - before) / notifications);
  return 0;
}
